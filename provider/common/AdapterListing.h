#pragma once

#include "provider/common/AdapterTable.h"
#include "provider/common/FileStamp.h"
#include "provider/common/TextFile.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>

/// The adapter tool's list of ports, as its file holds it.
///
/// Every look-up of a port asks for it anew. An unchanged file is not read again, or the cost of
/// all ports together would grow with the square of their number.
class AdapterListing {
public:
    /// The list as it is now. Null where the file cannot be opened; that sets error 17.
    static std::shared_ptr<AdapterListing> Read(const std::string& path);

    explicit AdapterListing(const std::string& path) : table(path), path(path) {}

    /// How many function numbers the list gives each device of a bus. Nothing where the file
    /// cannot be opened; that sets error 17.
    std::optional<int> FunctionsPerDevice(int bus);

    AdapterTable table;

private:
    struct Numbering {
        std::size_t lines = 0;  ///< with a bus number, up to the one that told
        int functionsPerDevice = 0;
    };

    static Numbering FindNumbering(TextFile& file, int bus);

    std::string path;
    std::optional<FileStamp> stamp;
    std::map<int, Numbering> numberings;  ///< by bus
};
