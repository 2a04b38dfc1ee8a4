#pragma once

#include "provider/common/FileStamp.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// A text file by its lines, of any length and with any characters in them.
class LineFile {
public:
    /// A file whose stamp has been taken just now need not be read again while it stays as it is.
    explicit LineFile(const std::string& path, const std::optional<FileStamp>& stamp = {});
    ~LineFile();
    LineFile(const LineFile&) = delete;
    LineFile& operator=(const LineFile&) = delete;

    /// Whether the file could be opened.
    explicit operator bool() const { return kept != nullptr || file != nullptr; }

    /// The next line without its end; nothing at the end of the file, or of one that could not be
    /// opened. It lasts until the next call.
    std::optional<std::string_view> Next();

private:
    struct Closer {
        void operator()(FILE* open) const { std::fclose(open); }
    };

    std::optional<std::string_view> NextKept();

    std::shared_ptr<const std::string> kept;
    std::size_t taken = 0;  ///< of the kept text
    char block[4096];       ///< of its own: the system is not asked for the best size
    std::unique_ptr<FILE, Closer> file;
    char* line = nullptr;  ///< as getline() keeps it
    std::size_t room = 0;
};
