#pragma once

#include "qdmctl/Loaded.h"

#include <map>
#include <string>
#include <vector>

namespace qdmctl {

/// A file that update modules of a kind must or may hold.
struct FilePattern {
    std::string pattern;  ///< path inside the module; "*" and "?" stand for anything but "/"
    std::string name;     ///< for people: "firmware image"
    unsigned atLeast = 1;
    unsigned atMost = 1;
    bool messageDefinition = false;  ///< tells success by "SuccessMessage=" lines
};

struct PciIds {
    std::string vendor;  ///< four lower-case hexadecimal digits
    std::string device;
};

/// An adapter model that the provider supports.
struct Model {
    std::string vendorClass;
    std::string modelKey;       ///< the whole key, or its fixed beginning
    bool keyHasPciIds = false;  ///< the key goes on with four PCI identifiers joined by "_"
    std::vector<PciIds> pciIds;
    unsigned functionsAtLeast = 1;  ///< Fibre Channel functions of one adapter
    unsigned functionsAtMost = 8;
    bool flashedByFunction0 = false;  ///< function 0 takes the firmware for the whole adapter
    std::map<std::string, std::vector<FilePattern>> files;  ///< by kind of module
};

/// What a host program knows of a provider beside its two symbols. The data file is shipped with
/// the provider and lies beside its library.
struct Descriptor {
    std::string folder;        ///< where the descriptor, the library and the lists lie
    std::string library;       ///< file name in that folder
    std::string vendorFamily;  ///< vendor class under which ports are registered
    std::string kernelModule;
    std::string supportedDevices;  ///< file name in that folder
    std::vector<Model> models;
};

inline constexpr char descriptorSchema[] = "qdm.descriptor/1";
inline constexpr char descriptorFile[] = "EMULEX_FC.json";

/// Reads a descriptor. It decides which code is loaded as root, so it is refused unless file and
/// folder belong to root or the caller and nobody else may write there, and unless every key is
/// known and well-formed. Errors name file and key.
[[nodiscard]] Loaded<Descriptor> LoadDescriptor(const std::string& path);

/// The parsing alone; `path` is for messages and for the folder.
[[nodiscard]] Loaded<Descriptor> ParseDescriptor(const std::string& text, const std::string& path);

/// Why a file or folder must not be trusted: missing, owned by another user than root or the
/// caller, or writable for others. Empty when it may be.
[[nodiscard]] std::string DistrustOf(const std::string& path);

}  // namespace qdmctl
