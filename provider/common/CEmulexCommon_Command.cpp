#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/CStringUtil.h"
#include "host/Sleep.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/LineFile.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/common/WorkArea.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr const char* hbacmd = "/usr/sbin/ocmanager/hbacmd";
constexpr const char* signature = "static int CEmulexCommon::ExecCommand_(std::string)";
constexpr const char* redirection = " > ";

constexpr unsigned long firstCodeWithoutText = 39;

constexpr int outputPolls = 10;
constexpr unsigned long outputPollMs = 1000;

constexpr int listingAttempts = 5;
constexpr unsigned long listingTimeoutMs = 60000;

// What ExecForeignModule answers.
constexpr int ran = 0;
constexpr int notStarted = 1;
constexpr int timedOut = 255;

bool HasContent(const std::string& file) {
    struct stat state;
    return ::stat(file.c_str(), &state) == 0 && state.st_size != 0;
}

int AwaitContent(const std::string& file) {
    for (int poll = 0; poll < outputPolls; ++poll) {
        if (HasContent(file)) {
            return 0;
        }
        Sleep(outputPollMs);
    }
    return -1;
}

// A command that a signal ended counts as a success: its exit status is zero.
bool Failed(int status) {
    return status < 0 || WEXITSTATUS(status) != 0;
}

enum class Listing { Succeeded, Failed, TryAgain };

// The first line that decides, does. A listing without one may have come too early.
Listing JudgeListing(LineFile& text) {
    while (const auto line = text.Next()) {
        if (line->find("ERROR") != std::string_view::npos) {
            const bool transient = line->find("<64>") != std::string_view::npos;
            CTraceUtility::WriteDebug(Trace::File, Trace::Error, "%s",
                                      transient ? "CEmulexCommon::ExecListhbasCommand() "
                                                  "[ERROR][<64>] Retry Target"
                                                : "CEmulexCommon::ExecListhbasCommand() "
                                                  "[ERROR] Not Retry Target");
            return transient ? Listing::TryAgain : Listing::Failed;
        }
        if (line->find("Serial No.") != std::string_view::npos) {
            CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                                      "CEmulexCommon::ExecListhbasCommand() command success");
            return Listing::Succeeded;
        }
    }
    return Listing::TryAgain;
}

Listing ReadListing(const std::string& file) {
    LineFile text(file);
    if (!text) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "file open error:%s", file.c_str());
        return Listing::TryAgain;
    }
    return JudgeListing(text);
}

int RunListing(const std::string& command, const std::string& file) {
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::ExecListhbasCommand() ExecForeignModule cmd:[%s]",
                              command.c_str());
    unsigned long code = 0;
    const int status =
        CCommon_Information::ExecForeignModule(command, file, "", &code, listingTimeoutMs);
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::ExecListhbasCommand() ExecForeignModule "
                              "hbasRtn = [%d] dwRtnCode = [%u]",
                              status, static_cast<unsigned int>(code));
    return status;
}

Listing AttemptListing(const std::string& command, const std::string& file) {
    switch (RunListing(command, file)) {
        case ran:
            return ReadListing(file);
        case notStarted:
            CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                      "CEmulexCommon::ExecListhbasCommand() command error");
            return Listing::Failed;
        case timedOut:
            CTraceUtility::WriteDebug(
                Trace::File, Trace::Error,
                "CEmulexCommon::ExecListhbasCommand() Timeout [TimeoutInterval = %d (ms)]",
                static_cast<int>(listingTimeoutMs));
            return Listing::Failed;
        default:
            return Listing::TryAgain;
    }
}

}  // namespace

unsigned long CEmulexCommon::m_dwLastError = 0;

void CEmulexCommon::SetLastError(unsigned long code) {
    TraceScope trace("CEmulexCommon::SetLastError");
    m_dwLastError = code;
}

unsigned long CEmulexCommon::GetLastError() {
    TraceScope trace("CEmulexCommon::GetLastError");
    return m_dwLastError;
}

std::string CEmulexCommon::GetLastErrorToChractor() {
    TraceScope trace("CEmulexCommon::GetLastErrorToChractor");
    if (m_dwLastError >= firstCodeWithoutText) {
        return "no errcode";
    }
    char text[3];
    std::snprintf(text, sizeof text, "%x", static_cast<unsigned int>(m_dwLastError));
    return text;
}

unsigned long CEmulexCommon::FindNotDisitChar(std::string text, unsigned long start) {
    TraceScope trace("CEmulexCommon::FindNotDisitChar");
    return text.find_first_not_of("0123456789", start);
}

int CEmulexCommon::GetProgramFilesFolder_(std::string* out) {
    TraceScope trace("CEmulexCommon::GetProgramFilesFolder_");
    if (out == nullptr) {
        SetLastError(ErrorCode::NullArgument);
        return 0;
    }
    // There is no such folder here; callers rely on their text being left alone.
    return 1;
}

int CEmulexCommon::GetOCMManagerInstallPath(std::string* out) {
    TraceScope trace("CEmulexCommon::GetOCMManagerInstallPath");
    if (out == nullptr) {
        SetLastError(ErrorCode::NullArgument);
        trace.SetExit("CEmulexCommon::GetOCMManagerInstallPath(1) [END]");
        return 0;
    }
    if (!CFileUtility::IsFileExist(hbacmd)) {
        SetLastError(ErrorCode::ToolNotInstalled);
        return 0;
    }
    *out = hbacmd;
    trace.SetExit([out] {
        CTraceUtility::WriteDebug(Trace::File, Trace::Flow,
                                  "CEmulexCommon::GetOCMManagerInstallPath() [END] [%s]",
                                  out->c_str());
    });
    return 1;
}

int CEmulexCommon::ExecCommand_(std::string command) {
    TraceScope trace("CEmulexCommon::ExecCommand_");
    // Relied on: the line loses every double quote, its own ones included.
    CStringUtil::strReplace(command, "\"", "");
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s ExecCommand_(%s)", signature,
                              command.c_str());
    int result = ::system(command.c_str());
    if (Failed(result)) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "%s [%s] command failed! (%d)",
                                  signature, command.c_str(), errno);
        return -1;
    }
    // The file's name reaches to the end of the line, whatever stands there.
    const std::size_t arrow = command.find(redirection);
    if (arrow != std::string::npos) {
        result = AwaitContent(command.substr(arrow + std::strlen(redirection)));
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "[LEAVE] %s, rc=%d", signature, result);
    return result;
}

void CEmulexCommon::ExecListhbasCommand(std::string hbacmdPath) {
    TraceScope trace("CEmulexCommon::ExecListhbasCommand");
    const std::string command = hbacmdPath + " listhbas ";
    const std::string file = WorkArea::AdapterList();
    Listing outcome = Listing::TryAgain;
    for (int i = 0; i < listingAttempts && outcome == Listing::TryAgain; ++i) {
        outcome = AttemptListing(command, file);
    }
    if (outcome != Listing::Succeeded) {
        CTraceUtility::WriteTrace(Trace::File, "MSGID_EMULEXCOMMON_0001_F");
    }
}
