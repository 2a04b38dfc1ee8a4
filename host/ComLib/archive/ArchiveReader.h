#pragma once

#include <cstddef>
#include <string>

/// Members of a zip archive in order, one after another. Made by a private library that is loaded
/// with the first archive, since what it links is costly to load and most runs open none.
class ArchiveReader {
public:
    enum class Step { Member, End, Damaged };

    struct Entry {
        std::string name;
        bool folder = false;
        bool plain = false;  ///< a file or a folder, and not encrypted
    };

    virtual ~ArchiveReader() = default;

    virtual Step Next(Entry& entry) = 0;

    /// Next bytes of the member: 0 at its end, negative when it is damaged.
    virtual long Read(char* buffer, std::size_t size) = 0;

    /// What was found damaged.
    virtual std::string Error() const = 0;
};

/// The one function of that library, `MakeArchiveReader`: a reader of an open file, null when there
/// is no memory. The descriptor stays the caller's and must outlive the reader.
using MakeArchiveReaderFunction = ArchiveReader* (*)(int descriptor);
