#include "provider/common/WorkArea.h"

#include "host/CFileUtility.h"

namespace {

std::string Folder(const char* name) {
    return CFileUtility::GetInstallPath(0) + "/tmp/EMULEX/" + name;
}

}  // namespace

namespace WorkArea {

std::string CacheFolder() {
    return Folder("cache");
}

std::string TempFolder() {
    return Folder("temp");
}

std::string CacheFile(const std::string& name) {
    return CacheFolder() + "/" + name;
}

std::string TempFile(const std::string& name) {
    return TempFolder() + "/" + name;
}

std::string AdapterList() {
    return CacheFile("Listhbas.txt");
}

}  // namespace WorkArea
