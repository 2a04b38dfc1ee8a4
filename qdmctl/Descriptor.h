#pragma once

#include "qdmctl/Loaded.h"

#include <map>
#include <string>
#include <vector>

namespace qdmctl {

/// A file that update modules of a kind must or may hold.
struct FilePattern {
    /// Path inside the module; "*" and "?" stand for anything but "/". A descriptor that has been
    /// read for a machine has the folder of its architecture in place of "{architecture}".
    std::string pattern;
    std::string name;  ///< for people: "firmware image"
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

/// A configuration file of the management utility, and the lines that it must hold.
struct ConfigFile {
    std::string file;
    std::vector<std::string> lines;  ///< "Key:value"
};

/// The adapters' management utility, which brings the adapter tool along.
struct UtilityFacts {
    std::string tool;              ///< the adapter tool
    std::string unpacked;          ///< folder below the install root where its package is unpacked
    std::string install;           ///< command that installs it, relative to that folder
    std::string forbiddenPackage;  ///< no update is made while this package is installed
    std::vector<ConfigFile> configuration;  ///< without which no update is made
};

/// How the kernel is told to prefer a packaged driver to its own.
struct DriverFacts {
    std::string preferenceFile;
    std::string preference;  ///< a line of it
    std::string package;     ///< under which rpm knows the driver; empty: not known
    /// While this file below the install root is there, the driver is left to another update;
    /// empty: there is none such.
    std::string skipMarker;
};

/// What a host program knows of a provider beside its two symbols. The data file is shipped with
/// the provider and lies beside its library.
struct Descriptor {
    std::string folder;        ///< where the descriptor, the library and the lists lie
    std::string library;       ///< file name in that folder
    std::string vendorFamily;  ///< vendor class under which ports are registered
    std::string kernelModule;
    std::string supportedDevices;  ///< file name in that folder
    std::map<std::string, std::string>
        architectures;  ///< of machines, and their folders in modules
    UtilityFacts utility;
    DriverFacts driver;
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

/// Puts a machine's folder in place of "{architecture}" everywhere. One that no module is made for
/// keeps its own name, which no module has as a folder.
void UseArchitecture(Descriptor& descriptor, const std::string& architecture);

/// Why a file or folder must not be trusted: missing, owned by another user than root or the
/// caller, or writable for others. Empty when it may be.
[[nodiscard]] std::string DistrustOf(const std::string& path);

}  // namespace qdmctl
