#include "provider/common/WorkArea.h"

#include "host/CFileUtility.h"

#include <string_view>

namespace {

// Asked for with every look-up of every port.
std::string Path(std::string_view folder, std::string_view name) {
    std::string path = CFileUtility::GetInstallPath(0);
    path.reserve(path.size() + folder.size() + name.size());
    path.append(folder).append(name);
    return path;
}

constexpr std::string_view cache = "/tmp/EMULEX/cache";
constexpr std::string_view temp = "/tmp/EMULEX/temp";

}  // namespace

namespace WorkArea {

std::string CacheFolder() {
    return Path(cache, "");
}

std::string TempFolder() {
    return Path(temp, "");
}

std::string CacheFile(const std::string& name) {
    return Path(cache, "/" + name);
}

std::string TempFile(const std::string& name) {
    return Path(temp, "/" + name);
}

std::string AdapterList() {
    return CacheFile("Listhbas.txt");
}

}  // namespace WorkArea
