#pragma once

#include <string>

/// Processes and facts of the machine.
class CCommon_Information {
public:
    /// Runs a shell line in a process group of its own and waits for it.
    ///
    /// Standard output goes to `outputFile` (truncated first), nowhere when the name is empty;
    /// `workFolder` is the folder to run in, empty for the caller's. Returns 0 when the command ran
    /// (`*returnCode` is its exit status), 1 when it could not be started, 255 when `timeoutMs`
    /// passed and the group was ended. A time-out of all ones means no limit.
    static int ExecForeignModule(const std::string& command, const std::string& outputFile,
                                 const std::string& workFolder, unsigned long* returnCode,
                                 unsigned long timeoutMs);

    /// PCI location of a device identifier; false, with the outputs untouched, when the kernel
    /// lists no such device.
    static bool GetPCIInfo(std::string deviceId, int* bus, int* device, int* function,
                           const std::string& traceFile);

    /// Machine architecture as the kernel names it, for example "x86_64".
    static std::string GetArchitectureInfo(const std::string& traceFile);

    /// True when the file is gone, also when it never was.
    static bool RetryDeleteFile(const std::string& path);
};
