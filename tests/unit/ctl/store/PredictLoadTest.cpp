#include "store/PredictLoad.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ctl/evidence/EvidenceFolder.h"
#include "ctl/store/StoreDouble.h"

using ctl::LoadPrediction;
using ctl::Severity;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace
{

LoadPrediction Predict(std::map<std::string, std::string> values)
{
    values.emplace("THHS_EVIDENCE_PATH", "/evidence");
    const auto exists = [](const std::string& path) { return path == "/evidence"; };
    const auto canCreate = [](const std::string&) { return true; };
    return PredictLoad(StoreOfKeys(std::move(values)), {exists, canCreate});
}

/** The messages of a prediction's findings of a severity. */
std::vector<std::string> GetMessages(const LoadPrediction& prediction, Severity severity)
{
    std::vector<std::string> messages;
    for (const ctl::StoreFinding& finding : prediction.findings) {
        if (finding.severity == severity) {
            messages.push_back(finding.message);
        }
    }
    return messages;
}

/** A limit as it is written in a memory list, and what is made of it. */
struct Limit
{
    const char* text;
    int value;
    bool isNoted;
};

class LimitsAsRead : public testing::TestWithParam<Limit>
{
};

/** A setting that ends the load, and the code that it ends with. */
struct Stopper
{
    const char* key;
    const char* value;
    int result;
};

class StoppingValues : public testing::TestWithParam<Stopper>
{
};

} // namespace

TEST_P(LimitsAsRead, AreReportedWhereTheyDiffer)
{
    const LoadPrediction prediction = Predict({{"THHS_MONITOR_MEMORY", std::string("a:") + GetParam().text}});
    ASSERT_EQ(prediction.result, 0);
    EXPECT_EQ(prediction.settings.memory.at("a"), GetParam().value);
    EXPECT_EQ(!GetMessages(prediction, Severity::Warning).empty(), GetParam().isNoted);
}

INSTANTIATE_TEST_SUITE_P(Load, LimitsAsRead,
                         testing::Values(Limit{"90", 90, false}, Limit{" 90 ", 90, false},
                                         Limit{"0", 0, false}, Limit{"007", 7, false}, Limit{"2G", 2, true},
                                         Limit{"high", 0, true}, Limit{"0.5", 0, true},
                                         Limit{"4294967297", 1, true}, Limit{"2147483647", 2147483647, false},
                                         Limit{"b:9", 0, true}));

TEST_P(StoppingValues, EndTheLoadWithTheirCode)
{
    const LoadPrediction prediction = Predict({{GetParam().key, GetParam().value}});
    EXPECT_EQ(prediction.result, GetParam().result);
    EXPECT_EQ(GetMessages(prediction, Severity::Error).size(), 1U);
    EXPECT_NE(prediction.log.back(), "Configuration file successfully read.");
}

INSTANTIATE_TEST_SUITE_P(
    Load, StoppingValues,
    testing::Values(Stopper{"THHS_MEMORY_UNIT", "GB", 101}, Stopper{"THHS_MEMORY_UNIT", "A;B", 102},
                    Stopper{"THHS_MONITOR_CPU", "a:101", 101}, Stopper{"THHS_MONITOR_CPU", "", 101},
                    Stopper{"THHS_MONITOR_CPU", "a", 101}, Stopper{"THHS_MONITOR_CPU", "a:90%", 102},
                    Stopper{"THHS_MONITOR_MEMORY", "a:2147483648", 101},
                    Stopper{"THHS_MONITOR_MEMORY", "a:99999999999999999999", 101},
                    Stopper{"THHS_MONITOR_DEADLOCK", "a:3", 101}, Stopper{"THHS_POLL_INTERVAL", "0", 101},
                    Stopper{"THHS_POLL_INTERVAL", "10s", 101}, Stopper{"THHS_EVIDENCE_PATH", "", 101},
                    Stopper{"THHS_EVIDENCE_PATH", "/none", 101},
                    Stopper{"THHS_EVIDENCE_PATH", "/a/../b", 102}));

TEST(LoadPrediction, AcceptsALimitOfAHundredPercent)
{
    EXPECT_EQ(Predict({{"THHS_MONITOR_CPU", "a:100"}}).result, 0);
}

TEST(LoadPrediction, NamesTheCharactersOfASettingWithoutOneThatIsShownEscaped)
{
    const LoadPrediction prediction = Predict({{"THHS_MONITOR_CPU", "a$:1"}});
    ASSERT_FALSE(prediction.findings.empty());
    EXPECT_EQ(prediction.findings[0].remedy,
              "only letters, digits, blanks, tabs, backslashes and @ _ . / - : , are allowed, and no \"..\"");
}

TEST(LoadPrediction, SaysWhatAppliesInsteadOfAValueOutOfRange)
{
    const LoadPrediction prediction = Predict({{"THHS_DUMP_COUNT", "11"}});
    EXPECT_EQ(prediction.result, 0);
    EXPECT_EQ(prediction.settings.Get("THHS_DUMP_COUNT"), 3);
    EXPECT_THAT(GetMessages(prediction, Severity::Warning),
                ElementsAre("11 is out of range; 3 applies instead"));
    EXPECT_THAT(prediction.log,
                Contains("Invalid value for THHS_DUMP_COUNT : 11. Value should be greater between 1 "
                         "and 10. Proceeding with default value of 3."));
}

