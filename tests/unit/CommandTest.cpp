#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

#include <cerrno>
#include <tuple>

namespace {

class CommandTest : public HostTest {};

TEST_F(CommandTest, LastErrorAsText) {
    const std::pair<unsigned long, const char*> rows[] = {
        {0, "0"}, {11, "b"}, {17, "11"}, {38, "26"}, {39, "no errcode"}, {~0UL, "no errcode"}};
    for (const auto& [code, text] : rows) {
        CEmulexCommon::SetLastError(code);
        EXPECT_EQ(CEmulexCommon::GetLastErrorToChractor(), text);
        EXPECT_EQ(CEmulexCommon::GetLastError(), code);
    }
}

TEST_F(CommandTest, FirstCharacterThatIsNoDigit) {
    const unsigned long none = std::string::npos;
    const std::tuple<const char*, unsigned long, unsigned long> rows[] = {
        {"123abc", 0, 3}, {"a1b", 1, 2},    {"09/:", 0, 2},
        {"9:", 0, 1},     {"123", 0, none}, {"12", 5, none}};
    for (const auto& [text, start, expected] : rows) {
        EXPECT_EQ(CEmulexCommon::FindNotDisitChar(text, start), expected) << text;
    }
}

TEST_F(CommandTest, ToolPath) {
    std::string path = "kept";
    EXPECT_EQ(CEmulexCommon::GetOCMManagerInstallPath(nullptr), 0);
    EXPECT_EQ(LastError(), 1u);
    EXPECT_EQ(host.traces.back(), "4 CEmulexCommon::GetOCMManagerInstallPath(1) [END]");
    host.hbacmdInstalled = false;
    EXPECT_EQ(CEmulexCommon::GetOCMManagerInstallPath(&path), 0);
    EXPECT_EQ(LastError(), 11u);
    EXPECT_EQ(path, "kept");
    host.hbacmdInstalled = true;
    EXPECT_EQ(CEmulexCommon::GetOCMManagerInstallPath(&path), 1);
    EXPECT_EQ(path, "/usr/sbin/ocmanager/hbacmd");
    EXPECT_EQ(host.traces.back(),
              "4 CEmulexCommon::GetOCMManagerInstallPath() [END] [/usr/sbin/ocmanager/hbacmd]");
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(CommandTest, ProgramFolderIsOnlyChecked) {
    std::string folder = "kept";
    EXPECT_EQ(CEmulexCommon::GetProgramFilesFolder_(&folder), 1);
    EXPECT_EQ(folder, "kept");
    EXPECT_EQ(LastError(), 0u);
    EXPECT_EQ(CEmulexCommon::GetProgramFilesFolder_(nullptr), 0);
    EXPECT_EQ(LastError(), 1u);
}

TEST_F(CommandTest, ShellLineIsJudgedByStatusAndOutput) {
    const std::string file = host.Root() + "/out";
    const std::tuple<const char*, std::string, std::string, Ran, int, size_t> rows[] = {
        {"highest exit", "false", "false", {"", 255}, -1, 0},
        {"system failed", "any", "any", {std::nullopt, 0, -1}, -1, 0},
        {"a signal is no failure", "any", "any", {std::nullopt, 0, 9}, 9, 0},
        {"output", "echo \"a b\" > \"" + file + "\"", "echo a b > " + file, {"a b\n"}, 0, 0},
        {"no output", "echo > " + file, "echo > " + file, {}, -1, 10},
        {"bad exit with output", "echo > " + file, "echo > " + file, {"text", 2}, -1, 0},
        {"text behind the file", "e > " + file + " 2>&1", "e > " + file + " 2>&1", {"x"}, -1, 10},
        {"first arrow counts", "e > no > " + file, "e > no > " + file, {"x"}, -1, 10},
    };
    for (const auto& [name, command, line, ran, result, polls] : rows) {
        SCOPED_TRACE(name);
        Forget();
        host.Write(file, "");
        host.run = [&ran = ran](const HostCommand&) { return ran; };
        EXPECT_EQ(CEmulexCommon::ExecCommand_(command), result);
        EXPECT_EQ(host.CommandLines(), Lines{line});
        EXPECT_EQ(host.sleeps, std::vector<unsigned long>(polls, 1000));
        EXPECT_EQ(LastError(), 0u);
    }
}

TEST_F(CommandTest, ShellLineIsTraced) {
    const std::string signature = "static int CEmulexCommon::ExecCommand_(std::string)";
    CEmulexCommon::ExecCommand_("\"a\"");
    EXPECT_EQ(
        host.traces,
        (Lines{"4 CEmulexCommon::ExecCommand_() [START]", "1 " + signature + " ExecCommand_(a)",
               "4 [LEAVE] " + signature + ", rc=0", "4 CEmulexCommon::ExecCommand_() [END]"}));
    host.traces.clear();
    host.run = [](const HostCommand&) {
        errno = EIO;
        return Ran{std::nullopt, 1};
    };
    CEmulexCommon::ExecCommand_("a");
    EXPECT_EQ(host.Complaints(), Lines{"2 " + signature + " [a] command failed! (5)"});
    EXPECT_EQ(host.TraceCount("[LEAVE]"), 0);
}

TEST_F(CommandTest, OutputMayComeLate) {
    const std::string file = host.Root() + "/late";
    host.duringSleep = [&](unsigned long) {
        if (host.sleeps.size() == 9) {
            host.Write(file, "x");
        }
    };
    EXPECT_EQ(CEmulexCommon::ExecCommand_("slow > " + file), 0);
    EXPECT_EQ(host.sleeps.size(), 9u);
}

const Ran listed = {"Manageable HBA List\n\nPort WWN       : 10:00\nSerial No.     : BT1\nERROR\n"};
const Ran busy = {"\nERROR: <64>: try again\nSerial No.     : BT1\n"};

TEST_F(CommandTest, ListingIsTriedAgainWhereThatMayHelp) {
    const std::string at = " CEmulexCommon::ExecListhbasCommand() ";
    const std::string file = host.Cache("Listhbas.txt");
    const std::string success = "1" + at + "command success";
    const std::tuple<const char*, std::vector<Ran>, size_t, std::string> rows[] = {
        {"busy for a while", {busy, busy, listed}, 3, success},
        {"last chance", {busy, busy, busy, busy, listed}, 5, success},
        {"busy", {busy}, 5, "2" + at + "[ERROR][<64>] Retry Target"},
        {"refused", {{"ERROR: <431>: no access\n"}}, 1, "2" + at + "[ERROR] Not Retry Target"},
        {"nothing said", {{"\n"}, listed}, 2, success},
        {"not started", {{"", 0, 1}}, 1, "2" + at + "command error"},
        {"time-out", {{"", 0, 255}}, 1, "2" + at + "Timeout [TimeoutInterval = 60000 (ms)]"},
        {"unknown answer", {{"", 0, 2}, listed}, 2, success},
        {"no file", {{std::nullopt}}, 5, "2 file open error:" + file},
    };
    for (const auto& [name, runs, attempts, last] : rows) {
        SCOPED_TRACE(name);
        Forget();
        host.Write(file, "");
        std::remove(file.c_str());
        host.run = [&, &runs = runs](const HostCommand&) {
            return runs[std::min(host.commands.size(), runs.size()) - 1];
        };
        CEmulexCommon::ExecListhbasCommand("/x/hbacmd");
        EXPECT_EQ(host.commands.size(), attempts);
        EXPECT_EQ(host.messages, last == success ? Lines{} : Lines{"MSGID_EMULEXCOMMON_0001_F"});
        EXPECT_EQ(host.Details().back(), last);
        EXPECT_TRUE(host.sleeps.empty());
        EXPECT_EQ(LastError(), 0u);
    }
}

TEST_F(CommandTest, ListingCallAndItsTrace) {
    const std::string at = "1 CEmulexCommon::ExecListhbasCommand() ";
    host.Write(host.Cache("Listhbas.txt"), "old");
    host.run = [](const HostCommand&) { return Ran{listed.output, 3}; };
    CEmulexCommon::ExecListhbasCommand("/x/hbacmd");
    const HostCommand& call = host.commands.at(0);
    EXPECT_EQ(call.runner, HostCommand::ForeignModule);
    EXPECT_EQ(call.line, "/x/hbacmd listhbas ");
    EXPECT_EQ(call.outputFile, host.Cache("Listhbas.txt"));
    EXPECT_EQ(call.workFolder, "");
    EXPECT_EQ(call.timeoutMs, 60000u);
    EXPECT_EQ(host.Details(), (Lines{at + "ExecForeignModule cmd:[/x/hbacmd listhbas ]",
                                     at + "ExecForeignModule hbasRtn = [0] dwRtnCode = [3]",
                                     at + "command success"}));
}

}  // namespace
