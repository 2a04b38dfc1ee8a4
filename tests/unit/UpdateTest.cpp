#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

#include <tuple>

namespace {

constexpr const char* done = "SuccessMessage=All done\nEndMessage=The end\n";

class UpdateTest : public HostTest {
protected:
    UpdateTest() { host.Write(definition, done); }

    int Update(int mode, const std::string& definitionFile) {
        return CEmulexCommon::EmulexUpdate("tool", output, "arg3", &code, reports, definitionFile,
                                           mode);
    }

    const std::string output = host.Temp("output.txt");
    const std::string definition = host.Temp("message.txt");
    std::string reports;
    unsigned long code = 1;
};

TEST_F(UpdateTest, ToolCall) {
    reports = host.Root() + "/reports";
    host.Write(reports + "/old.txt", "");
    host.Write(reports + "/old.log", "");
    host.run = [this](const HostCommand&) {
        EXPECT_FALSE(host.Exists(reports + "/old.txt"));
        return Ran();
    };
    EXPECT_EQ(Update(1, ""), 1);
    EXPECT_TRUE(host.Exists(reports + "/old.log"));
    const HostCommand& call = host.commands.at(0);
    EXPECT_EQ(call.line + "," + call.outputFile + "," + call.workFolder,
              "tool," + output + ",arg3");
    EXPECT_EQ(call.timeoutMs, ~0UL);
    EXPECT_EQ(call.codeBefore, 1u);
    EXPECT_EQ(host.traces,
              (Lines{"4 CEmulexCommon::EmulexUpdate() Resultmode = 1 [START]",
                     "1 ExecForeignModule cmd:[tool]", "4 CEmulexCommon::EmulexUpdate() [END]"}));
}

TEST_F(UpdateTest, ResultModes) {
    const std::string failed = "2 Failed to update(tool).";
    const std::string notRun = "2 Failed to update execute(tool)(11)(Windows Error code:17).";
    // No complaint: success.
    const std::tuple<const char*, int, Ran, unsigned long, std::string> rows[] = {
        {"code 0", 1, {}, 0, ""},
        {"code 18", 1, {"0", 18}, 33, "2 Failed to update(tool)(ReturnCode=0x12)."},
        {"not started, good output", 2, {"0\n", 0, 1}, 17, notRun},
        {"time-out is no start failure", 2, {"0\n", 0, 255}, 0, ""},
        {"first line 0", 2, {"0\n1\n", 7}, 0, ""},
        {"trailing blank", 2, {"0 \n"}, 33, failed},
        {"second line 0", 2, {"\n0\n"}, 33, failed},
        {"empty output", 2, {""}, 33, failed},
        {"no output", 2, {std::nullopt}, 17, "2 Failed to open file(" + output + ")."},
        {"messages", 3, {"x The end.\nAll done\n", 9}, 0, ""},
        {"no messages", 3, {"0\nThe end"}, 33, failed},
    };
    for (const auto& [name, mode, ran, error, complaint] : rows) {
        SCOPED_TRACE(name);
        std::remove(output.c_str());
        Forget();
        host.run = [&ran = ran](const HostCommand&) { return ran; };
        code = 1;
        EXPECT_EQ(Update(mode, definition), complaint.empty() ? 1 : 0);
        EXPECT_EQ(LastError(), error);
        const Lines complaints = host.Complaints();
        EXPECT_EQ(complaints.empty() ? "" : complaints.back(), complaint);
    }
    host.run = [](const HostCommand&) { return Ran{"", 0, 255}; };  // nothing tells of success
    EXPECT_EQ(CEmulexCommon::EmulexUpdate("tool", output, "", nullptr, "", "", 1), 0);
}

TEST_F(UpdateTest, ModesThatCannotJudge) {
    const std::tuple<int, std::string, unsigned long, Lines> rows[] = {
        {3, "", 17, {"2 Failed to open file()."}},
        {4, "", 17, {"2 Failed to open file()."}},
        {5, definition, 0, {}}};
    for (const auto& [mode, definitionFile, error, complaints] : rows) {
        SCOPED_TRACE(mode);
        Forget();
        host.run = [](const HostCommand&) { return Ran{"0\nAll done, The end\n"}; };
        EXPECT_EQ(Update(mode, definitionFile), 0);
        EXPECT_EQ(LastError(), error);
        EXPECT_EQ(host.Complaints(), complaints);
        EXPECT_TRUE(host.sleeps.empty());
    }
}

TEST_F(UpdateTest, ReportFile) {
    const std::string found = " After to find reports file.There is ";
    const std::string good = "The end\nAll done\n";
    const struct {
        Lines names;
        std::string text, trace;
        int result;
    } rows[] = {
        {{"b.txt", "c.log"}, good, "1" + found + "one update file.", 1},
        {{"b.txt"}, "The end\n", "1" + found + "one update file.", 0},
        {{"a.txt", "b.txt"}, good, "2" + found + "some update file.", 0},
        {{"b.log"}, good, "2" + found + "not APInstall update file.", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.trace);
        Forget();
        reports = host.Root() + "/reports";
        host.run = [&](const HostCommand&) {
            for (const std::string& name : row.names) {
                host.Write(reports + "/" + name, row.text);
            }
            return Ran();
        };
        EXPECT_EQ(Update(4, definition), row.result);
        EXPECT_EQ(LastError(), row.result == 1 ? 0u : 33u);
        EXPECT_TRUE(host.Traced(row.trace));
        EXPECT_EQ(host.Traced("2 Failed to update(tool)."), row.result == 0);
    }
    EXPECT_FALSE(host.Exists(reports + "/b.txt"));  // the next run clears the folder
}

TEST_F(UpdateTest, MessageDefinition) {
    const std::string five = "EndMessage=1\nEndMessage=2\nEndMessage=3\nEndMessage=4\n";
    const std::string ok = "SuccessMessage=done\n";
    const std::tuple<std::string, std::string, int, unsigned long, size_t> rows[] = {
        {done, "All done\nThe end", 1, 0, 1},
        {done, "The end", 0, 37, 1},
        {done, "All done", 0, 36, 5},
        {done, "", 0, 36, 5},
        {ok, "done", 1, 0, 0},
        {"SuccessMessage= \r done \r\n", "so done!", 1, 0, 0},
        {"SuccessMessage=\tdone\n", "done", 0, 37, 0},
        {"#\n\nSuccessMessage\n SuccessMessage=done", "done", 0, 37, 0},  // tells of "=done"
        {"SuccessMessage=no\nSuccessMessage=done", "done", 1, 0, 0},
        {ok + five + "EndMessage=5\n", "done 5", 1, 0, 1},
        {ok + five + "EndMessage=x\nEndMessage=6\n", "done 6", 0, 36, 5},
        {ok + "EndMessage=\n", "done", 1, 0, 0},
        {ok + "EndMessage=end\n", "done at the End", 0, 36, 5},
        {"EndMessage=The end\n", "The end", 0, 0, 0},
        {"SuccessMessage=\n", "done", 0, 0, 0},
        {"", "done", 0, 0, 0},
    };
    for (const auto& [rules, result, expected, error, sleeps] : rows) {
        SCOPED_TRACE(rules + " / " + result);
        Forget();
        host.Write(definition, rules);
        host.Write(output, result);
        EXPECT_EQ(CEmulexCommon::CheckUpdateResult_(output, definition), expected);
        EXPECT_EQ(LastError(), error);
        EXPECT_EQ(host.sleeps, std::vector<unsigned long>(sleeps, 30000));
        EXPECT_EQ(host.Traced("2 No such end message."), error == 36);
        EXPECT_EQ(host.Traced("2 No such success message."), error == 37);
        EXPECT_EQ(host.Traced("2 no successMessage"), expected == 0 && error == 0);
        EXPECT_EQ(host.Traced("1 no endMessage"),
                  sleeps == 0 && !host.Traced("2 no successMessage"));
    }
}

TEST_F(UpdateTest, MessagesMayComeLate) {
    host.Write(output, "at work\n");
    host.duringSleep = [this](unsigned long) {
        if (host.sleeps.size() == 5) {
            host.Write(output, "at work\nThe end\nAll done\n");
        }
    };
    EXPECT_EQ(CEmulexCommon::CheckUpdateResult_(output, definition), 1);
    const std::string check = "1 Result file check ";
    const Lines details = host.Details();
    EXPECT_EQ(Lines(details.begin(), details.begin() + 3),
              (Lines{"1 successMessage[0]=[All done]", "1 endMessage[0]=[The end]",
                     check + "endmsg [at work]"}));
    EXPECT_EQ(Lines(details.end() - 7, details.end()),
              (Lines{check + "endmsg [The end]", "1 Find endmsg[The end] in [The end]",
                     check + "success msg [at work]", check + "success msg [The end]",
                     check + "success msg [All done]", "1 Find SuccessMsg[All done] in [All done]",
                     "1 Update Result Check OK"}));
}

TEST_F(UpdateTest, FilesThatCannotBeOpened) {
    EXPECT_EQ(CEmulexCommon::CheckUpdateResult_(output, "/no/definition"), 0);
    EXPECT_EQ(LastError(), 17u);
    EXPECT_EQ(host.Details(), Lines{"2 File open error /no/definition"});
    for (const char* text : {done, "SuccessMessage=All done"}) {
        SCOPED_TRACE(text);
        Forget();
        host.Write(definition, text);
        EXPECT_EQ(CEmulexCommon::CheckUpdateResult_("/no/result", definition), 0);
        EXPECT_EQ(LastError(), 17u);
        EXPECT_EQ(host.Complaints().back(), "2 File Open Error");
        EXPECT_EQ(host.sleeps.size(), text == done ? 1u : 0u);
    }
}

}  // namespace
