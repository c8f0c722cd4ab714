#include "base/DocumentStream.h"

#include <sstream>

#include <gtest/gtest.h>

using ctl::DocumentStream;
using ctl::Json;

TEST(DocumentStream, PrintsWhatAWholeDocumentPrints)
{
    const Json item = {{"text", "two\nlines \"quoted\" \x01"}, {"list", {1, 2}}, {"none", nullptr}};
    const Json whole = {{"schema", "thsentinelctl.list/1"},
                        {"empty", Json::array()},
                        {"sets", {item, 7, item}},
                        {"nested", {{"a", {{"b", Json::array({1})}}}}}};
    std::ostringstream output;
    {
        DocumentStream document(output, Json{{"schema", "thsentinelctl.list/1"}});
        document.BeginArray("empty");
        document.EndArray();
        document.BeginArray("sets");
        document.AddItem(item);
        document.AddItem(7);
        document.AddItem(item);
        document.EndArray();
        document.Add("nested", whole["nested"]);
    }
    EXPECT_EQ(output.str(), whole.dump(2) + "\n");
}

TEST(DocumentStream, TakesBytesThatAreNoText)
{
    std::ostringstream output;
    {
        DocumentStream document(output, Json::object());
        document.Add("name", "\xFF");
    }
    EXPECT_EQ(output.str(), "{\n  \"name\": \"\xEF\xBF\xBD\"\n}\n");
}

TEST(DocumentStream, OfNothingIsAnEmptyObject)
{
    std::ostringstream output;
    (void)DocumentStream(output, Json::object()); // it prints as it ends
    EXPECT_EQ(output.str(), "{}\n");
}
