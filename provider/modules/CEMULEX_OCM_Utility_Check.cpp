#include "provider/common/Failure.h"
#include "provider/common/LineFile.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/common/WorkArea.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/FixedPaths.h"

#include <cstdlib>
#include <vector>

namespace {

struct Setting {
    std::string key, value;

    std::string Line() const { return key + ":" + value; }
};

struct ConfigFile {
    const char* name;
    std::vector<Setting> settings;
    const char* refusal;
};

ConfigFile DiscoveryConfig() {
    return {"emulexDiscConfig",
            {{"ClientRemoteOperation", "disabled"},
             {"ClientOperationMode", "enabled"},
             {"ClientReadOnlyOperation", "disabled"},
             {"TcpSocketPortNumber", "23333"}},
            // The parenthesis that is not opened is relied on.
            "0 < iDiskKeyWordCount ) || ( iRet != true )"};
}

ConfigFile ManagementConfig() {
    return {"emulexRMConfig",
            {{"ServerRemoteOperation", "enabled"},
             {"ManagementHost", "false"},
             {"SecureManagement", "disabled"},
             {"MngmtHostIpAddress", "0"},
             {"ExclusiveHostMgmnt", "false"}},
            "( 0 < iRmKeyWordCount ) || ( iRet != true )"};
}

// Only blanks: a tab, or the carriage return of a foreign line end, is not to pass.
std::string WithoutBlanks(std::string line, const char* file) {
    for (std::size_t at; (at = line.find(' ')) != std::string::npos;) {
        line.erase(at, 1);
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s space delete:[%s]", file,
                                  line.c_str());
    }
    return line;
}

bool ReadSetting(LineFile& text, const char* file, std::string& line) {
    const auto next = text.Next();
    if (!next) {
        return false;
    }
    line = *next;
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s:[%s]", file, line.c_str());
    line = WithoutBlanks(line, file);
    return true;
}

// A line that holds a key must be that setting and nothing else, so that a setting commented out or
// a longer key is refused. False for the first such line.
bool Meets(const std::vector<Setting>& settings, const std::string& line, std::size_t& missing) {
    for (const Setting& setting : settings) {
        if (line.find(setting.key) == std::string::npos) {
            continue;
        }
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "find[%s] in [%s]", setting.key.c_str(),
                                  line.c_str());
        if (line != setting.Line()) {
            CTraceUtility::WriteDebug(Trace::File, Trace::Info, "not silent [%s]", line.c_str());
            return false;
        }
        --missing;
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "silent [%s]", line.c_str());
    }
    return true;
}

// Settings are counted, not told apart, and reading stops at the last one: a line that stands twice
// passes for one that is absent. A refused line leaves the count above 0, so that it alone decides.
bool IsAsRequired(const ConfigFile& config) {
    const std::string path = FixedPaths::ConfigFolder() + "/" + config.name;
    LineFile text(path);
    if (!text) {
        return Fail(ErrorCode::FileOrCommand, "Failed to open file(" + path + ").");
    }
    std::size_t missing = config.settings.size();
    std::string line;
    while (missing != 0 && ReadSetting(text, config.name, line) &&
           Meets(config.settings, line, missing)) {
    }
    if (missing != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "%s", config.refusal);
    }
    return missing == 0;
}

// Lists no package names to us, only whether there was one: the exit status of `grep`.
bool QueryPackages(const std::string& file) {
    const std::string command = "rpm -qa | grep elxocmjvm-..........rpm;echo $? > " + file;
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Execute tsystem command:[%s]",
                              command.c_str());
    const int status = ::system(command.c_str());
    if (status != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "_tsystem error (rpm grep). (%d)",
                                  status);
    }
    return status == 0;
}

bool TellsOfNoPackage(const std::string& file) {
    LineFile text(file);
    if (!text) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "Failed to open file(%s).",
                                  file.c_str());
        return false;
    }
    if (text.Next() == "0") {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "I found elxocmjvm-xxxx.xxxx.rpm. ");
        return false;
    }
    return true;
}

}  // namespace

bool CEMULEX_OCM_Utility::OCMInstallCheck() {
    const TraceScope trace("CEMULEX_OCM_Utility::OCMInstallCheck", Trace::Info);
    GetOperatingVersion();  // for the version cache alone
    const std::string found = WorkArea::TempFile("rpm_grep_result.txt");
    return IsAsRequired(DiscoveryConfig()) && IsAsRequired(ManagementConfig()) &&
           QueryPackages(found) && TellsOfNoPackage(found);
}
