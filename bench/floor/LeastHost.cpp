#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CUtility.h"
#include "host/CVendor.h"

#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <list>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string HexIn(const std::filesystem::path& file) {
    std::string text;
    std::ifstream(file) >> text;
    return text.substr(std::min<std::size_t>(2, text.size()));
}

/// Every function below the bus is taken for a port: the labs that are measured hold nothing else.
std::vector<std::string> DeviceIds() {
    std::vector<std::string> ids;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/bus/pci/devices")) {
        ids.push_back(entry.path().filename().string() + "-" + HexIn(entry.path() / "vendor") +
                      "-" + HexIn(entry.path() / "device"));
    }
    return ids;
}

void Print(CVendor& vendor, const std::string& id) {
    std::list<std::pair<std::string, std::string>> info;
    vendor.GetExtendedInfo(&info);
    std::cout << id;
    for (const auto& [key, value] : info) {
        std::cout << ' ' << key << '=' << value;
    }
    std::cout << ' ' << vendor.GetFirmwareModule()->GetOperatingVersionCache() << ' '
              << vendor.GetDriverModule()->GetOperatingVersionCache();
    for (CUtility* utility : vendor.GetUtilityModules()) {
        std::cout << ' ' << utility->GetOperatingVersionCache();
    }
    std::cout << '\n';
}

int TakeInventory(const char* library, const std::string& folder) {
    void* const provider = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (provider == nullptr) {
        std::cerr << dlerror() << '\n';
        return 1;
    }
    const auto make =
        reinterpret_cast<void* (*)(const char*, const char*)>(dlsym(provider, "GetVendorFactory"));
    std::vector<CVendor*> vendors;
    for (const std::string& id : DeviceIds()) {
        vendors.push_back(static_cast<CVendor*>(make("CFC_EMULEX_16G_Vendor", id.c_str())));
        vendors.back()->LinkDevice();
        Print(*vendors.back(), id);
    }
    vendors.front()->StartOutputDeviceConfigInfo(folder, nullptr);
    for (CVendor* vendor : vendors) {
        vendor->ExecOutputDeviceConfigInfo(folder, nullptr);
    }
    return vendors.front()->EndOutputDeviceConfigInfo(folder, nullptr);
}

}  // namespace

/// What the provider's own part of an inventory costs: each port linked, its versions asked for
/// once, and the report written that holds the boot BIOS versions. No worker, no checks, no errors
/// told, the report not read.
/// With --worker in a process of its own, as a host does that wants to outlive a provider's fault.
int main(int count, char** arguments) {
    const bool inWorker = count == 4 && std::string(arguments[3]) == "--worker";
    if (count != 3 && !inWorker) {
        std::cerr << "usage: bench_least_host PROVIDER.so REPORT_FOLDER/ [--worker]\n";
        return 1;
    }
    const pid_t worker = inWorker ? fork() : 0;
    if (worker == 0) {
        return TakeInventory(arguments[1], arguments[2]);
    }
    int status = 1;
    waitpid(worker, &status, 0);
    return status == 0 ? 0 : 1;
}
