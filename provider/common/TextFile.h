#pragma once

#include <cstdio>
#include <memory>
#include <string>

/// A text file that an adapter tool wrote.
class TextFile {
public:
    /// Opens for reading. Failure sets error 17 and is traced.
    explicit TextFile(const std::string& path);

    explicit operator bool() const { return file != nullptr; }

    /// The next piece of at most 127 characters, with its line end where it has one; false at the
    /// end of the file. Readers that go by pieces take a longer line for several.
    bool Read(std::string& piece);

    /// The next line as a whole.
    bool ReadLine(std::string& line);

private:
    struct Close {
        void operator()(FILE* open) const { std::fclose(open); }
    };

    std::unique_ptr<FILE, Close> file;
};
