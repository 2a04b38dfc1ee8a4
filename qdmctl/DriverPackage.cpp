#include "qdmctl/DriverPackage.h"

#include "host/CCommon_Information.h"
#include "qdmctl/ProgramAnswer.h"
#include "qdmctl/Session.h"
#include "qdmctl/TextForms.h"

#include <sys/stat.h>
#include <climits>
#include <fstream>
#include <sstream>

namespace qdmctl {
namespace {

// Environments of jobs often lack the system folders.
constexpr char WithFolders[] = R"(PATH="$PATH:/usr/bin:/bin" )";
constexpr char OutputName[] = "/tmp/qdmctl/rpm.txt";

}  // namespace

std::vector<std::string> InstalledDriverPackages(Session& session) {
    const std::string& package = session.ProviderDescriptor().driver.package;
    if (package.empty()) {
        return {};
    }
    const std::string line = WithFolders + (R"(rpm -q --qf '%{VERSION}\n' )" + package);
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

bool MayInstallAgain(const Session& session) {
    const DriverFacts& facts = session.ProviderDescriptor().driver;
    const std::string marker = "override " + session.ProviderDescriptor().kernelModule;
    struct stat status {};
    if (::stat(facts.preferenceFile.c_str(), &status) != 0) {
        return errno == ENOENT;
    }
    std::ifstream text(facts.preferenceFile);
    bool named = !S_ISREG(status.st_mode) || !text;
    for (std::string line; std::getline(text, line);) {
        if (line.rfind(marker, 0) == 0) {
            return true;
        }
        named = named || line.find(marker) != std::string::npos;
    }
    return !named;
}

void ForgetDriverPackage(Session& session, const std::string& version) {
    const std::string& package = session.ProviderDescriptor().driver.package;
    unsigned long status = 0;
    // What it could not do is told by the installation that follows.
    static_cast<void>(CCommon_Information::ExecForeignModule(
        WithFolders + ("rpm -e --justdb --nodeps --noscripts --allmatches " + package) + "-" +
            version,
        session.Root() + OutputName, "", &status, ULONG_MAX));
}

std::string PreferenceRemedy(const Session& session) {
    const DriverFacts& facts = session.ProviderDescriptor().driver;
    const char* again = MayInstallAgain(session)
                            ? "repeat the update, which installs that version again; if that does "
                              "not help, "
                            : "";
    return std::string("the driver in use works on; ") + again + "see that " +
           facts.preferenceFile + " holds the line \"" + facts.preference +
           "\", and not as a comment, then run depmod -a until \"modinfo -F " + "version " +
           session.ProviderDescriptor().kernelModule + "\" tells the installed version, and reboot";
}

std::string DriverSkipMarker(const Session& session) {
    const std::string& marker = session.ProviderDescriptor().driver.skipMarker;
    const std::string path = session.Root() + "/" + marker;
    struct stat status {};
    return marker.empty() || ::lstat(path.c_str(), &status) != 0 ? std::string() : path;
}

}  // namespace qdmctl
