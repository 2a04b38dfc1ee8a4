#include "qdmctl/DriverOnDisk.h"

#include "host/CCommon_Information.h"
#include "host/DllCommon/InstallRoot.h"
#include "qdmctl/FileAccess.h"
#include "qdmctl/TextForms.h"

namespace qdmctl {
namespace {

constexpr unsigned long deadlineMs = 10000;
constexpr std::size_t longestOutput = 4096;
constexpr char outputName[] = "tmp/qdmctl/modinfo.txt";

}  // namespace

std::optional<std::string> DriverOnDisk(const std::string& kernelModule) {
    const std::string root = GetInstallRoot().path;
    unsigned long status = 1;
    // Environments of jobs often lack the system folders.
    const std::string line = "PATH=\"$PATH:/usr/sbin:/sbin\" modinfo -F version " + kernelModule;
    if (!IsWord(kernelModule) ||
        CCommon_Information::ExecForeignModule(line, root + "/" + outputName, "", &status,
                                               deadlineMs) != 0 ||
        status != 0) {
        return std::nullopt;
    }
    PlainFile output = OpenPlainFile(root, outputName);
    return output.refusal.empty() ? VersionOfModinfo(ReadWhole(output, longestOutput))
                                  : std::nullopt;
}

std::optional<std::string> VersionOfModinfo(const std::string& output) {
    constexpr char epoch[] = "0:";
    std::string version = output.substr(0, output.find('\n'));
    if (version.rfind(epoch, 0) == 0) {
        version.erase(0, sizeof epoch - 1);
    }
    return IsWord(version) ? std::optional<std::string>(version) : std::nullopt;
}

}  // namespace qdmctl
