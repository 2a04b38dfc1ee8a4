#pragma once

#include "provider/common/FileStamp.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// A text file that an adapter tool wrote.
class TextFile {
public:
    /// Opens for reading. Failure sets error 17 and is traced.
    explicit TextFile(const std::string& path);

    explicit operator bool() const { return file != nullptr; }

    /// The next piece of at most 127 characters, with its line end where it has one and cut at a
    /// NUL; nothing at the end of the file. Readers that go by pieces take a longer line for
    /// several. It lasts until the next call.
    std::optional<std::string_view> Next();

    /// The next piece with its carriage returns and line feeds made blank.
    std::optional<std::string_view> NextInBlanks();

    /// Passes over the pieces in which none of these characters stands, fast; false when there is
    /// no other left. All calls name the same characters, two at most.
    bool SkipTo(std::string_view initials);

    /// The next line as a whole.
    bool ReadLine(std::string& line);

    /// Of an open file; nothing where the system tells none.
    std::optional<FileStamp> Stamp() const;

    /// Of an open file: nothing that was asked for could not be read.
    bool IsWhole() const { return std::ferror(file.get()) == 0; }

    void Close() { file.reset(); }

private:
    struct Closer {
        void operator()(FILE* open) const { std::fclose(open); }
    };

    bool TakePiece(char*& piece, std::size_t& size);
    void Refill();
    std::size_t FirstOf(std::string_view initials);
    std::size_t PieceStart(std::size_t at) const;

    std::unique_ptr<FILE, Closer> file;
    // Of the file: what is read and not taken yet lies from `begin` to `end`.
    std::array<char, 16384> block;
    std::size_t begin = 0;
    std::size_t end = 0;
    std::array<std::size_t, 2> nextOf = {};  ///< where each initial is next, from `end` on: nowhere
    bool exhausted = false;
    bool unusual = false;  ///< a NUL or a carriage return was read
};
