#include "host/DllCommon/InstallRoot.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

const char* const kDefaultRoot = "/opt/velmora/qdm/provider";

const char* const kPathCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-";

std::string WithoutFinalSlash(std::string path) {
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string RefusalOfText(const std::string& path) {
    if (path.empty()) {
        return "is the root folder";
    }
    if (path.front() != '/') {
        return "is not absolute";
    }
    if (path.find_first_not_of(kPathCharacters) != std::string::npos) {
        return "holds characters other than letters, digits, \"/\", \".\", \"_\" and \"-\"";
    }
    if ((path + "/").find("/../") != std::string::npos) {
        return "holds \"..\"";
    }
    return "";
}

std::string RefusalOfFolder(const std::string& path) {
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISDIR(status.st_mode)) {
        return "is no folder";
    }
    if (status.st_uid != geteuid()) {
        return "belongs to another user";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "can be written to by others";
    }
    return "";
}

}  // namespace

InstallRoot ResolveInstallRoot(const char* value) {
    if (value == nullptr || *value == '\0') {
        return {kDefaultRoot, ""};
    }
    const std::string path = WithoutFinalSlash(value);
    std::string refusal = RefusalOfText(path);
    if (refusal.empty()) {
        refusal = RefusalOfFolder(path);
    }
    if (!refusal.empty()) {
        return {kDefaultRoot, "QDM_INSTALL_PATH " + std::string(value) + ": " + refusal};
    }
    return {path, ""};
}

const InstallRoot& GetInstallRoot() {
    // Never destroyed: destructors of other libraries may still ask.
    static const InstallRoot* const root =
        new InstallRoot(ResolveInstallRoot(std::getenv("QDM_INSTALL_PATH")));
    return *root;
}
