#pragma once

#include <list>
#include <string>

/// Files and the install tree.
class CFileUtility {
public:
    /// The install root, without a final "/". Only index 0 is in use.
    static std::string GetInstallPath(int index);

    /// Creates a folder with its parents, mode 0700. True when the folder exists afterwards.
    static bool CreateFolder(std::string path);

    static bool IsFileExist(std::string path);

    /// Replaces `*found` by the sorted names (no paths) of the files in `dir` that match the shell
    /// pattern. True when `dir` could be read, also when nothing matches.
    static bool SearchFile(std::string dir, std::string pattern, std::list<std::string>* found,
                           bool subfolders);

    /// Deletes every file "*.extension" of the folder itself.
    static bool DeleteAllFileByExtendName(std::string dir, std::string extension);
};
