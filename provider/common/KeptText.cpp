#include "provider/common/KeptText.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <map>
#include <optional>

namespace {

// Of an adapter's attributes, several times over.
constexpr std::size_t largestText = 4096;

struct Kept {
    FileStamp stamp;
    std::shared_ptr<const std::string> text;
};

using Block = std::array<char, largestText>;

// How much of the block the whole file takes; nothing unless the file still has this stamp.
std::optional<std::size_t> ReadInto(Block& block, const std::string& path, const FileStamp& stamp) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return std::nullopt;
    }
    struct stat status = {};
    const bool same = ::fstat(descriptor, &status) == 0 && FileStamp(status) == stamp;
    const ssize_t got = same ? ::read(descriptor, block.data(), block.size()) : -1;
    ::close(descriptor);
    const bool whole = same && got == status.st_size;
    return whole ? std::optional<std::size_t>(got) : std::nullopt;
}

std::shared_ptr<const std::string> ReadFile(const std::string& path, const FileStamp& stamp) {
    Block block;
    const auto size = ReadInto(block, path, stamp);
    return size ? std::make_shared<const std::string>(block.data(), *size) : nullptr;
}

}  // namespace

namespace KeptText {

std::shared_ptr<const std::string> Of(const std::string& path, const FileStamp& stamp) {
    static std::map<std::string, Kept> texts;
    const auto known = texts.find(path);
    if (known != texts.end() && known->second.stamp == stamp) {
        return known->second.text;
    }
    auto text =
        stamp.IsSmallFile(largestText) && stamp.IsSettled() ? ReadFile(path, stamp) : nullptr;
    if (text) {
        texts.insert_or_assign(path, Kept{stamp, text});
    }
    return text;
}

}  // namespace KeptText
