#include "provider/common/CEmulexCommon.h"
#include "provider/modules/CEMULEX_Firmware.h"
#include "tests/unit/PortTest.h"

#include <algorithm>
#include <tuple>

namespace {

const std::string archive = "/repository/module.zip";
const Ran done = {"12 %\nxx Download Complete xx\nbye\n", 1};
const Ran silent = {"Download complete\n"};

class FwUpdateTest : public PortTest {
protected:
    FwUpdateTest() {
        downloads = {done};
        host.Write(output, "");
    }

    /// Runs the update on a module of these members, all of them of one text.
    bool Flash(const std::string& uniqueName, const Lines& members) {
        Forget();
        host.archives = {{archive, {}}};
        for (const std::string& name : members) {
            host.archives[archive][name] = "SuccessMessage=bye";
        }
        module.SetUniqueName(uniqueName);
        return module.FwUpdate(archive, folder, tool, nullptr, false);
    }
    std::string Command(const std::string& image) const {
        return "\"" + tool + "\" Download " + wwpn + " \"" + folder + "/" + image + "\"";
    }
    Lines Commands(Lines images) const {
        for (std::string& image : images) {
            image = Command(image);
        }
        return images;
    }

    // Wherever the work folder is, the output stays below the install root.
    const std::string folder = host.Temp("work");
    const std::string output = host.Temp("firm/temp_hbacmd_Download.txt");
    const std::string longExit = "4 CEMULEX_Firmware::FwUpdate() " + port + " [END]";
    const std::string shortExit = "4 CEMULEX_Firmware::FwUpdate() [END]";
    CEMULEX_Firmware module{device, wwpn};
};

TEST_F(FwUpdateTest, FlashesTheImagesOfTheModelAndCleansUp) {
    const Lines one = {"a.grp", "b.all", "c.prg", "d.ufi"};
    const Lines both = {"fw.all", "bios.prg", "message.txt"};
    const std::tuple<std::string, int, Lines, Lines> rows[] = {
        {"fcelx_16g", 0, one, {"a.grp"}},
        {"fcelx_16g", 0, {"a.grp", "message.txt"}, {"a.grp"}},
        {"OCe11102", 0, one, {"d.ufi"}},
        {"OCl14104", 0, one, {"d.ufi"}},
        {"fcelx_8g1p", 0, both, {"bios.prg", "fw.all"}},
        {"fcelx_8g2p_10df_f100_10df_f100", 1, both, {"bios.prg", "fw.all"}}};
    for (const auto& [uniqueName, function, members, images] : rows) {
        SCOPED_TRACE(uniqueName);
        host.pci[device].function = function;
        host.Write(folder + "/leftover.grp", "");
        host.Write(folder + "/leftover.all", "");
        EXPECT_TRUE(Flash(uniqueName, members));
        EXPECT_EQ(host.CommandLines(), Commands(images));
        for (const HostCommand& command : host.commands) {
            EXPECT_EQ(command.runner, HostCommand::ForeignModule);
            EXPECT_EQ(command.outputFile, output);
            EXPECT_EQ(command.timeoutMs, ~0UL);
            EXPECT_EQ(command.codeBefore, 1u);
            EXPECT_EQ(command.workFolder, members.back() == "message.txt" ? folder : "");
        }
        const std::string bios = images.size() == 2 ? images.front() : "";
        EXPECT_TRUE(host.Traced("1 Func Number is [" + std::to_string(function) + "]"));
        EXPECT_TRUE(host.Traced("1 bios update file name(" + bios + ")."));
        EXPECT_EQ(host.Traced("1 Execute bios update(" + Command(bios) + ")."), !bios.empty());
        EXPECT_EQ(host.Frame(), "4 CEMULEX_Firmware::FwUpdate() " + port + " [START]; " + longExit);
        EXPECT_TRUE(host.Complaints().empty());
        EXPECT_FALSE(host.Exists(folder));
    }
}

TEST_F(FwUpdateTest, OtherFunctionsAreLeftToFunction0) {
    host.pci[device].function = 1;
    host.Write(folder + "/old", "");
    for (const char* name : {"fcelx_16g", "OCe11102", "fcelx_8g1", "fcelx_8g1p_"}) {
        EXPECT_TRUE(Flash(name, {})) << name;
        EXPECT_TRUE(host.Traced("1 CheckPCIInfo is false. FwUpdate is skipped"));
        EXPECT_TRUE(host.commands.empty() && host.Exists(folder + "/old"));
    }
}

TEST_F(FwUpdateTest, ModuleMustHoldOneImageOfEachKind) {
    const std::tuple<std::string, Lines, const char*, bool> rows[] = {
        {"fcelx_16g", {"a.ufi"}, "not firmware", false},
        {"fcelx_16g", {"a.grp", "b.grp"}, "some firmware", false},
        {"OCl14104", {"a.grp"}, "not firmware", false},
        {"fcelx_8g1p", {"f.all"}, "not bios", true},
        {"fcelx_8g2p_1", {"a.prg", "b.prg", "f.all"}, "some bios", true},
        {"fcelx_8g1p", {"b.prg"}, "not firmware", false},
        {"fcelx_8g1p", {"b.prg", "e.all", "f.all"}, "some firmware", false},
        {"fcelx_8g", {"b.prg", "f.all", "g.grp"}, "not firmware", false}};
    for (const auto& [uniqueName, members, complaint, isShort] : rows) {
        SCOPED_TRACE(uniqueName + " " + complaint);
        EXPECT_FALSE(Flash(uniqueName, members));
        EXPECT_EQ(LastError(), 29u);
        EXPECT_EQ(host.Complaints().back(),
                  "2 Failed to find update module.There is " + std::string(complaint) + " file.");
        EXPECT_EQ(host.traces.back(), isShort ? shortExit : longExit);
        EXPECT_TRUE(host.commands.empty());
        EXPECT_EQ(host.TraceCount("bios update file name"), 0);
        EXPECT_TRUE(host.Exists(folder + "/" + members.front()));
        // An unknown name traces its exit twice.
        const auto line = std::find(host.traces.begin(), host.traces.end(), shortExit);
        EXPECT_EQ(line != host.traces.end() && *(line - 1) == "2 No such unique name.",
                  uniqueName == "fcelx_8g");
    }
}

TEST_F(FwUpdateTest, FolderAndPlaceFailuresStopBeforeTheTool) {
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[this] { host.Fail(HostDouble::Unzip, archive); }, "26"},
        {[this] { host.Fail(HostDouble::CreateFolder, folder); },
         "19: 2 Failed to get create unzip folder"},
        {[this] { host.Fail(HostDouble::DeleteFolder, folder); }, "28"},
        {[this] { host.pci.clear(); }, "13: 2 PCI Information is invalid"}};
    for (const auto& [spoil, told] : rows) {  // each fails earlier than the one before
        SCOPED_TRACE(told);
        host.Write(folder + "/old", "");
        spoil();
        EXPECT_FALSE(Flash("fcelx_16g", {"a.grp"}));
        EXPECT_TRUE(host.commands.empty());
        EXPECT_EQ(host.traces.back(), longExit);
        EXPECT_EQ(host.Exists(folder + "/old"), LastError() == 13 || LastError() == 28);
        EXPECT_FALSE(host.Exists(folder + "/a.grp"));
        EXPECT_EQ(Told(), told);
    }
}

