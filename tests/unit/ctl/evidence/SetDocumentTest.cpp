#include "evidence/SetDocument.h"

#include <sstream>

#include <gtest/gtest.h>

using namespace ctl;

namespace
{
CheckedSet MakeChecked()
{
    CheckedSet checked;
    checked.set.process = "tbrd";
    checked.set.pid = 4321;
    checked.set.label = "CPU";
    checked.set.resource = "cpu";
    checked.set.number = 2;
    checked.set.folder = "tbrd/4321/Evidence2";
    EvidenceFile file;
    file.name = "4321_13-11_02.10.28_CPU.Netstat";
    file.kind = FileKind::Netstat;
    file.bytes = 7;
    file.diskBytes = 4096;
    checked.set.files = {file};
    checked.set.sums = AddUp(checked.set.files);
    checked.report.state = SetState::Incomplete;
    checked.report.problems = {"core: is missing"};
    checked.report.notes = {"a note"};
    return checked;
}

EvidenceTree MakeTree()
{
    EvidenceTree tree;
    tree.root = "/srv/thsentinel";
    return tree;
}
} // namespace

TEST(SetDocument, HasTheMembersOfASet)
{
    const Json json = SetToJson(MakeTree(), MakeChecked(), true);
    EXPECT_EQ(json["process"], "tbrd");
    EXPECT_EQ(json["pid"], 4321);
    EXPECT_EQ(json["resource"], "cpu");
    EXPECT_EQ(json["number"], 2);
    EXPECT_EQ(json["path"], "/srv/thsentinel/tbrd/4321/Evidence2");
    EXPECT_EQ(json["state"], "incomplete");
    EXPECT_EQ(json["files"], Json::array({"4321_13-11_02.10.28_CPU.Netstat"}));
    EXPECT_EQ(json["bytes"], 7);
    EXPECT_EQ(json["diskBytes"], 4096);
    EXPECT_EQ(json["pinned"], false);
    EXPECT_EQ(json["problems"], Json::array({"core: is missing"}));
    EXPECT_EQ(json["notes"], Json::array({"a note"}));
}

TEST(SetDocument, OfAListHasNoProblems)
{
    const Json json = SetToJson(MakeTree(), MakeChecked(), false);
    EXPECT_FALSE(json.contains("problems"));
    EXPECT_FALSE(json.contains("notes"));
}

TEST(SetDocument, OfAnEmptyFolderHasNoResource)
{
    CheckedSet checked = MakeChecked();
    checked.set.resource.clear();
    checked.set.files.clear();
    const Json json = SetToJson(MakeTree(), checked, true);
    EXPECT_TRUE(json["resource"].is_null());
    EXPECT_EQ(json["files"], Json::array());
}

TEST(SetDocument, HoldsHostileNamesAsText)
{
    CheckedSet checked = MakeChecked();
    checked.set.process = "\x1B[2J\xFF\n\"";
    checked.report.problems = {std::string("a\0b", 3)};
    const Json json = SetToJson(MakeTree(), checked, true);
    EXPECT_EQ(json["process"], "\x1B[2J\xEF\xBF\xBD\n\"");
    EXPECT_EQ(Json::parse(json.dump())["problems"][0].get<std::string>().size(), 3U);
}

TEST(SetDocument, EndsWithWhatCouldNotBeSeenAndWhy)
{
    EvidenceSource source;
    source.settingsFailure = "/absent can't be read: No such file or directory";
    source.tree.strangers = {"notes: is a file"};
    source.tree.unseen = {"closed: Permission denied"};
    std::ostringstream output;
    {
        DocumentStream document(output, Json::object());
        AddRemarks(document, source);
    }
    const Json json = Json::parse(output.str());
    EXPECT_EQ(json["settingsFailure"], source.settingsFailure);
    EXPECT_EQ(json["strangers"], Json::array({"notes: is a file"}));
    EXPECT_EQ(json["unseen"], Json::array({"closed: Permission denied"}));
    source.settingsFailure.clear();
    EXPECT_TRUE(SettingsFailureToJson(source).is_null());
}

TEST(SetDocument, ColoursStatesByWhatTheyAskFor)
{
    EXPECT_EQ(GetStateColour(SetState::Complete), Colour::Green);
    EXPECT_EQ(GetStateColour(SetState::Incomplete), Colour::Red);
    EXPECT_EQ(GetStateColour(SetState::InProgress), Colour::Yellow);
    EXPECT_EQ(GetStateColour(SetState::Unknown), Colour::Yellow);
}
