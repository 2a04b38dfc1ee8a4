#include "qdmctl/DriverOnDisk.h"
#include "qdmctl/PendingUpdates.h"
#include "qdmctl/RepairNote.h"
#include "qdmctl/StateFile.h"
#include "tests/host/HostFixture.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

constexpr char bootNow[] = "6b0f8a52-9c0e-4d0a-8f3e-000000000001";

std::string NewRoot() {
    std::string root = NewFolder();
    ::mkdir((root + stateFolder).c_str(), S_IRWXU);
    return root;
}

PendingUpdate Driver(const std::string& version) {
    return {
        "driver", version, "abnormal", bootNow, {"0000:03:00.0-10df-e200"}, PendingState::Pending};
}

/// The text with one part of it replaced, which must be there.
std::string Replaced(std::string text, const std::string& part, const std::string& by) {
    const std::size_t place = text.find(part);
    EXPECT_NE(place, std::string::npos) << part;
    return text.replace(place, part.size(), by);
}

TEST(PendingUpdates, KeepOneOfEachKindAcrossRuns) {
    const std::string root = NewRoot();
    PendingUpdates first(root);
    EXPECT_TRUE(first.Record(Driver("10.2.1.1"))) << "nobody knows what it would overwrite";
    ASSERT_FALSE(first.Load());
    EXPECT_TRUE(first.All().empty());
    PendingUpdate firmware = Driver("2.02a4");
    firmware.kind = "firm";
    for (const PendingUpdate& update : {Driver("10.2.1.1"), firmware, Driver("10.2.1.2")}) {
        EXPECT_FALSE(first.Record(update));
    }
    PendingUpdates second(root);
    ASSERT_FALSE(second.Load());
    ASSERT_EQ(second.All().size(), 2U);
    ASSERT_NE(second.Find("driver"), nullptr);
    EXPECT_EQ(second.Find("driver")->version, "10.2.1.2");
    EXPECT_EQ(second.Find("driver")->previous, "");
    EXPECT_EQ(second.Find("driver")->deviceIds, Driver("").deviceIds);
    PendingUpdate refuted = *second.Find("driver");
    refuted.state = PendingState::Refuted;
    EXPECT_FALSE(second.Record(refuted));
    EXPECT_FALSE(second.Drop("firm"));
    ASSERT_FALSE(first.Load());
    EXPECT_EQ(first.Find("firm"), nullptr);
    EXPECT_EQ(first.Find("driver")->state, PendingState::Refuted);
    EXPECT_EQ(first.Find("driver")->bootId, bootNow);
    EXPECT_EQ(EntriesOf(root + stateFolder), std::vector<std::string>{"pending.json"});
}

TEST(PendingUpdates, ADamagedStoreIsRefusedAndKept) {
    const std::string root = NewRoot();
    const std::string file = StatePath(root, "pending.json");
    PendingUpdates sound(root);
    ASSERT_FALSE(sound.Load());
    ASSERT_FALSE(sound.Record(Driver("10.2.1.1")));
    const std::string text = ReadText(file);
    auto twice = nlohmann::json::parse(text);
    twice["updates"].push_back(twice["updates"][0]);
    const std::pair<std::string, const char*> rows[] = {
        {"", "not valid JSON"},
        {text.substr(0, text.size() / 2), "not valid JSON"},
        {Replaced(text, "store/1", "store/2"), "schema"},
        {Replaced(text, "10.2.1.1", "$(reboot)"), "version"},
        {Replaced(text, "\"driver\"", "\"drive\""), "kind"},
        {Replaced(text, "\"pending\"", "\"confirmed\""), "state"},
        {Replaced(text, "\"previous\"", "\"former\""), "previous"},
        {twice.dump(), "repeats a kind"},
    };
    for (const auto& [damaged, named] : rows) {
        WriteText(file, damaged);
        PendingUpdates store(root);
        const auto error = store.Load();
        ASSERT_TRUE(error) << damaged;
        EXPECT_EQ(NameOf(error->id), "work-area");
        EXPECT_EQ(error->message.rfind(file, 0), 0U) << error->message;
        EXPECT_NE(error->message.find(named), std::string::npos) << error->message;
        EXPECT_TRUE(store.Record(Driver("10.2.1.2"))) << damaged;
        EXPECT_EQ(ReadText(file), damaged);
    }
}

TEST(PendingUpdates, AreJudgedByWhatOperatesAndNeverByTime) {
    using S = PendingState;
    const std::string other = "another-boot";
    const struct {
        std::string bootId, operating;
        S before, after;
    } rows[] = {
        {bootNow, "10.2.1.0", S::Pending, S::Pending},
        {bootNow, "10.2.1.1", S::Pending, S::Confirmed},  // loaded by hand
        {other, "10.2.1.1", S::Pending, S::Confirmed},
        {other, "10.2.1.0", S::Pending, S::Refuted},
        {other, "abnormal", S::Pending, S::Pending},
        {other, "", S::Refuted, S::Refuted},
        {other, "10.2.1.1", S::Refuted, S::Confirmed},
        {"", "10.2.1.0", S::Pending, S::Pending},
    };
    const auto compare = [](const auto& one, const auto& two) { return one.compare(two); };
    for (const auto& row : rows) {
        PendingUpdate update = Driver("10.2.1.1");
        update.state = row.before;
        EXPECT_EQ(NameOf(JudgeUpdate(update, row.bootId, row.operating, compare)),
                  NameOf(row.after))
            << row.bootId << " " << row.operating;
    }
}

