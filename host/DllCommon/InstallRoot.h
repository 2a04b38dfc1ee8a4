#pragma once

#include <string>

/// Folder below which provider and host keep their files.
struct InstallRoot {
    std::string path;     ///< without a final "/"
    std::string refusal;  ///< why QDM_INSTALL_PATH was not accepted (the path is then the default
                          ///< one); else empty
};

/// The default root, or QDM_INSTALL_PATH when it is an absolute path of letters, digits, "/", ".",
/// "_" and "-" to a folder that belongs to the caller alone (owned by the effective user, writable
/// for nobody else, no link). It reaches shell lines, hence the care. The environment is read once.
const InstallRoot& GetInstallRoot();

/// The same for a value of QDM_INSTALL_PATH; null or empty stands for none.
[[nodiscard]] InstallRoot ResolveInstallRoot(const char* value);
