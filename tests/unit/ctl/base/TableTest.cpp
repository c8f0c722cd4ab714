#include "base/Table.h"

#include <sstream>

#include <gtest/gtest.h>

using ctl::Table;

TEST(Table, AlignsItsColumnsAndLeavesNoBlanksAtTheEnd)
{
    Table table({{"NAME", Table::Side::Left}, {"ID", Table::Side::Right}, {"STATE", Table::Side::Left}});
    table.Add({{"tbrd"}, {"7"}, {"complete"}});
    table.Add({{"Gr\xC3\xBC"}, {"12345"}});
    std::ostringstream output;
    table.Print(output);
    EXPECT_EQ(output.str(), "NAME     ID  STATE\n"
                            "tbrd      7  complete\n"
                            "Gr\xC3\xBC   12345\n");
}

TEST(Table, EscapesWhatATerminalWouldActOn)
{
    Table table({{"NAME", Table::Side::Left}});
    table.Add({{"a\033]0;x\a\nb"}});
    std::ostringstream output;
    table.Print(output, 2);
    EXPECT_EQ(output.str(), "  NAME\n  a\\x1B]0;x\\x07\\nb\n");
}
