#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <regex>
#include <sstream>

#include "host/DllCommon/InstallRoot.h"
#include "host/DllCommon/MessageCatalogue.h"
#include "host/DllCommon/MessageTable.h"
#include "host/DllCommon/TraceSink.h"
#include "host/ShowMessage.h"
#include "tests/host/HostFixture.h"

namespace {

void WriteLines(const char* word, int number) {
    const std::string filling(3000, word[0]);
    for (int i = 0; i < number; ++i) {
        CTraceUtility::WriteDebug("fc", CTraceUtility::TRACE_DBG_FLOW, "%s %d %s", word, i,
                                  filling.c_str());
    }
}

std::vector<std::string> LinesOf(const std::string& file) {
    std::vector<std::string> lines;
    std::istringstream text(ReadText(file));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

TEST(Trace, LinesOfTwoProcessesStayWhole) {
    constexpr int number = 500;
    const std::string file = NewFolder() + "/trace";
    ASSERT_EQ(OpenTraceFile(file), "");
    const pid_t child = fork();
    const std::string opened = child == 0 ? OpenTraceFile(file) : "";
    WriteLines(child == 0 ? "child" : "parent", number);
    if (child == 0) {
        _exit(opened.empty() ? 0 : 1);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    const std::regex form(
        "\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{6}Z (\\d+) fc FLOW "
        "(child|parent) (\\d+) (c+|p+)");
    std::map<std::string, int> next;
    for (const std::string& line : LinesOf(file)) {
        std::smatch parts;
        ASSERT_TRUE(std::regex_match(line, parts, form)) << line;
        EXPECT_EQ(parts[4].length(), 3000);
        EXPECT_EQ(parts[1].str(), std::to_string(parts[2] == "child" ? child : getpid()));
        EXPECT_EQ(parts[3].str(), std::to_string(next[parts[2]]++));
    }
    EXPECT_EQ(next["child"], number);
    EXPECT_EQ(next["parent"], number);
}

TEST(Trace, LevelsControlCharactersAndObserver) {
    const std::string file = NewFolder() + "/trace";
    ASSERT_EQ(OpenTraceFile(file, CTraceUtility::TRACE_DBG_ERROR | CTraceUtility::TRACE_DBG_INFO),
              "");
    EXPECT_NE(OpenTraceFile(file + "/x"), "") << "leaves the trace as it was";
    Recorder recorder(CTraceUtility::TRACE_DBG_WARN | CTraceUtility::TRACE_DBG_ERROR);
    CTraceUtility::WriteDebug("fc", CTraceUtility::TRACE_DBG_FLOW, "flow");
    CTraceUtility::WriteDebug("fc", CTraceUtility::TRACE_DBG_WARN, "warn %d", 1);
    CTraceUtility::WriteDebug(nullptr, CTraceUtility::TRACE_DBG_ERROR, "a\nb\x1b\x7f[%s",
                              std::string(20000, 'x').c_str());
    ShowMessage(L"w\u00e4", "detail");
    ShowMessage(nullptr);
    const auto lines = LinesOf(file);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_NE(lines[0].find(" - ERROR a\\nb\\x1b\\x7f[xxx"), std::string::npos) << lines[0];
    EXPECT_LT(lines[0].size(), 17000U) << "lines have a limit";
    EXPECT_NE(lines[1].find(" host INFO w\xc3\xa4 detail"), std::string::npos);
    ASSERT_EQ(recorder.lines.size(), 2U);
    EXPECT_EQ(recorder.lines[0].second, "warn 1");
    EXPECT_EQ(recorder.lines[1].second.substr(0, 6), "a\\nb\\x");
}

TEST(Messages, CatalogueFitsTheTable) {
    for (const auto& [id, inserts] : MessageTable::Entries()) {
        SCOPED_TRACE(id);
        std::vector<std::string> marks;
        for (std::size_t i = 0; i < inserts; ++i) {
            marks.push_back("<" + std::to_string(i) + ">");
        }
        const std::string text = MessageCatalogue::Installed().Text(id, marks);
        EXPECT_EQ(text.find("no text"), std::string::npos);
        EXPECT_EQ(text.find('{'), std::string::npos) << text << ": a place without an insert";
        for (const std::string& mark : marks) {
            EXPECT_NE(text.find(mark), std::string::npos) << text << ": lacks " << mark;
        }
    }
}

TEST(Messages, ReachEventLogAndObserver) {
    std::filesystem::remove_all(TestFolder() + "/log");
    Recorder recorder;
    CTraceUtility::WriteTrace("fc", "MSGID_EMULEX_FC_0009_F", "firm", "1.2{1}", "3\n4");
    CTraceUtility::WriteTrace("fc", "MSGID_UNKNOWN", "not read");
    CTraceUtility::WriteTrace("fc", "MSGID_EMULEX_FC_0001_F", "vendor", nullptr);
    CTraceUtility::WriteTrace("fc", nullptr);
    ASSERT_EQ(recorder.messages.size(), 3U);
    EXPECT_EQ(recorder.messages[0].inserts, (std::vector<std::string>{"firm", "1.2{1}", "3\n4"}));
    EXPECT_EQ(recorder.messages[0].severity, "error");
    EXPECT_TRUE(recorder.messages[1].inserts.empty());
    EXPECT_EQ(recorder.messages[2].inserts.back(), "");
    const std::string log = TestFolder() + "/log/events.log";
    EXPECT_EQ(static_cast<unsigned>(std::filesystem::status(log).permissions()), 0600U);
    const auto lines = LinesOf(log);
    ASSERT_EQ(lines.size(), 3U);
    const std::string pid = std::to_string(getpid());
    EXPECT_TRUE(std::regex_match(lines[0], std::regex("[-0-9T:]+Z " + pid +
                                                      " error MSGID_EMULEX_FC_0009_F \\[firm\\] .*"
                                                      "1\\.2\\{1\\} operates, version 3\\\\n4 .*")))
        << lines[0];
    std::filesystem::rename(log, log + ".1");
    std::filesystem::create_symlink(log + ".1", log);
    CTraceUtility::WriteTrace("fc", "MSGID_UNKNOWN");
    EXPECT_EQ(LinesOf(log + ".1").size(), 3U) << "a link is not followed";
    std::filesystem::remove(log);
}

TEST(Messages, WithoutCatalogueInsertsRemain) {
    const std::string file = NewFolder() + "/messages.ini";
    WriteText(file, "[MSGID_A]\nseverity = loud\n\xff[[[\ntext" + std::string(3, '\0'));
    for (const std::string& name : {file, file + ".missing"}) {
        const MessageCatalogue catalogue(name);
        EXPECT_EQ(catalogue.Severity("MSGID_A"), "error");
        EXPECT_EQ(catalogue.Text("MSGID_A", {"one", "two"}),
                  "(no text in the message catalogue) [one] [two]");
    }
}

TEST(InstallRoot, AcceptsWhatBelongsToTheCallerAlone) {
    const std::string folder = NewFolder();
    for (const char* name : {"/own", "/with blank", "/open"}) {
        std::filesystem::create_directory(folder + name);
    }
    ASSERT_EQ(chmod((folder + "/open").c_str(), 0770), 0);
    std::filesystem::create_symlink(folder + "/own", folder + "/link");
    WriteText(folder + "/file", "");
    const std::pair<std::string, std::string> rows[] = {{folder + "/own//", ""},
                                                        {"", ""},
                                                        {"/", "root folder"},
                                                        {"relative", "not absolute"},
                                                        {folder + "/with blank", "characters"},
                                                        {folder + "/$(id)", "characters"},
                                                        {folder + "/own/../own", ".."},
                                                        {folder + "/link/", "no folder"},
                                                        {folder + "/file", "no folder"},
                                                        {folder + "/open", "by others"},
                                                        {folder + "/missing", "No such file"}};
    for (const auto& [value, refusal] : rows) {
        SCOPED_TRACE(value);
        const InstallRoot root = ResolveInstallRoot(value.c_str());
        const bool accepted = refusal.empty() && !value.empty();
        EXPECT_EQ(root.path, accepted ? folder + "/own" : "/opt/velmora/qdm/provider");
        EXPECT_EQ(root.refusal.empty(), refusal.empty()) << root.refusal;
        EXPECT_NE(root.refusal.find(refusal), std::string::npos) << root.refusal;
    }
    if (geteuid() == 0) {
        ASSERT_EQ(chown((folder + "/own").c_str(), 65534, 65534), 0);
        EXPECT_NE(ResolveInstallRoot((folder + "/own").c_str()).refusal, "") << "another user's";
    }
    EXPECT_EQ(GetInstallRoot().path, TestFolder());
}
