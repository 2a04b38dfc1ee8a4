#include "provider/common/LineFile.h"

#include <cstdlib>

LineFile::LineFile(const std::string& path) : file(std::fopen(path.c_str(), "re")) {
    if (file) {
        std::setvbuf(file.get(), block, _IOFBF, sizeof block);
    }
}

LineFile::~LineFile() {
    std::free(line);
}

std::optional<std::string_view> LineFile::Next() {
    const ssize_t size = ::getline(&line, &room, file.get());
    if (size < 0) {
        return std::nullopt;
    }
    std::string_view text(line, static_cast<std::size_t>(size));
    text.remove_suffix(!text.empty() && text.back() == '\n' ? 1 : 0);
    return text;
}
