#pragma once

#include <list>
#include <string>

/// Unpacking of update modules (zip archives) and removal of the folders that they were unpacked
/// to.
class CUnzip_Utility {
public:
    /// Unpacks `archive` into the existing folder `folder`: the members named by `files`, all of
    /// them when `files` is null or empty. An archive that is damaged or hostile is refused as a
    /// whole, before anything is written;
    /// `*detail` (may be null) then tells why. True when everything asked for was written.
    static bool UpdateModuleUnzip(std::string archive, std::list<std::string>* files,
                                  std::string folder, std::string* detail, std::string traceFile);

    /// Removes a folder with all it holds. True when it is gone, also when it never was.
    static bool DeleteFolder(std::string folder, std::string traceFile);
};
