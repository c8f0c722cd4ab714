#include "evidence/Redaction.h"

#include <gtest/gtest.h>

using ctl::Redaction;

namespace
{
std::string Hide(const std::string& line, const std::vector<std::string>& list = {})
{
    Redaction redaction;
    for (const std::string& entry : list) {
        redaction.AddLine(entry);
    }
    std::size_t hidden = 0;
    return redaction.Hide(line, hidden);
}
} // namespace

TEST(Redaction, HidesValuesOfAnEnvironment)
{
    EXPECT_EQ(Hide("/bin/tbrd HOME=/srv DB_PASSWORD=hunter2 LANG=C"),
              "/bin/tbrd HOME=/srv DB_PASSWORD=[hidden] LANG=C");
    EXPECT_EQ(Hide("API_TOKEN=a b c PATH=/bin"), "API_TOKEN=[hidden] [hidden] [hidden] PATH=/bin")
        << "a value with blanks";
}

TEST(Redaction, HidesValuesOfOptions)
{
    EXPECT_EQ(Hide("tool --db-pass x --pwd=y"), "tool --db-pass [hidden] --pwd=[hidden]");
    EXPECT_EQ(Hide("tool --password hunter2 --user me"), "tool --password [hidden] --user me");
    EXPECT_EQ(Hide("tool --password=hunter2 file"), "tool --password=[hidden] file");
    EXPECT_EQ(Hide("java -Djavax.net.ssl.keyStorePassword=x Main"),
              "java -Djavax.net.ssl.keyStorePassword=[hidden] Main");
    EXPECT_EQ(Hide("tool --password --user me"), "tool --password --user me") << "an option without a value";
}

TEST(Redaction, HidesHeadersAndUsersOfAddresses)
{
    EXPECT_EQ(Hide("curl -H Authorization: Bearer abc -o x"),
              "curl -H Authorization: [hidden] [hidden] -o x");
    EXPECT_EQ(Hide("x-auth-key:abc"), "x-auth-key:[hidden]");
    EXPECT_EQ(Hide("git clone ssh"
                   "://me:hunter2@host/repo"),
              "git clone ssh"
              "://[hidden]@host/repo");
    EXPECT_EQ(Hide("get ftp"
                   "://host/a@b"),
              "get ftp"
              "://host/a@b");
    EXPECT_EQ(Hide("get ftp"
                   "://host/?id=7&token=abc&x"),
              "get ftp"
              "://host/?id=7&token=[hidden]&x");
    EXPECT_EQ(Hide("DB_URL_SECRET=ftp"
                   "://host/ A=b"),
              "DB_URL_SECRET=[hidden] A=b");
    EXPECT_EQ(Hide("DB_URL=ftp"
                   "://me:pw@host/"),
              "DB_URL=ftp"
              "://[hidden]@host/");
    EXPECT_EQ(Hide("{\"password\":\"x\",\"id\":7}"), "{\"password\":[hidden]");
}

TEST(Redaction, LeavesTheRestAsItIs)
{
    for (const char* const line :
         {"", "   ", " 4321  0.1 1234  /usr/bin/top -b -n 1", "PWD=/srv OLDPWD=/", "a=b c=d", "=", ":", "-",
          "\tat com.x.AuthFilter.doFilter(AuthFilter.java:33) ~[?:?]", "\"pool-auth-1\" #12 prio=5 tid=0x7f",
          "Speculation_Store_Bypass:\tthread vulnerable", "author=me", "MemTotal:       16384 kB",
          "tcp 0 0 0.0.0.0:22 0.0.0.0:* LISTEN 1/sshd\t"}) {
        EXPECT_EQ(Hide(line), line);
    }
}

TEST(Redaction, TakesWordsAndTextsOfAList)
{
    EXPECT_EQ(Hide("CUSTOMER=Blue id=7", {"# who", "customer", ""}), "CUSTOMER=[hidden] id=7");
    EXPECT_EQ(Hide("host blue17.example and blue17.example.", {"text:blue17.example"}),
              "host [hidden] and [hidden].");
    EXPECT_EQ(Hide("abc", {"text:"}), "abc");
}

TEST(Redaction, CountsWhatItHid)
{
    std::size_t hidden = 0;
    (void)Redaction().Hide("A_TOKEN=x B_SECRET=y C=z", hidden);
    EXPECT_EQ(hidden, 2U);
}