TEST_F(FwUpdateTest, ToolHasFourAttemptsWhereNoMessageFileJudges) {
    const Lines both = {"b.prg", "f.all", "message.txt"};
    const std::string unread = "2 Failed to open file(" + output + ").";
    const std::tuple<std::vector<Ran>, Lines, Lines, unsigned long, std::string> rows[] = {
        {{silent, done}, {"a.grp"}, Lines(2, "a.grp"), 0, ""},
        {{{"", 0, 1}, {"Download Complete", 0, 255}}, {"a.grp"}, Lines(2, "a.grp"), 0, ""},
        {{silent, silent, silent, done}, {"a.grp"}, Lines(4, "a.grp"), 0, ""},
        {{silent, silent, silent, {"Download\nComplete", 0, 255}, done},
         {"a.grp"},
         Lines(4, "a.grp"),
         16,
         "2 Failed to execute command:" + Command("a.grp") + " ,return:255"},
        {{{noText}}, {"a.grp"}, {"a.grp"}, 17, unread},
        {{{"no"}}, both, {"b.prg"}, 17, "2 Failed to bios update(" + Command("b.prg") + ")."},
        {{{"bye"}, {"no"}}, both, {"b.prg", "f.all"}, 17, unread}};
    for (const auto& [runs, members, images, error, complaint] : rows) {
        SCOPED_TRACE(complaint + " " + std::to_string(images.size()));
        std::remove(output.c_str());
        downloads = runs;
        EXPECT_EQ(Flash(members == both ? "fcelx_8g1p" : "fcelx_16g", members), complaint.empty());
        EXPECT_EQ(LastError(), error);
        EXPECT_EQ(host.CommandLines(), Commands(images));
        EXPECT_EQ(static_cast<size_t>(host.TraceCount("ExecForeignModule cmd:[\"" + tool)),
                  images.size());
        const size_t pauses = members == both ? 0 : images.size() - 1;
        EXPECT_EQ(host.sleeps, std::vector<unsigned long>(pauses, 1000));
        EXPECT_EQ(host.Complaints().empty() ? "" : host.Complaints().back(), complaint);
        EXPECT_EQ(host.traces.back(), longExit);
        EXPECT_EQ(host.Exists(folder), !complaint.empty());
    }
}