TEST(StateFile, OfAnotherKindOrOpenToOthersIsRefused) {
    const std::string root = NewRoot();
    const std::string file = StatePath(root, "x");
    ASSERT_TRUE(ReadState(root, "x"));
    EXPECT_FALSE(*ReadState(root, "x").value);
    EXPECT_FALSE(RemoveState(root, "x"));
    ASSERT_FALSE(WriteState(root, "x", "one"));
    EXPECT_EQ(**ReadState(root, "x").value, "one");
    const auto mode = std::filesystem::status(file).permissions();
    EXPECT_EQ(static_cast<unsigned>(mode), 0600U);
    std::filesystem::create_hard_link(file, root + "/old");
    WriteText(file + ".new", "left by a run that was killed");
    ASSERT_FALSE(WriteState(root, "x", "two"));
    EXPECT_EQ(ReadText(file), "two");
    EXPECT_EQ(ReadText(root + "/old"), "one") << "the file of before is not written to";
    ::chmod(file.c_str(), 0620);
    EXPECT_FALSE(ReadState(root, "x"));
    ASSERT_EQ(::rename(file.c_str(), (file + "2").c_str()), 0);
    ASSERT_EQ(::symlink((file + "2").c_str(), file.c_str()), 0);
    EXPECT_FALSE(ReadState(root, "x"));
    ::unlink(file.c_str());
    ::mkdir(file.c_str(), S_IRWXU);
    EXPECT_FALSE(ReadState(root, "x"));
    EXPECT_TRUE(WriteState(root, "x", "two"));
    EXPECT_TRUE(RemoveState(root, "x"));
    EXPECT_EQ(EntriesOf(root + stateFolder).size(), 2U) << "the folder and the first file alone";
}

TEST(RepairNote, HoldsOnlyWhatMayBeRunAsRoot) {
    const std::string root = NewRoot();
    const std::string folder = root + "/tmp/EMULEX/temp/tmp/x64";
    const RepairNote note{"util", "10.2.400.1", folder, folder + "/install.sh -q",
                          "/usr/sbin/ocmanager/hbacmd"};
    ASSERT_TRUE(ReadRepairNote(root));
    EXPECT_FALSE(*ReadRepairNote(root).value);
    ASSERT_FALSE(WriteRepairNote(root, note));
    ASSERT_TRUE(ReadRepairNote(root));
    EXPECT_EQ((*ReadRepairNote(root).value)->command, note.command);
    const std::string file = StatePath(root, "repair.json");
    const std::string text = ReadText(file);
    for (const auto& [part, by] : std::initializer_list<std::pair<std::string, std::string>>{
             {"install.sh -q", "install.sh -q; reboot"},
             {"install.sh -q", "install.sh $HOME"},
             {"install.sh -q", "install.sh\\nreboot"},
             {"x64/install.sh", "x64/../install.sh"},
             {"x64/install.sh", "x64/install$(id).sh"},
             {folder + "\",\n  \"command\": \"" + folder, "/var/tmp\",\n  \"command\": \"/var/tmp"},
             {"x64/install.sh", "x64/more/install.sh"},
             {folder + "/install.sh", "/tmp/install.sh"},
             {"\"util\"", "\"firm\""},
             {folder + "\"", "/var/tmp\""},
             {"repair-note/1", "repair-note/2"},
             {"\"missing\"", "\"lost\""}}) {
        WriteText(file, Replaced(text, part, by));
        const auto read = ReadRepairNote(root);
        ASSERT_FALSE(read) << by;
        EXPECT_EQ(NameOf(read.errors.front().id), "work-area");
        EXPECT_NE(read.errors.front().message.find(file), std::string::npos);
    }
    RepairNote hostile = note;
    hostile.command += " && reboot";
    EXPECT_TRUE(WriteRepairNote(root, hostile));
    EXPECT_FALSE(RemoveRepairNote(root));
    EXPECT_FALSE(*ReadRepairNote(root).value);
}

TEST(DriverOnDisk, IsTheVersionWithoutAnEpoch) {
    EXPECT_EQ(VersionOfModinfo("0:12.8.0.10\n"), "12.8.0.10");
    EXPECT_EQ(VersionOfModinfo("10.2.370.19\n"), "10.2.370.19");
    EXPECT_EQ(VersionOfModinfo(""), std::nullopt);
    EXPECT_EQ(VersionOfModinfo("\x1b[31m10.2\n"), std::nullopt);
}

}  // namespace
}  // namespace qdmctl
