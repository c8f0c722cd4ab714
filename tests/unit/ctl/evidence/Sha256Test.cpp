#include "evidence/Sha256.h"

#include <gtest/gtest.h>

using ctl::FormatBase64;
using ctl::FormatHex;
using ctl::Sha256;

TEST(Sha256Digest, IsThatOfTheStandardsOwnExamples)
{
    EXPECT_EQ(FormatHex(Sha256().Finish()),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    Sha256 digest;
    digest.Take("a");
    digest.Take("bc");
    EXPECT_EQ(FormatHex(digest.Finish()), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Sha256Digest, IsWrittenInBase64WithItsPadding)
{
    EXPECT_EQ(FormatBase64(Sha256().Finish()), "47DEQpj8HBSa+/TImW+5JCeuQeRkm5NMpJWZG3hSuFU=");
}
