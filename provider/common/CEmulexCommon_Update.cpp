#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/Sleep.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/LineFile.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"

#include <algorithm>
#include <limits>
#include <list>
#include <optional>
#include <string_view>
#include <vector>

namespace {

constexpr unsigned long noLimit = std::numeric_limits<unsigned long>::max();
constexpr int notStarted = 1;  // answer of ExecForeignModule

constexpr const char* reportExtension = "txt";
constexpr const char* reportPattern = "*.txt";

constexpr std::size_t maxMessages = 5;
constexpr int pollSeconds = 30;
constexpr int waitSeconds = 150;

enum ResultMode { ByReturnCode = 1, ByFirstLine = 2, ByOutput = 3, ByReport = 4 };

using Messages = std::vector<std::string>;

struct Definition {
    Messages success;
    Messages end;
};

std::string WithoutBlanksAround(std::string_view text) {
    const char* blanks = " \r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos
               ? ""
               : std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

// The prefix may stand anywhere, the text is taken from behind its length all the same.
void Collect(std::string_view line, std::string_view prefix, Messages& messages) {
    if (line.size() > prefix.size() && line.find(prefix) != std::string_view::npos &&
        messages.size() < maxMessages) {
        messages.push_back(WithoutBlanksAround(line.substr(prefix.size())));
    }
}

Definition ParseDefinition(LineFile& text) {
    Definition definition;
    while (const auto line = text.Next()) {
        Collect(*line, "SuccessMessage=", definition.success);
        Collect(*line, "EndMessage=", definition.end);
    }
    return definition;
}

void TraceMessages(const char* kind, const Messages& messages) {
    for (std::size_t i = 0; i < messages.size(); ++i) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s[%d]=[%s]", kind,
                                  static_cast<int>(i), messages[i].c_str());
    }
}

std::optional<Definition> ReadDefinition(const std::string& file) {
    LineFile text(file);
    if (!text) {
        CEmulexCommon::SetLastError(ErrorCode::FileOrCommand);
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "File open error %s", file.c_str());
        return std::nullopt;
    }
    Definition definition = ParseDefinition(text);
    TraceMessages("successMessage", definition.success);
    TraceMessages("endMessage", definition.end);
    return definition;
}

bool IsOpen(const LineFile& result) {
    if (!result) {
        CEmulexCommon::SetLastError(ErrorCode::FileOrCommand);
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "File Open Error");
    }
    return static_cast<bool>(result);
}

// How the trace tells a search through the result file.
struct SearchTrace {
    const char* line;
    const char* hit;
};

constexpr SearchTrace endSearch = {"endmsg", "endmsg"};
constexpr SearchTrace successSearch = {"success msg", "SuccessMsg"};

bool ContainsAny(LineFile& text, const Messages& messages, const SearchTrace& words) {
    while (const auto next = text.Next()) {
        const std::string line(*next);
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Result file check %s [%s]", words.line,
                                  line.c_str());
        const auto found = std::find_if(
            messages.begin(), messages.end(),
            [&](const std::string& message) { return line.find(message) != std::string::npos; });
        if (found != messages.end()) {
            CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Find %s[%s] in [%s]", words.hit,
                                      found->c_str(), line.c_str());
            return true;
        }
    }
    return false;
}

// Waits before the first look, too: a tool that has ended may still be writing.
bool AwaitEnd(const std::string& file, const Messages& messages) {
    for (int elapsed = 0; elapsed < waitSeconds; elapsed += pollSeconds) {
        Sleep(pollSeconds * 1000UL);
        LineFile text(file);
        if (!IsOpen(text)) {
            return false;
        }
        if (ContainsAny(text, messages, endSearch)) {
            return true;
        }
    }
    CEmulexCommon::SetLastError(ErrorCode::NoEndMessage);
    CTraceUtility::WriteDebug(Trace::File, Trace::Error, "No such end message.");
    return false;
}

bool TellsSuccess(const std::string& file, const Messages& messages) {
    LineFile text(file);
    if (!IsOpen(text)) {
        return false;
    }
    if (ContainsAny(text, messages, successSearch)) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Update Result Check OK");
        return true;
    }
    CEmulexCommon::SetLastError(ErrorCode::NoSuccessMessage);
    CTraceUtility::WriteDebug(Trace::File, Trace::Error, "No such success message.");
    return false;
}

bool FailOpen(const std::string& file) {
    CEmulexCommon::SetLastError(ErrorCode::FileOrCommand);
    CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to open file(%s).", file.c_str());
    return false;
}

