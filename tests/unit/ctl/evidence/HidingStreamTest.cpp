#include "evidence/HidingStream.h"

#include <gtest/gtest.h>

using ctl::HidingStream;
using ctl::Redaction;

namespace
{
/** Hides values in a text that comes in blocks of so many bytes. */
std::string HideInBlocks(const std::string& text, const Redaction& redaction, std::size_t block,
                         std::size_t* hidden = nullptr)
{
    std::string result;
    HidingStream stream(redaction, [&result](std::string_view given) { result += given; });
    for (std::size_t at = 0; at < text.size(); at += block) {
        stream.Take(std::string_view(text).substr(at, block));
    }
    stream.Finish();
    if (hidden != nullptr) {
        *hidden = stream.GetHidden();
    }
    return result;
}

/** Hides values in a line; it must not matter how the line comes. */
std::string Hide(const std::string& line, const std::vector<std::string>& list = {})
{
    Redaction redaction;
    for (const std::string& entry : list) {
        redaction.AddLine(entry);
    }
    const std::string whole = HideInBlocks(line, redaction, line.size() + 1);
    EXPECT_EQ(HideInBlocks(line, redaction, 1), whole);
    EXPECT_EQ(HideInBlocks(line, redaction, 7), whole);
    return whole;
}
} // namespace

TEST(HidingStream, HidesValuesOfAnEnvironment)
{
    EXPECT_EQ(Hide("/bin/tbrd HOME=/srv DB_PASSWORD=hunter2 LANG=C"),
              "/bin/tbrd HOME=/srv DB_PASSWORD=[hidden] LANG=C");
    EXPECT_EQ(Hide("API_TOKEN=a b c PATH=/bin"), "API_TOKEN=[hidden] [hidden] [hidden] PATH=/bin")
        << "a value with blanks";
}

TEST(HidingStream, HidesValuesOfOptions)
{
    EXPECT_EQ(Hide("tool --db-pass x --pwd=y"), "tool --db-pass [hidden] --pwd=[hidden]");
    EXPECT_EQ(Hide("tool --password hunter2 --user me"), "tool --password [hidden] --user me");
    EXPECT_EQ(Hide("java -Djavax.net.ssl.keyStorePassword=x -jar Main"),
              "java -Djavax.net.ssl.keyStorePassword=[hidden] -jar Main");
    EXPECT_EQ(Hide("tool --password --user me"), "tool --password --user me") << "an option without a value";
}

TEST(HidingStream, HidesAllWordsOfTheValueOfAnOption)
{
    EXPECT_EQ(Hide("tool --password=two more words --user me"),
              "tool --password=[hidden] [hidden] [hidden] --user me");
    EXPECT_EQ(Hide("tool --password \"a b\" PATH=/bin"), "tool --password [hidden] [hidden] PATH=/bin");
    EXPECT_EQ(Hide("tool --private-key=-----BEGIN KEY----- abc -v"),
              "tool --private-key=[hidden] [hidden] [hidden] -v");
    EXPECT_EQ(Hide("tool --private-key -----BEGIN KEY----- abc"),
              "tool --private-key [hidden] [hidden] [hidden]");
    EXPECT_EQ(Hide("tool \"--password\" \"abc\""), "tool \"--password\" [hidden]");
}

TEST(HidingStream, HidesAValueThatEndsLikeBase64)
{
    EXPECT_EQ(Hide("SECRET=abc dGVzdA= x PATH=/bin"), "SECRET=[hidden] [hidden] [hidden] PATH=/bin");
    EXPECT_EQ(Hide("SECRET=abc dGVzdA== x"), "SECRET=[hidden] [hidden] [hidden]");
}

TEST(HidingStream, HidesAValueAfterOtherNames)
{
    for (const char* const begin :
         {"jdbc:sqlserver:/"
          "/h;user=sa;password=",
          "--env=DB_PASSWORD=", "--set=auth.password=", "{\"db\":{\"password\":", "-Dopts=foo,password=",
          "Server=x;Password=", "user=a&password=",
          "http:/"
          "/h/#access_token=",
          "http:/"
          "/h/?a=b&access_token=",
          "/password:", "DBPASS=", "USERPASS=", "ENCRYPTION_KEY=", "-Dpw=", "/x/token="}) {
        EXPECT_EQ(Hide("tool " + std::string(begin) + "abc;def"), "tool " + std::string(begin) + "[hidden]");
    }
    EXPECT_EQ(Hide("tool --dbpass abc"), "tool --dbpass [hidden]");
}

TEST(HidingStream, HidesHeadersAndUsersOfAddresses)
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

TEST(HidingStream, HidesAPasswordOfAnAddressThatHoldsTheSignOfAnEnd)
{
    for (const char sign : {'/', '?', '#'}) {
        EXPECT_EQ(Hide("get ftp:/" + std::string("/me:pw") + sign + "x@host/"),
                  "get ftp:/" + std::string("/[hidden]@host/"));
    }
    EXPECT_EQ(Hide("get ftp:/" + std::string("/host:21/a@b")), "get ftp:/" + std::string("/host:21/a@b"));
}

