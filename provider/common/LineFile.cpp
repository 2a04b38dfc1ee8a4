#include "provider/common/LineFile.h"

#include "provider/common/KeptText.h"

#include <cstdlib>

LineFile::LineFile(const std::string& path, const std::optional<FileStamp>& stamp)
    : kept(stamp ? KeptText::Of(path, *stamp) : nullptr),
      file(kept ? nullptr : std::fopen(path.c_str(), "re")) {
    if (file) {
        std::setvbuf(file.get(), block, _IOFBF, sizeof block);
    }
}

LineFile::~LineFile() {
    std::free(line);
}

std::optional<std::string_view> LineFile::Next() {
    if (kept) {
        return NextKept();
    }
    const ssize_t size = file ? ::getline(&line, &room, file.get()) : -1;
    if (size < 0) {
        return std::nullopt;
    }
    std::string_view text(line, static_cast<std::size_t>(size));
    text.remove_suffix(!text.empty() && text.back() == '\n' ? 1 : 0);
    return text;
}

std::optional<std::string_view> LineFile::NextKept() {
    if (taken == kept->size()) {
        return std::nullopt;
    }
    const std::string_view rest = std::string_view(*kept).substr(taken);
    const std::size_t size = rest.find('\n');
    taken += size == std::string_view::npos ? rest.size() : size + 1;
    return rest.substr(0, size);
}
