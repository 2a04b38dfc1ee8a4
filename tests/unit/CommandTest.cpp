#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

#include <cerrno>
#include <tuple>

namespace {

using C = CEmulexCommon;

class CommandTest : public HostTest {};

TEST_F(CommandTest, LastErrorAsText) {
    const std::pair<unsigned long, const char*> rows[] = {
        {0, "0"}, {11, "b"}, {17, "11"}, {38, "26"}, {39, "no errcode"}, {~0UL, "no errcode"}};
    for (const auto& [code, text] : rows) {
        C::SetLastError(code);
        EXPECT_EQ(C::GetLastErrorToChractor(), text);
        EXPECT_EQ(C::GetLastError(), code);
    }
}

TEST_F(CommandTest, FirstCharacterThatIsNoDigit) {
    EXPECT_EQ(C::FindNotDisitChar("a1b", 1), 2u);
    EXPECT_EQ(C::FindNotDisitChar("12", 5), std::string::npos);
}

TEST_F(CommandTest, ToolPathAndProgramFolder) {
    std::string path = "kept";
    const std::string end = "4 CEmulexCommon::GetOCMManagerInstallPath(";
    EXPECT_EQ(C::GetProgramFilesFolder_(&path), 1);
    EXPECT_EQ(Told(), "0");
    EXPECT_EQ(C::GetProgramFilesFolder_(nullptr), 0);
    EXPECT_EQ(Told(), "1");
    EXPECT_EQ(C::GetOCMManagerInstallPath(nullptr), 0);
    EXPECT_EQ(host.traces.back(), end + "1) [END]");
    EXPECT_EQ(Told(), "1");
    host.hbacmdInstalled = false;
    EXPECT_EQ(C::GetOCMManagerInstallPath(&path), 0);
    EXPECT_EQ(LastError(), 11u);
    EXPECT_EQ(path, "kept");
    host.hbacmdInstalled = true;
    EXPECT_EQ(C::GetOCMManagerInstallPath(&path), 1);
    EXPECT_EQ(path, "/usr/sbin/ocmanager/hbacmd");
    EXPECT_EQ(host.traces.back(), end + ") [END] [/usr/sbin/ocmanager/hbacmd]");
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(CommandTest, ShellLineIsJudgedByStatusAndOutput) {
    const std::string file = host.Root() + "/out";
    const std::tuple<std::string, std::string, Ran, int, size_t> rows[] = {
        {"highest exit", "highest exit", {"", 255}, -1, 0},
        {"system failed", "system failed", {noText, 0, -1}, -1, 0},
        {"a signal is no failure", "a signal is no failure", {noText, 0, 9}, 9, 0},
        {"echo \"a b\" > \"" + file + "\"", "echo a b > " + file, {"a b\n"}, 0, 0},
        {"no output > " + file, "no output > " + file, {}, -1, 10},
        {"output > " + file, "output > " + file, {"text", 2}, -1, 0},
        {"text behind > " + file + " 2>&1", "text behind > " + file + " 2>&1", {"x"}, -1, 10},
        {"first counts > no > " + file, "first counts > no > " + file, {"x"}, -1, 10},
    };
    for (const auto& [command, line, ran, result, polls] : rows) {
        SCOPED_TRACE(command);
        Forget();
        host.Write(file, "");
        host.run = [&ran = ran](const HostCommand&) { return ran; };
        EXPECT_EQ(C::ExecCommand_(command), result);
        EXPECT_EQ(host.CommandLines(), Lines{line});
        EXPECT_EQ(host.sleeps, std::vector<unsigned long>(polls, 1000));
        EXPECT_EQ(LastError(), 0u);
    }
    host.duringSleep = [&](unsigned long) {
        if (host.sleeps.size() == 9) {
            host.Write(file, "x");
        }
    };
    host.run = nullptr;
    Forget();
    EXPECT_EQ(C::ExecCommand_("late > " + file), 0);
}

TEST_F(CommandTest, ShellLineIsTraced) {
    const std::string signature = "static int CEmulexCommon::ExecCommand_(std::string)";
    C::ExecCommand_("\"a\"");
    EXPECT_EQ(
        host.traces,
        (Lines{"4 CEmulexCommon::ExecCommand_() [START]", "1 " + signature + " ExecCommand_(a)",
               "4 [LEAVE] " + signature + ", rc=0", "4 CEmulexCommon::ExecCommand_() [END]"}));
    host.traces.clear();
    host.run = [](const HostCommand&) {
        errno = EIO;
        return Ran{noText, 1};
    };
    C::ExecCommand_("a");
    EXPECT_EQ(host.Complaints(), Lines{"2 " + signature + " [a] command failed! (5)"});
    EXPECT_EQ(host.TraceCount("[LEAVE]"), 0);
}

TEST_F(CommandTest, ListingIsTriedAgainWhereThatMayHelp) {
    const Ran listed = {"Manageable HBA List\n\nSerial No.     : BT1\nERROR\n", 3};
    const Ran busy = {"\nERROR: <64>: try again\nSerial No.     : BT1\n"};
    const std::string at = " CEmulexCommon::ExecListhbasCommand() ";
    const std::string file = host.Cache("Listhbas.txt");
    const std::string success = "1" + at + "command success";
    const std::tuple<std::vector<Ran>, size_t, std::string> rows[] = {
        {{busy, busy, busy, busy, listed}, 5, success},
        {{busy}, 5, "2" + at + "[ERROR][<64>] Retry Target"},
        {{{"ERROR: <431>: no access\n"}}, 1, "2" + at + "[ERROR] Not Retry Target"},
        {{{"\n"}, listed}, 2, success},
        {{{"", 0, 1}}, 1, "2" + at + "command error"},
        {{{"", 0, 255}}, 1, "2" + at + "Timeout [TimeoutInterval = 60000 (ms)]"},
        {{{"", 0, 2}, listed}, 2, success},
        {{{noText}}, 5, "2 file open error:" + file},
        {{listed}, 1, success}};
    for (const auto& [runs, attempts, last] : rows) {
        SCOPED_TRACE(last);
        Forget();
        host.Write(file, "old");
        if (runs.front().output == noText) {
            std::remove(file.c_str());
        }
        host.run = [&, &runs = runs](const HostCommand&) {
            return runs[std::min(host.commands.size(), runs.size()) - 1];
        };
        C::ExecListhbasCommand("/x/hbacmd");
        EXPECT_EQ(host.commands.size(), attempts);
        EXPECT_EQ(host.messages, last == success ? Lines{} : Lines{"MSGID_EMULEXCOMMON_0001_F"});
        EXPECT_EQ(host.Details().back(), last);
        EXPECT_TRUE(host.sleeps.empty());
        EXPECT_EQ(LastError(), 0u);
    }
    const HostCommand& call = host.commands.at(0);
    EXPECT_EQ(call.runner, HostCommand::ForeignModule);
    EXPECT_EQ(call.line, "/x/hbacmd listhbas ");
    EXPECT_EQ(call.outputFile + call.workFolder, file);
    EXPECT_EQ(call.timeoutMs, 60000u);
    EXPECT_EQ(host.Details(),
              (Lines{"1" + at + "ExecForeignModule cmd:[/x/hbacmd listhbas ]",
                     "1" + at + "ExecForeignModule hbasRtn = [0] dwRtnCode = [3]", success}));
}

}  // namespace
