#include "provider/common/TextFile.h"

#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/Trace.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr std::size_t longestPiece = 127;

}  // namespace

TextFile::TextFile(const std::string& path) : file(std::fopen(path.c_str(), "re")) {
    if (!file) {
        const int reason = errno;
        CEmulexCommon::SetLastError(ErrorCode::FileOrCommand);
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "File Open Error. file(%s) errcode(%d)", path.c_str(), reason);
    }
}

void TextFile::Refill() {
    std::memmove(block.data(), block.data() + begin, end - begin);
    end -= begin;
    begin = 0;
    nextOf = {};
    const std::size_t got = std::fread(block.data() + end, 1, block.size() - end, file.get());
    const char* const fresh = block.data() + end;
    unusual = unusual || std::memchr(fresh, '\0', got) != nullptr ||
              std::memchr(fresh, '\r', got) != nullptr;
    end += got;
    exhausted = end < block.size();
}

bool TextFile::TakePiece(char*& piece, std::size_t& size) {
    if (end - begin < longestPiece && !exhausted) {
        Refill();
    }
    piece = block.data() + begin;
    const std::size_t most = std::min(longestPiece, end - begin);
    const void* lineEnd = std::memchr(piece, '\n', most);
    size = lineEnd == nullptr
               ? most
               : static_cast<std::size_t>(static_cast<const char*>(lineEnd) - piece) + 1;
    begin += size;
    return size != 0;
}

std::optional<std::string_view> TextFile::Next() {
    char* piece = nullptr;
    std::size_t size = 0;
    if (!TakePiece(piece, size)) {
        return std::nullopt;
    }
    return std::string_view(piece, unusual ? ::strnlen(piece, size) : size);
}

std::optional<std::string_view> TextFile::NextInBlanks() {
    char* piece = nullptr;
    std::size_t size = 0;
    if (!TakePiece(piece, size)) {
        return std::nullopt;
    }
    if (unusual) {
        size = ::strnlen(piece, size);
        std::replace(piece, piece + size, '\r', ' ');
    }
    if (size != 0 && piece[size - 1] == '\n') {
        piece[size - 1] = ' ';
    }
    return std::string_view(piece, size);
}

bool TextFile::SkipTo(std::string_view initials) {
    for (;;) {
        const std::size_t at = FirstOf(initials);
        begin = PieceStart(at);
        if (at < end) {
            return true;
        }
        if (exhausted) {
            return false;
        }
        Refill();
    }
}

std::size_t TextFile::FirstOf(std::string_view initials) {
    std::size_t first = end;
    for (std::size_t i = 0; i < initials.size(); ++i) {
        std::size_t& next = nextOf[i];
        if (next <= begin) {
            const void* found = std::memchr(block.data() + begin, initials[i], end - begin);
            next = found == nullptr
                       ? end
                       : static_cast<std::size_t>(static_cast<const char*>(found) - block.data());
        }
        first = std::min(first, next);
    }
    return first;
}

// A piece begins behind a line end or a whole number of pieces behind the one before.
std::size_t TextFile::PieceStart(std::size_t at) const {
    const void* lineEnd = ::memrchr(block.data() + begin, '\n', at - begin);
    const std::size_t base =
        lineEnd == nullptr
            ? begin
            : static_cast<std::size_t>(static_cast<const char*>(lineEnd) - block.data()) + 1;
    return base + (at - base) / longestPiece * longestPiece;
}

std::optional<FileStamp> TextFile::Stamp() const {
    struct stat status = {};
    return ::fstat(::fileno(file.get()), &status) == 0 ? std::optional<FileStamp>(status)
                                                       : std::nullopt;
}

bool TextFile::ReadLine(std::string& line) {
    line.clear();
    std::optional<std::string_view> piece;
    while ((line.empty() || line.back() != '\n') && (piece = Next())) {
        line += *piece;
    }
    return !line.empty();
}