TEST(LoadPrediction, KeepsTheDefaultForATextThatIsNoNumber)
{
    const LoadPrediction prediction = Predict({{"THHS_DUMP_COUNT", "many"}});
    EXPECT_EQ(prediction.settings.Get("THHS_DUMP_COUNT"), 3);
    EXPECT_THAT(
        GetMessages(prediction, Severity::Warning),
        ElementsAre("\"many\" is no number; a service that starts uses 3, one that runs keeps the value of "
                    "its last pass"));
}

TEST(LoadPrediction, KnowsTheKeyThatARunningServiceSetsAnewAtEachPass)
{
    const LoadPrediction prediction = Predict({{"_FORCE_READING_INTERVAL_", "abc"}});
    EXPECT_THAT(GetMessages(prediction, Severity::Warning),
                ElementsAre("\"abc\" is no number; 0 applies instead"));
}

TEST(HostProbe, KnowsFileSystemsThatTakeNoFolder)
{
    EXPECT_FALSE(ctl::GetHostProbe().canCreate("/proc/thsentinel"));
    const EvidenceFolder folder;
    EXPECT_TRUE(ctl::GetHostProbe().canCreate(folder.GetRoot() / "thsentinel"));
}

TEST(LoadPrediction, FitsReadingsIntoTheInterval)
{
    const LoadPrediction prediction = Predict({{"THHS_POLL_INTERVAL", "30"}});
    EXPECT_EQ(prediction.settings.Get("THHS_READING_INTERVAL"), 1);
    EXPECT_EQ(prediction.settings.Get("THHS_NUMBER_OF_READINGS"), 29);
    EXPECT_THAT(
        GetMessages(prediction, Severity::Warning),
        ElementsAre(
            "50 samples 5 s apart don't fit into the poll interval of 30 s; 29 samples 1 s apart apply "
            "instead, and each pass logs this anew"));
}

TEST(LoadPrediction, LeavesReadingsThatAreForced)
{
    const LoadPrediction prediction =
        Predict({{"THHS_POLL_INTERVAL", "30"}, {"_FORCE_READING_INTERVAL_", "1"}});
    EXPECT_EQ(prediction.settings.Get("THHS_NUMBER_OF_READINGS"), 50);
    EXPECT_THAT(GetMessages(prediction, Severity::Warning), IsEmpty());
}

TEST(LoadPrediction, GoesOnWithTheFindingsAfterTheFirstThatStops)
{
    const LoadPrediction prediction =
        Predict({{"THHS_MONITOR_CPU", "a:101,b"}, {"THHS_POLL_INTERVAL", "-1"}});
    EXPECT_EQ(GetMessages(prediction, Severity::Error).size(), 3U);
    EXPECT_THAT(prediction.log,
                ElementsAre("Reading the configuration from Tarnhaven configuration.",
                            "Invalid Value for CPU threshold. Process a requested threshold of 101 "
                            "percent. Use a value less than 100."));
}

TEST(LoadPrediction, TakesAnEvidencePathForGrantedThatItsUserMayNotLookAt)
{
    const auto never = [](const std::string&) { return false; };
    const auto always = [](const std::string&) { return true; };
    const StoreOfKeys store(std::map<std::string, std::string>{{"THHS_EVIDENCE_PATH", "/hidden/evidence"}});
    const LoadPrediction hidden = PredictLoad(store, {never, never, always});
    EXPECT_EQ(hidden.result, 0);
    EXPECT_THAT(GetMessages(hidden, Severity::Warning),
                Contains("/hidden/evidence can't be looked at: Permission denied; that the service finds a "
                         "folder there is taken for granted"));
    const LoadPrediction missing = PredictLoad(store, {never, never, never});
    EXPECT_THAT(GetMessages(missing, Severity::Error),
                ElementsAre("there is no folder /hidden/evidence, and the service won't start"));
}

TEST(LoadPrediction, KeepsTheFirstLimitOfANameThatComesTwice)
{
    const LoadPrediction prediction = Predict({{"THHS_MONITOR_CPU", "a:10,a:20"}});
    EXPECT_EQ(prediction.settings.cpu.at("a"), 10);
    EXPECT_THAT(GetMessages(prediction, Severity::Warning),
                ElementsAre("a comes twice; the first limit, 10, counts and \"a:20\" is passed over"));
}

TEST(LoadPrediction, LetsTheServiceStartOnAJdkFolderThatIsRefused)
{
    const LoadPrediction prediction = Predict({{"THHS_JDK_HOME", "/opt/jdk$"}});
    EXPECT_EQ(prediction.result, 0);
    EXPECT_THAT(
        GetMessages(prediction, Severity::Warning),
        ElementsAre("the value holds the character '$', which no setting may hold; it is used all the same"));
}

TEST(EntryCheck, SaysThatUnknownKeysWereNotCheckedWhereTheyCannotBeListed)
{
    ctl::StoreFindings findings;
    CheckEntries(StoreOfKeys({}), findings);
    EXPECT_THAT(findings, ElementsAre(Field(
                              &ctl::StoreFinding::message,
                              "the product's library can't list its keys: unknown keys were not checked")));
}
