#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// A text file by its lines, of any length and with any characters in them.
class LineFile {
public:
    explicit LineFile(const std::string& path);
    ~LineFile();
    LineFile(const LineFile&) = delete;
    LineFile& operator=(const LineFile&) = delete;

    /// Whether the file could be opened.
    explicit operator bool() const { return file != nullptr; }

    /// The next line without its end; nothing at the end of the file. It lasts until the next call.
    std::optional<std::string_view> Next();

private:
    struct Closer {
        void operator()(FILE* open) const { std::fclose(open); }
    };

    char block[4096];  ///< of its own: the system is not asked for the best size
    std::unique_ptr<FILE, Closer> file;
    char* line = nullptr;  ///< as getline() keeps it
    std::size_t room = 0;
};
