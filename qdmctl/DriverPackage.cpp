#include "qdmctl/DriverPackage.h"

#include "qdmctl/ProgramAnswer.h"
#include "qdmctl/Session.h"
#include "qdmctl/TextForms.h"

#include <sys/stat.h>
#include <sstream>

namespace qdmctl {

std::vector<std::string> InstalledDriverPackages(Session& session) {
    const std::string& package = session.ProviderDescriptor().driver.package;
    if (package.empty()) {
        return {};
    }
    // Environments of jobs often lack the system folders.
    const std::string line = R"(PATH="$PATH:/usr/bin:/bin" rpm -q --qf '%{VERSION}\n' )" + package;
    ProgramAnswer answer;
    session.Reading(session.ReadingStep("asking rpm for the driver's package", nullptr), [&] {
        answer = AskProgram(line, std::chrono::seconds(session.options.readTimeoutSeconds));
    });
    std::vector<std::string> versions;
    std::istringstream text(answer.ended && answer.status == 0 ? answer.output : std::string());
    for (std::string version; std::getline(text, version);) {
        if (IsWord(version)) {
            versions.push_back(version);
        }
    }
    return versions;
}

std::string PreferenceRemedy(const Session& session) {
    const DriverFacts& facts = session.ProviderDescriptor().driver;
    return "the driver in use works on; see that " + facts.preferenceFile + " holds the line \"" +
           facts.preference + "\", and not as a comment, then run depmod -a until \"modinfo -F " +
           "version " + session.ProviderDescriptor().kernelModule +
           "\" tells the installed version, and reboot";
}

std::string DriverSkipMarker(const Session& session) {
    const std::string& marker = session.ProviderDescriptor().driver.skipMarker;
    const std::string path = session.Root() + "/" + marker;
    struct stat status {};
    return marker.empty() || ::lstat(path.c_str(), &status) != 0 ? std::string() : path;
}

}  // namespace qdmctl
