#pragma once

#include "qdmctl/Answer.h"
#include "qdmctl/FileAccess.h"

#include <optional>
#include <string>
#include <vector>

namespace qdmctl {

struct OutputFile {
    std::string name;
    std::string content;
};

/// A folder that the user named for what a command writes. Others may be able to write there, too:
/// no link in it is followed, and nothing is opened that stood there before.
class OutputFolder {
public:
    /// Opens the folder, which is made when only its last part is missing. Output or DiskFull,
    /// naming the path.
    [[nodiscard]] std::optional<Error> Open(const std::string& path);

    /// Puts the files in place of what plain files of these names stand there: each whole or not at
    /// all, and none unless all could be written.
    [[nodiscard]] std::optional<Error> Write(const std::vector<OutputFile>& files);

    /// Whether a file of that name is there.
    bool Holds(const std::string& name) const;

    /// Path of a file of that name.
    std::string PathOf(const std::string& name) const { return path + "/" + name; }

private:
    std::optional<Error> RefusalOf(const std::string& name) const;
    bool Stage(const std::string& scratch, const std::string& content) const;
    void Remove(const std::vector<std::string>& names) const;
    Error Failure(const std::string& name, int reason) const;

    std::string path;
    FileHandle folder;
};

}  // namespace qdmctl
