#include <gtest/gtest.h>

#include "ctl/evidence/EvidenceFolder.h"
#include "store/PredictLoad.h"
#include "store/Store.h"

namespace ctl
{
namespace
{

struct EntryRow
{
    const char* store;
    std::size_t line;
    const char* message; ///< none for an empty one
    const char* remedy;
};

class EntryCheck : public testing::TestWithParam<EntryRow>
{
};

TEST_P(EntryCheck, FindsWhatTheLoadNeverNotices)
{
    const EvidenceFolder folder;
    const std::unique_ptr<Store> store = OpenStoreFile(folder.Write("master.conf", GetParam().store));
    StoreFindings findings;
    CheckEntries(*store, findings);
    if (*GetParam().message == '\0') {
        EXPECT_TRUE(findings.empty());
        return;
    }
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].severity, Severity::Warning);
    EXPECT_EQ(findings[0].line, GetParam().line);
    EXPECT_EQ(findings[0].message, GetParam().message);
    EXPECT_EQ(findings[0].remedy, GetParam().remedy);
}

constexpr const char* UNKNOWN = "no key of this name is read by thsentinel";

INSTANTIATE_TEST_SUITE_P(
    Stores, EntryCheck,
    testing::Values(EntryRow{"# a comment\n\nTHHS_VERBOSE = 1\n", 0, "", ""},
                    EntryRow{"THHS_VERBSE = 1\n", 1, UNKNOWN, "did you mean THHS_VERBOSE?"},
                    EntryRow{"\nOTHER_PROGRAM = 1\n", 2, UNKNOWN,
                             "take it out, if no other program reads it"},
                    EntryRow{"thhs_verbose = 1\n", 1,
                             "the key is in the wrong case and is not read; keys are told apart by it",
                             "write THHS_VERBOSE"},
                    EntryRow{"THHS_VERBOSE = 1\n#\nTHHS_VERBOSE = 0\n", 1,
                             "the key comes again on line 3, and the last line counts", "keep one of them"},
                    EntryRow{"nonsense\n", 1, "the line is skipped: it has no equals sign",
                             "write KEY = VALUE, or begin the line with # for a comment"}));

} // namespace
} // namespace ctl