bool FailUpdate(const std::string& command) {
    CEmulexCommon::SetLastError(ErrorCode::UpdateFailed);
    CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to update(%s).", command.c_str());
    return false;
}

bool RunTool(const std::string& command, const std::string& outputFile, const std::string& arg3,
             unsigned long* returnCode) {
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "ExecForeignModule cmd:[%s]",
                              command.c_str());
    if (CCommon_Information::ExecForeignModule(command, outputFile, arg3, returnCode, noLimit) !=
        notStarted) {
        return true;
    }
    CEmulexCommon::SetLastError(ErrorCode::FileOrCommand);
    const unsigned long error = CEmulexCommon::GetLastError();
    CTraceUtility::WriteDebug(
        Trace::File, Trace::Error, "Failed to update execute(%s)(%x)(Windows Error code:%d).",
        command.c_str(), static_cast<unsigned int>(error), static_cast<int>(error));
    return false;
}

bool JudgeReturnCode(const std::string& command, unsigned long code) {
    if (code == 0) {
        return true;
    }
    CEmulexCommon::SetLastError(ErrorCode::UpdateFailed);
    CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to update(%s)(ReturnCode=%#x).",
                              command.c_str(), static_cast<unsigned int>(code));
    return false;
}

bool JudgeFirstLine(const std::string& command, const std::string& outputFile) {
    LineFile text(outputFile);
    if (!text) {
        return FailOpen(outputFile);
    }
    return text.Next() == "0" || FailUpdate(command);
}

bool JudgeMessages(const std::string& command, const std::string& resultFile,
                   const std::string& definitionFile) {
    return CEmulexCommon::CheckUpdateResult_(resultFile, definitionFile) != 0 ||
           FailUpdate(command);
}

// Relied on: several reports are deleted, so that the check of the first of them fails.
bool JudgeReport(const std::string& command, const std::string& reportsDir,
                 const std::string& definitionFile) {
    std::list<std::string> reports;
    CFileUtility::SearchFile(reportsDir, reportPattern, &reports, false);
    if (reports.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "After to find reports file.There is not APInstall update file.");
        return FailUpdate(command);
    }
    if (reports.size() == 1) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                                  "After to find reports file.There is one update file.");
    } else {
        CFileUtility::DeleteAllFileByExtendName(reportsDir, reportExtension);
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "After to find reports file.There is some update file.");
    }
    return JudgeMessages(command, reportsDir + "/" + reports.front(), definitionFile);
}

bool JudgeByDefinition(const std::string& command, const std::string& outputFile,
                       const std::string& reportsDir, const std::string& definitionFile, int mode) {
    if (definitionFile.empty()) {
        return FailOpen(definitionFile);
    }
    return mode == ByOutput ? JudgeMessages(command, outputFile, definitionFile)
                            : JudgeReport(command, reportsDir, definitionFile);
}

}  // namespace

int CEmulexCommon::EmulexUpdate(std::string command, std::string outputFile, std::string arg3,
                                unsigned long* returnCode, std::string reportsDir,
                                std::string definitionFile, int Resultmode) {
    TraceScope trace(
        "CEmulexCommon::EmulexUpdate() Resultmode = " + std::to_string(Resultmode) + " [START]",
        "CEmulexCommon::EmulexUpdate() [END]");
    unsigned long unasked = 1;
    if (returnCode == nullptr) {
        returnCode = &unasked;
    }
    if (!reportsDir.empty()) {
        CFileUtility::DeleteAllFileByExtendName(reportsDir, reportExtension);
    }
    if (!RunTool(command, outputFile, arg3, returnCode)) {
        return 0;
    }
    switch (Resultmode) {
        case ByReturnCode:
            return JudgeReturnCode(command, *returnCode);
        case ByFirstLine:
            return JudgeFirstLine(command, outputFile);
        case ByOutput:
        case ByReport:
            return JudgeByDefinition(command, outputFile, reportsDir, definitionFile, Resultmode);
        default:
            return 0;
    }
}

int CEmulexCommon::CheckUpdateResult_(std::string resultFile, std::string definitionFile) {
    TraceScope trace("CEmulexCommon::CheckUpdateResult_");
    const std::optional<Definition> definition = ReadDefinition(definitionFile);
    if (!definition) {
        return 0;
    }
    if (definition->success.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "no successMessage");
        return 0;
    }
    if (definition->end.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "no endMessage");
    } else if (!AwaitEnd(resultFile, definition->end)) {
        return 0;
    }
    return TellsSuccess(resultFile, definition->success);
}
