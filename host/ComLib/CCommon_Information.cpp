#include "host/CCommon_Information.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "host/CTraceUtility.h"
#include "host/ComLib/PciDevices.h"
#include "host/ComLib/ShellCommand.h"
#include "host/Sleep.h"

namespace {

constexpr unsigned long kNoLimit = ULONG_MAX;
/// A time-out above a year is none: it is not worth an overflow.
constexpr unsigned long kLongestLimit = 366UL * 24 * 3600 * 1000;

constexpr int kDeleteAttempts = 3;
constexpr unsigned long kDeletePauseMs = 100;

ShellCommand CommandOf(const std::string& line, const std::string& outputFile,
                       const std::string& workFolder, unsigned long timeoutMs) {
    ShellCommand command{line, outputFile, workFolder, {}};
    if (timeoutMs != kNoLimit && timeoutMs <= kLongestLimit) {
        command.limit = std::chrono::milliseconds(timeoutMs);
    }
    return command;
}

bool MayPass(int error) {
    return error == EBUSY || error == EINTR || error == ETXTBSY;
}

}  // namespace

int CCommon_Information::ExecForeignModule(const std::string& command,
                                           const std::string& outputFile,
                                           const std::string& workFolder, unsigned long* returnCode,
                                           unsigned long timeoutMs) {
    const ShellResult result = RunShell(CommandOf(command, outputFile, workFolder, timeoutMs));
    if (result.outcome == ShellResult::Outcome::NotStarted) {
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_ERROR,
                                  "Command not started: %s [%s]", result.reason.c_str(),
                                  command.c_str());
        return 1;
    }
    if (result.outcome == ShellResult::Outcome::TimedOut) {
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_ERROR,
                                  "Command ended after %lu ms [%s]", timeoutMs, command.c_str());
        return 255;
    }
    if (returnCode != nullptr) {
        *returnCode = static_cast<unsigned long>(result.exitStatus);
    }
    return 0;
}

bool CCommon_Information::GetPCIInfo(std::string deviceId, int* bus, int* device, int* function,
                                     const std::string& traceFile) {
    const auto identifier = ParseDeviceIdentifier(deviceId);
    if (!identifier || !IsListed(*identifier)) {
        CTraceUtility::WriteDebug(traceFile.c_str(), CTraceUtility::TRACE_DBG_ERROR,
                                  "No such PCI device [%s]", deviceId.c_str());
        return false;
    }
    if (bus == nullptr || device == nullptr || function == nullptr) {
        return false;
    }
    *bus = static_cast<int>(identifier->address.bus);
    *device = static_cast<int>(identifier->address.device);
    *function = static_cast<int>(identifier->address.function);
    return true;
}

std::string CCommon_Information::GetArchitectureInfo(const std::string& traceFile) {
    struct utsname names = {};
    if (uname(&names) != 0) {
        CTraceUtility::WriteDebug(traceFile.c_str(), CTraceUtility::TRACE_DBG_ERROR,
                                  "Architecture is unknown: %s", std::strerror(errno));
        return "";
    }
    return names.machine;
}

bool CCommon_Information::RetryDeleteFile(const std::string& path) {
    for (int attempt = 1;; ++attempt) {
        if (unlink(path.c_str()) == 0 || errno == ENOENT) {
            return true;
        }
        const int error = errno;
        if (!MayPass(error) || attempt == kDeleteAttempts) {
            CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_WARN,
                                      "File not deleted (%s): %s", std::strerror(error),
                                      path.c_str());
            return false;
        }
        Sleep(kDeletePauseMs);
    }
}
