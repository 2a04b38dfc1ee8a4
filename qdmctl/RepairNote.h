#pragma once

#include "qdmctl/Loaded.h"

#include <optional>
#include <string>

namespace qdmctl {

/// What `qdmctl repair` needs after an installation of the adapter utility that was begun and is
/// not known to have ended.
struct RepairNote {
    std::string kind;     ///< "util"
    std::string version;  ///< that was to be installed
    std::string folder;   ///< of the unpacked package, below the work area of the install root
    std::string command;  ///< that installs it: a script of that folder and its options
    std::string missing;  ///< the program that the server lacks until then
};

/// Written before the installed utility is taken away, so that even a killed run leaves it.
[[nodiscard]] std::optional<Error> WriteRepairNote(const std::string& root, const RepairNote& note);

/// An empty value when there is none. WorkArea for a note that is damaged, names a place outside
/// the work area, or holds a command with other characters than paths and options are made of:
/// what it says is run as root.
[[nodiscard]] Loaded<std::optional<RepairNote>> ReadRepairNote(const std::string& root);

/// What to do about a utility that is missing or does not answer; empty without a note.
[[nodiscard]] std::string RepairAdvice(const std::string& root);

/// Success also when there is none.
[[nodiscard]] std::optional<Error> RemoveRepairNote(const std::string& root);

}  // namespace qdmctl
