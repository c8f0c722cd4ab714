#include "evidence/Sha256.h"

#include <gtest/gtest.h>

using ctl::Sha256;

TEST(Sha256Digest, IsThatOfTheStandardsOwnExamples)
{
    EXPECT_EQ(Sha256().Finish(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    Sha256 digest;
    digest.Take("a");
    digest.Take("bc");
    EXPECT_EQ(digest.Finish(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}
