#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

#include <tuple>

namespace {

const std::string done = "SuccessMessage=All done\nEndMessage=The end\n";

class UpdateTest : public HostTest {
protected:
    UpdateTest() { host.Write(definition, done); }

    int Update(int mode, const std::string& definitionFile) {
        code = 1;
        return CEmulexCommon::EmulexUpdate("tool", output, "arg3", &code, reports, definitionFile,
                                           mode);
    }
    Ran WriteReports(const Lines& names, const std::string& text) {
        for (const std::string& name : names) {
            host.Write(reports + "/" + name, text);
        }
        return {};
    }
    /// The result and what was told.
    std::string Checked(const std::string& result, const std::string& rules) {
        const int passed = CEmulexCommon::CheckUpdateResult_(result, rules);
        return std::to_string(passed) + " " + Told();
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
    const std::string failed = "33: 2 Failed to update(tool).";
    const std::string notRun = "17: 2 Failed to update execute(tool)(11)(Windows Error code:17).";
    const std::string coded = "33: 2 Failed to update(tool)(ReturnCode=0x12).";
    const std::string noEnd = "33: 2 No such end message.; 2 Failed to update(tool).";
    const std::string noFile = "17: 2 Failed to open file(";
    const std::tuple<int, Ran, std::string, std::string> rows[] = {
        {1, {}, definition, "0"},
        {1, {"0", 18}, definition, coded},
        {2, {"0\n", 0, 1}, definition, notRun},
        {2, {"0\n", 0, 255}, definition, "0"},  // a time-out is no failure to start
        {2, {"0\n1\n", 7}, definition, "0"},
        {2, {"0 \n"}, definition, failed},
        {2, {"\n0\n"}, definition, failed},
        {2, {""}, definition, failed},
        {2, {noText}, definition, noFile + output + ")."},
        {3, {"x The end.\nAll done\n", 9}, definition, "0"},
        {3, {"0\nThe"}, definition, noEnd},
        {3, {"0\nAll done, The end\n"}, "", noFile + ")."},
        {4, {"0\nAll done, The end\n"}, "", noFile + ")."},
        {5, {"0\nAll done, The end\n"}, definition, "0"}};
    for (const auto& [mode, ran, definitionFile, told] : rows) {
        SCOPED_TRACE(std::to_string(mode) + " " + ran.output);
        std::remove(output.c_str());
        host.run = [&ran = ran](const HostCommand&) { return ran; };
        EXPECT_EQ(Update(mode, definitionFile), told == "0" && mode != 5);
        EXPECT_EQ(Told(), told);
    }
    host.run = [](const HostCommand&) { return Ran{"", 0, 255}; };  // nothing tells of success
    EXPECT_EQ(CEmulexCommon::EmulexUpdate("tool", output, "", nullptr, "", "", 1), 0);
}

TEST_F(UpdateTest, ReportFile) {
    const std::string found = " After to find reports file.There is ";
    const std::string good = "The end\nAll done\n";
    const std::tuple<Lines, std::string, std::string, int> rows[] = {
        {{"b.txt", "c.log"}, good, "1" + found + "one update file.", 1},
        {{"b.txt"}, "The end\n", "1" + found + "one update file.", 0},
        {{"a.txt", "b.txt"}, good, "2" + found + "some update file.", 0},
        {{"b.log"}, good, "2" + found + "not APInstall update file.", 0}};
    reports = host.Root() + "/reports";
    for (const auto& [names, text, trace, result] : rows) {
        SCOPED_TRACE(trace);
        Forget();
        host.run = [this, &names = names, &text = text](const HostCommand&) {
            return WriteReports(names, text);
        };
        EXPECT_EQ(Update(4, definition), result);
        EXPECT_EQ(LastError(), result == 1 ? 0u : 33u);
        EXPECT_TRUE(host.Traced(trace));
        EXPECT_EQ(host.Traced("2 Failed to update(tool)."), result == 0);
    }
    EXPECT_FALSE(host.Exists(reports + "/b.txt"));  // the next run clears the folder
}

TEST_F(UpdateTest, MessageDefinition) {
    const std::string five = "EndMessage=1\nEndMessage=2\nEndMessage=3\nEndMessage=4\n";
    const std::string ok = "SuccessMessage=done\n";
    const std::string noEnd = "0 36: 2 No such end message.", none = "0 0: 2 no successMessage";
    const std::string noSuccess = "0 37: 2 No such success message.";
    const std::tuple<std::string, std::string, std::string, size_t> rows[] = {
        {done, "All done\nThe end", "1 0", 1},
        {done, "The end", noSuccess, 1},
        {done, "All done", noEnd, 5},
        {done, "", noEnd, 5},
        {ok, "done", "1 0", 0},
        {"SuccessMessage= \r done \r\n", "so done!", "1 0", 0},
        {"SuccessMessage=\tdone\n", "done", noSuccess, 0},
        {"#\n\nSuccessMessage\n SuccessMessage=done", "done", noSuccess, 0},  // tells of "=done"
        {"SuccessMessage=no\nSuccessMessage=done", "done", "1 0", 0},
        {ok + five + "EndMessage=5\n", "done 5", "1 0", 1},
        {ok + five + "EndMessage=x\nEndMessage=6\n", "done 6", noEnd, 5},
        {ok + "EndMessage=\n", "done", "1 0", 0},
        {ok + "EndMessage=end\n", "done at the End", noEnd, 5},
        {"EndMessage=The end\n", "The end", none, 0},
        {"SuccessMessage=\n", "done", none, 0},
        {"", "done", none, 0}};
    size_t pauses = 0;
    host.duringSleep = [&](unsigned long ms) { pauses += ms == 30000 ? 1 : 0; };
    for (const auto& [rules, text, expected, sleeps] : rows) {
        SCOPED_TRACE(rules);
        SCOPED_TRACE(text);
        host.Write(definition, rules);
        host.Write(output, text);
        pauses = 0;
        EXPECT_EQ(Checked(output, definition), expected);
        EXPECT_EQ(pauses, sleeps);
    }
    for (const std::string& rules : {done, ok}) {
        host.Write(definition, rules);
        EXPECT_EQ(Checked("/no/result", definition), "0 17: 2 File Open Error");
    }
    EXPECT_EQ(Checked(output, "/no/definition"), "0 17: 2 File open error /no/definition");
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

}  // namespace
