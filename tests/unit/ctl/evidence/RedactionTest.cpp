#include "evidence/Redaction.h"

#include <gmock/gmock.h>

using ctl::Redaction;
using testing::ElementsAre;

TEST(Redaction, KnowsTheNamesOfSecretsInAnyCase)
{
    for (const char* const name :
         {"DB_PASSWORD", "apiKey", "db.pass", "x-auth-key", "PWD_DB", "Cookie", "DBPASS", "-dbpass",
          "ENCRYPTION_KEY", "x.key", "--pw", "Pwd", "pwd", "AccountKey"}) {
        EXPECT_TRUE(Redaction().IsSecret(name)) << name;
    }
}

TEST(Redaction, TakesNoOtherNameForASecret)
{
    for (const char* const name : {"", "PWD", "OLDPWD", "bypass", "Store_Bypass", "compass", "author", "user",
                                   "key", "monkey", "pwm", "-", "_"}) {
        EXPECT_FALSE(Redaction().IsSecret(name)) << name;
    }
}

TEST(Redaction, TakesWordsAndTextsOfAList)
{
    Redaction redaction;
    for (const char* const line : {"# remark", "", "Customer \r", "text:", "text:Blue 17", "  "}) {
        redaction.AddLine(line);
    }
    EXPECT_THAT(redaction.GetTexts(), ElementsAre("Blue 17"));
    EXPECT_EQ(redaction.GetWords().back(), "customer");
    EXPECT_TRUE(redaction.IsSecret("CUSTOMER_ID"));
}