TEST_F(FwUpdateTest, FolderLeftBehindFailsAFlashedAdapter) {
    host.run = [this](const HostCommand&) {
        host.Fail(HostDouble::DeleteFolder, folder);
        return done;
    };
    EXPECT_FALSE(Flash("fcelx_16g", {"a.grp"}));
    EXPECT_EQ(Told(), "28: 2 Failed to get delete update module folder(" + folder + ")");
}

TEST_F(FwUpdateTest, PreUpdateUnpacksTheListedMembersAndReportsItsFailures) {
    const std::string begin = "4 CEMULEX_Firmware::PreUpdate() [fcelx_16g] " + port + " [START]";
    std::list<std::string> files = {"b.grp"};
    host.archives = {{archive, {{"a.grp", ""}, {"b.grp", ""}}}};
    module.SetUniqueName("fcelx_16g");
    Forget();
    EXPECT_EQ(module.PreUpdate("", archive, &files, false), 0);
    EXPECT_EQ(host.CommandLines(),
              Lines{"\"" + tool + "\" Download " + wwpn + " \"" + host.Temp("firm/b.grp") + "\""});
    EXPECT_EQ(host.Frame(), begin + "; 4 CEMULEX_Firmware::PreUpdate() " + port + " [END]");
    EXPECT_EQ(Told(), "0");
    host.archives.clear();
    EXPECT_EQ(module.PreUpdate("", archive, nullptr, false), 1);
    EXPECT_EQ(Told(),
              "33: 2 Failed to open file(" + archive + "). | MSGID_EMULEX_FC_0004_F firm|21");
    host.hbacmdInstalled = false;
    EXPECT_EQ(module.PreUpdate("", archive, nullptr, false), 1);
    EXPECT_EQ(host.Frame(), begin + "; 4 CEMULEX_Firmware::CEMULEX_Firmware() " + port + " [END]");
    EXPECT_EQ(host.TraceCount("FwUpdate"), 0);
    EXPECT_EQ(Told(),
              "11: 2 Failed to get One Command Manager Install Path | "
              "MSGID_EMULEX_FC_0013_F firm|b|Emulex|fc|One Command Manager");
}

}  // namespace
