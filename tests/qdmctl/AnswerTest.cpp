#include "qdmctl/Answer.h"
#include "qdmctl/AnswerFromJson.h"
#include "qdmctl/AnswerJson.h"
#include "qdmctl/AnswerTable.h"
#include "qdmctl/Output.h"
#include "qdmctl/SafeText.h"
#include "qdmctl/Step.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <tuple>

namespace qdmctl {
namespace {

/// One port for each list of outcomes, named "0", "1", ...
Answer MakeAnswer(const std::vector<std::vector<Outcome>>& ports) {
    Answer answer;
    answer.hasComponents = true;
    for (const std::vector<Outcome>& outcomes : ports) {
        Port port;
        port.deviceId = std::to_string(answer.ports.size());
        for (const Outcome outcome : outcomes) {
            Component& component = port.components.emplace_back();
            component.kind = "firm";
            component.verdict = Verdict::Newer;
            component.outcome = outcome;
        }
        answer.ports.push_back(port);
    }
    return answer;
}

Error MakeError(ErrorId id, const std::string& deviceId = {}) {
    Error error;
    error.id = id;
    error.message = "what happened";
    error.deviceId = deviceId;
    return error;
}

TEST(Answer, ResultAndExitCodeFollowFromPortsAndErrors) {
    using O = Outcome;
    using E = ErrorId;
    using R = Result;
    using Ports = std::vector<std::vector<O>>;
    const Ports none, skipped = {{O::Skipped}, {O::Skipped}};
    const Error damaged = MakeError(E::PackageDamaged, "0");
    const struct {
        const char* name;
        Ports ports;
        std::vector<Error> errors;
        R result;
        int exitCode;
    } rows[] = {
        {"all updated", {{O::Updated}, {O::Pending}}, {}, R::Ok, 0},
        {"one to do", {{O::NotNeeded}, {O::NotAttempted}}, {}, R::Ok, 0},
        {"nothing to do", {{O::NotNeeded}, {O::Skipped}}, {}, R::Nothing, 0},
        {"no components", {{}, {}}, {}, R::Nothing, 0},
        {"one failed", {{O::Failed}, {O::Updated}}, {}, R::Partial, 4},
        {"one refused", {{O::Skipped}, {O::Updated}}, {damaged}, R::Partial, 4},
        {"all failed", {{O::Failed}, {O::Failed}}, {}, R::Failed, 1},
        {"all refused alike",
         skipped,
         {damaged, MakeError(E::PackageUnsuitable, "1")},
         R::Failed,
         8},
        {"each refused otherwise", skipped, {damaged, MakeError(E::ToolFailed, "1")}, R::Failed, 1},
        {"ended early", {{O::NotAttempted}}, {MakeError(E::Interrupted)}, R::Failed, 1},
        {"half-way", {{O::Updated}, {O::NotAttempted}}, {MakeError(E::Interrupted)}, R::Partial, 4},
        {"error of no known port", none, {MakeError(E::NoDevice, "9")}, R::Failed, 3},
        {"usage", none, {MakeError(E::Usage)}, R::Failed, 2},
        {"nobody to ask", {{O::NotAttempted}}, {MakeError(E::Usage)}, R::Failed, 2},
        {"no adapter", none, {MakeError(E::NoAdapter)}, R::Failed, 3},
        {"busy", none, {MakeError(E::Busy)}, R::Failed, 7},
        {"broken index", none, {2, MakeError(E::IndexInvalid)}, R::Failed, 8},
        {"not root", none, {MakeError(E::NotRoot)}, R::Failed, 9},
        {"no tool", none, {MakeError(E::ToolMissing)}, R::Failed, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Answer answer = MakeAnswer(row.ports);
        answer.errors = row.errors;
        const Conclusion conclusion = ResultOf(answer);
        EXPECT_EQ(NameOf(conclusion.result), NameOf(row.result));
        EXPECT_EQ(conclusion.exitCode, row.exitCode);
    }
}

TEST(Answer, AListWithoutErrorsIsOkAndNotNothing) {
    Answer answer = MakeAnswer({{}});
    answer.hasComponents = false;
    EXPECT_EQ(ResultOf(answer).result, Result::Ok);
    answer.checks = {{"one", CheckState::Ok, "", ""}, {"two", CheckState::Warning, "", ""}};
    EXPECT_EQ(ResultOf(answer).exitCode, 0);
    answer.checks->front().state = CheckState::Failure;
    EXPECT_EQ(ResultOf(answer).exitCode, 1);
}

TEST(Answer, OnlyANewerVersionIsPlannedWithoutAFlag) {
    for (const Verdict verdict : {Verdict::Newer, Verdict::Same, Verdict::Older,
                                  Verdict::Unreadable, Verdict::Incomparable, Verdict::None}) {
        const Plan plan = PlannedOutcome(verdict);
        EXPECT_EQ(plan.outcome == Outcome::NotAttempted, verdict == Verdict::Newer)
            << NameOf(verdict);
        EXPECT_FALSE(plan.reason.empty()) << NameOf(verdict);
    }
}

Answer AwkwardAnswer() {
    Answer answer = MakeAnswer({{Outcome::Failed}});
    answer.schema = "qdm.update/1";
    answer.result = Result::Failed;
    answer.exitCode = 1;
    Port& port = answer.ports[0];
    port.deviceId = "0000:03:00.0-10df-f100";
    port.modelKey = "fcelx_8g2p_10df_f100_10df_f100";
    port.reportedModelKey = "fcelx_8g2p_10df_f100_-p00_10df";
    port.wwpn = "10000090fa942779";
    port.versions = {"2.02a4", "abnormal", "", "10.2\x1b[31m\xff\xc3\xa9"};
    port.components[0].reason = "said \"no\"\nand\tleft\x07";
    Error error = MakeError(ErrorId::UpdateFailed, port.deviceId);
    error.kind = "firm";
    error.lastError = 33;
    error.messageId = "MSGID_EMULEX_FC_0004_F";
    error.hint = "look at the adapter";
    answer.errors = {error, MakeError(ErrorId::Internal)};
    return answer;
}

TEST(AnswerJson, IsValidWhateverBytesTheToolGave) {
    const std::string text = ToJson(AwkwardAnswer());
    const auto json = nlohmann::json::parse(text);  // throws on what is no UTF-8
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(json["schema"], "qdm.update/1");
    EXPECT_EQ(json["result"], "failed");
    EXPECT_EQ(json["exit_code"], 1);
    const auto& port = json["ports"][0];
    EXPECT_EQ(port["reported_model_key"], "fcelx_8g2p_10df_f100_-p00_10df");
    EXPECT_TRUE(port["pci"].is_null());
    EXPECT_EQ(port["versions"], nlohmann::json({{"firmware", "2.02a4"},
                                                {"boot_bios", nullptr},
                                                {"driver", nullptr},
                                                {"utility", "10.2\x1b[31m\xef\xbf\xbd\xc3\xa9"}}));
    EXPECT_EQ(port["components"][0]["outcome"], "failed");
    EXPECT_EQ(port["components"][0]["reason"], "said \"no\"\nand\tleft\x07");
    EXPECT_EQ(json["errors"][0]["last_error"], 33);
    EXPECT_EQ(json["errors"][0]["message_id"], "MSGID_EMULEX_FC_0004_F");
    EXPECT_FALSE(json["errors"][1].contains("device_id"));
    EXPECT_FALSE(json["errors"][1].contains("last_error"));
}

TEST(AnswerJson, AListHasNoComponentsAndAnUnknownWwpnIsNull) {
    Answer answer = MakeAnswer({{Outcome::Updated}});
    answer.hasComponents = false;
    answer.ports[0].pci = PciLocation{3, 0, 1};
    answer.ports[0].modelKey = answer.ports[0].reportedModelKey = "fcelx_16g";
    const auto port = nlohmann::json::parse(ToJson(answer))["ports"][0];
    EXPECT_FALSE(port.contains("components"));
    EXPECT_FALSE(port.contains("reported_model_key"));
    EXPECT_TRUE(port["wwpn"].is_null());
    EXPECT_EQ(port["pci"], nlohmann::json({{"bus", 3}, {"device", 0}, {"function", 1}}));
}

TEST(AnswerFromJson, RefusesNumbersThatDoNotFitTheirPlace) {
    const std::tuple<const char*, bool, bool> rows[] = {
        {"2147483647", true, true},   {"-2147483648", true, false},  {"4294967295", false, true},
        {"4294967296", false, false}, {"-2147483649", false, false}, {"1e99", false, false},
        {"1.0", false, false},        {"true", false, false}};
    for (const auto& [number, isExitCode, isStepNumber] : rows) {
        const std::string text = number;
        EXPECT_EQ(FromJson("{\"result\": \"ok\", \"ports\": [], \"errors\": [], \"exit_code\": " +
                           text + "}")
                      .has_value(),
                  isExitCode)
            << text;
        EXPECT_EQ(StepFromText(text + " 1 1 1 1 0 0\n").has_value(), isStepNumber) << text;
    }
}

TEST(Step, ArrivesAsItWasSent) {
    const Step sent{3, 24, "firm: \n7 ", "0000:03:00.0", true, false, true, 60000};
    const std::string text = ToText(sent);
    const auto step = StepFromText(text);
    ASSERT_TRUE(step);
    EXPECT_EQ(ToText(*step), text);
    EXPECT_EQ(std::tie(step->number, step->phase, step->device, step->changing, step->announce,
                       step->guarded, step->deadlineMs),
              std::tie(sent.number, sent.phase, sent.device, sent.changing, sent.announce,
                       sent.guarded, sent.deadlineMs));
    for (const char* cut : {"", "1 2 1 0 1 5", "1 2 1 0 1 5 3\nab", "1 2 2 0 1 5 0\n"}) {
        EXPECT_FALSE(StepFromText(cut)) << cut;
    }
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::size_t WidestLine(const std::string& text) {
    std::size_t widest = 0;
    for (const std::string& line : LinesOf(text)) {
        widest = std::max(widest, WidthOf(line));
    }
    return widest;
}

void ExpectShown(const std::string& text, const std::vector<const char*>& words) {
    for (const char* word : words) {
        EXPECT_NE(text.find(word), std::string::npos) << word << "\n" << text;
    }
}

TEST(Output, ArrivesAsItWasSent) {
    for (const Output& sent : {Output{4, false, "two\nlines\n"}, Output{0, true, ""}}) {
        const auto arrived = OutputFromText(ToText(sent));
        ASSERT_TRUE(arrived);
        EXPECT_EQ(std::tie(arrived->exitCode, arrived->toErrors, arrived->text),
                  std::tie(sent.exitCode, sent.toErrors, sent.text));
    }
    EXPECT_FALSE(OutputFromText("4 0"));
}

TEST(AnswerTable, FoldsAtEightyColumnsAndShowsEverything) {
    Answer answer = AwkwardAnswer();
    for (const bool hasComponents : {false, true}) {
        answer.hasComponents = hasComponents;
        const std::string narrow = ToTable(answer, {80, false});
        const std::string wide = ToTable(answer, {0, false});
        EXPECT_LE(WidestLine(narrow), 80U) << narrow;
        EXPECT_GT(WidestLine(wide), 80U) << wide;
        for (const std::string& text : {narrow, wide}) {
            ExpectShown(text,
                        {"0000:03:00.0-10df-f100", "last error 33", "hint: look at the adapter",
                         hasComponents ? "1 failed" : "10.2?[31m?\xc3\xa9"});
            EXPECT_EQ(text.find('\x1b'), std::string::npos) << text;
            EXPECT_EQ(text.find("abnormal"), std::string::npos) << text;
        }
    }
}

TEST(AnswerTable, WideTablesHaveOneAlignedRowAPort) {
    Answer answer = MakeAnswer({{}, {}});
    answer.hasComponents = false;
    answer.ports[0].versions.utility = answer.ports[1].versions.utility = "U";
    answer.ports[1].modelKey = std::string(200, 'm');
    const auto lines = LinesOf(ToTable(answer, {200, false}));
    EXPECT_EQ(lines.at(0).find("UTILITY"), lines.at(1).rfind('U'));
    EXPECT_EQ(lines.at(1).rfind('U'), lines.at(2).rfind('U'));
    EXPECT_NE(lines.at(2).find("m..."), std::string::npos);
}

TEST(AnswerTable, LeavesOutKindsThatNothingIsOfferedOf) {
    Answer answer = MakeAnswer({{Outcome::NotNeeded, Outcome::NotNeeded}});
    auto& components = answer.ports[0].components;
    components[1].kind = "driver";
    EXPECT_NE(ToTable(answer, {0, false}).find("2 not-needed"), std::string::npos);
    components[0].offered = "1";
    const std::string table = ToTable(answer, {0, false});
    EXPECT_NE(table.find("1 not-needed"), std::string::npos) << table;
    EXPECT_EQ(table.find("driver"), std::string::npos) << table;
}

TEST(AnswerTable, ColoursOnlyWhenAsked) {
    EXPECT_NE(ToTable(AwkwardAnswer(), {80, true}).find("\x1b[31mfailed\x1b[0m"),
              std::string::npos);
}

TEST(SafeText, ShowsWhatIsHarmlessAndNothingElse) {
    const std::pair<std::string, std::string> rows[] = {
        {"a\nb\tc\r~", "a b c?~"},
        {"\x1b]0;x\x07\x7f", "?]0;x??"},
        {std::string("a\0b", 3), "a?b"},
        {"\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80", "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80"},
        {"\xc2\x9b", "?"},             // a control character of eight bits
        {"\xe2\x80\xae", "?"},         // right-to-left override
        {"\xc0\xaf", "??"},            // overlong
        {"\xed\xa0\x80", "???"},       // surrogate
        {"\xf4\x90\x80\x80", "????"},  // beyond the last character
        {"\xe2\x82", "??"},            // truncated
        {"\xff\xfe", "??"},
    };
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(Printable(text), expected);
    }
    EXPECT_EQ(Shorten("\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9\xc3\xa9", 4), "\xc3\xa9...");
    EXPECT_EQ(Wrap("one two  threefour five", 8),
              (std::vector<std::string>{"one two", "threefour", "five"}));
}

}  // namespace
}  // namespace qdmctl