TEST(HidingStream, HidesTheUserOfEachAddressInAWord)
{
    EXPECT_EQ(Hide("x amqp://u:p@h1:5672,amqp://u:p@h2:5672 y"),
              "x amqp://[hidden]@h1:5672,amqp://[hidden]@h2:5672 y");
    EXPECT_EQ(Hide("ldap://h1/a,redis://:p@h2"), "ldap://h1/a,redis://[hidden]@h2");
}

TEST(HidingStream, TakesADotBeforeAColonForAPlaceInASourceOnlyWithALineNumber)
{
    EXPECT_EQ(Hide("at Password.java:12) and token.cpp:7"), "at Password.java:12) and token.cpp:7");
    EXPECT_EQ(Hide("db.password:hunter2"), "db.password:[hidden]");
    EXPECT_EQ(Hide("db.password:2hunter"), "db.password:[hidden]");
}

TEST(HidingStream, LeavesTheRestAsItIs)
{
    for (const char* const line :
         {"", "   ", " 4321  0.1 1234  /usr/bin/top -b -n 1", "PWD=/srv OLDPWD=/", "a=b c=d", "=", ":", "-",
          "\tat com.x.AuthFilter.doFilter(AuthFilter.java:33) ~[?:?]", "\"pool-auth-1\" #12 prio=5 tid=0x7f",
          "#1 0x7f in auth::Login<auth::Token>(int) ()", "docker -v /srv/auth:/data:ro", "key=7 monkey=x",
          "--key 7 x", "Speculation_Store_Bypass:\tthread vulnerable", "author=me",
          "MemTotal:       16384 kB", "tcp 0 0 0.0.0.0:22 0.0.0.0:* LISTEN 1/sshd\t"}) {
        EXPECT_EQ(Hide(line), line);
    }
}

TEST(HidingStream, TakesWordsAndTextsOfAList)
{
    EXPECT_EQ(Hide("CUSTOMER=Blue id=7", {"# who", "customer", ""}), "CUSTOMER=[hidden] id=7");
    EXPECT_EQ(Hide("host blue17.example and blue17.example.", {"text:blue17.example"}),
              "host [hidden] and [hidden].");
    EXPECT_EQ(Hide("abc", {"text:"}), "abc");
}

TEST(HidingStream, CountsWhatItHid)
{
    std::size_t hidden = 0;
    (void)HideInBlocks("A_TOKEN=x B_SECRET=y C=z", Redaction(), 100, &hidden); // the texts have a test
    EXPECT_EQ(hidden, 2U);
}

TEST(HidingStream, BeginsEachLineAnew)
{
    EXPECT_EQ(Hide("A_TOKEN=x y\nz\r\n--token\nx\n"), "A_TOKEN=[hidden] [hidden]\nz\r\n--token\nx\n");
}

TEST(HidingStream, SeesTheVariablesBetweenZeroBytes)
{
    using namespace std::string_literals;
    EXPECT_EQ(Hide("A=b\0DB_PASSWORD=x\0LANG=C\0"s), "A=b\0DB_PASSWORD=[hidden]\0LANG=C\0"s);
}

TEST(HidingStream, HidesATextThatBeginsTwice)
{
    EXPECT_EQ(Hide("aab aaab", {"text:aab"}), "[hidden] a[hidden]");
    EXPECT_EQ(Hide("a b", {"text:a b"}), "[hidden]") << "a text with a blank";
}

TEST(HidingStream, LosesNothingOfALongLine)
{
    std::string line;
    while (line.size() < (3U << 20U)) {
        line += "word " + std::to_string(line.size());
    }
    EXPECT_EQ(HideInBlocks(line + " --token x\nnext", Redaction(), 1000), line + " --token [hidden]\nnext");
}

TEST(HidingStream, LosesNothingOfAWordThatOneVariableCanHold)
{
    const std::string word(std::size_t{1} << 20U, 'x');
    EXPECT_EQ(HideInBlocks(word + " --token x", Redaction(), 1000), word + " --token [hidden]");
}

TEST(HidingStream, HidesAWordThatIsTooLongToBeLookedThrough)
{
    const std::string longWord((1U << 20U) + 1, 'x');
    std::size_t hidden = 0;
    EXPECT_EQ(HideInBlocks("a " + longWord + " b\n", Redaction(), 1000, &hidden), "a [hidden] b\n");
    EXPECT_EQ(hidden, 1U);
    EXPECT_EQ(HideInBlocks("A_TOKEN=" + longWord + " b C=d", Redaction(), 1000),
              "A_TOKEN=[hidden] [hidden] C=d");
    EXPECT_EQ(HideInBlocks("--token " + longWord + " b -c", Redaction(), 1000),
              "--token [hidden] [hidden] -c");
    EXPECT_EQ(HideInBlocks(longWord, Redaction(), 1000), "[hidden]") << "at the end";
}
