// What the readers are surrounded by: a folder of their own, and nothing of the machine's.

#include "host/CCommon_Information.h"
#include "host/CStringUtil.h"
#include "host/DllCommon/HostObserver.h"
#include "host/Sleep.h"
#include "provider/modules/FixedPaths.h"
#include "tests/fuzz/Fuzz.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

/// Has every trace line formatted.
class Listener : public HostObserver {
    unsigned TraceLevels() const override { return ~0U; }
    void OnTrace(CTraceUtility::TRACE_DBG_LEVEL, const std::string&) override {}
    void OnMessage(const HostMessage&) override {}
};

struct Surroundings {
    Surroundings() {
        folder = std::filesystem::temp_directory_path() / "qdm-fuzz.XXXXXX";
        if (mkdtemp(folder.data()) == nullptr || setenv("QDM_INSTALL_PATH", folder.c_str(), 1)) {
            std::abort();
        }
        std::filesystem::create_directories(folder + "/tmp/EMULEX/cache");
        std::filesystem::create_directories(folder + "/tmp/EMULEX/temp");
        std::ofstream(folder + "/log");  // a file in the event log's place keeps it from growing
        SetHostObserver(&listener);
    }
    ~Surroundings() {
        SetHostObserver(nullptr);
        std::filesystem::remove_all(folder);
    }

    std::string folder;
    Listener listener;
} surroundings;

}  // namespace

const std::string& Fuzz::Folder() {
    return surroundings.folder;
}

std::string Fuzz::Put(const std::string& name, const std::string& text) {
    std::string path = Folder() + "/" + name;
    Require((std::ofstream(path, std::ios::binary) << text << std::flush).good(), "room on disk");
    return path;
}

void Fuzz::Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "Not met: %s\n", what);
        std::abort();
    }
}

std::vector<std::string> Fuzz::Parts(std::string text) {
    return CStringUtil::Split(text, "\n---\n");
}

extern "C" void syslog(int, const char*, ...) {}

extern "C" int system(const char*) {
    return 0;
}

void Sleep(unsigned long) {}

std::string FixedPaths::ConfigFolder() {
    return Fuzz::Folder();
}

std::string FixedPaths::DepmodFolder() {
    return Fuzz::Folder();
}

bool CCommon_Information::GetPCIInfo(std::string, int* bus, int* device, int* function,
                                     const std::string&) {
    *bus = 3;
    *device = 0;
    *function = 1;
    return true;
}
