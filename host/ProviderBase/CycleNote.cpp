#include "host/ProviderBase/CycleNote.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace {

constexpr std::size_t kLongestNote = 8192;

bool IsOneLine(const std::string& text) {
    return !text.empty() && text.find_first_of(std::string("\n\0", 2)) == std::string::npos;
}

std::string TextOf(const CManageRepositoryInfo& module) {
    return "kind=" + module.kind + "\nversion=" + module.version + "\narchive=" + module.archive +
           "\n";
}

/// Takes one line "name=value" off the front; empty when another one is there.
std::string TakeValue(std::string& text, const std::string& name) {
    const auto end = text.find('\n');
    if (end == std::string::npos || text.compare(0, name.size() + 1, name + "=") != 0) {
        return "";
    }
    std::string value = text.substr(name.size() + 1, end - name.size() - 1);
    text.erase(0, end + 1);
    return value;
}

std::string ReadText(const std::string& file) {
    const int flags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const int descriptor = open(file.c_str(), flags);
    std::string text(kLongestNote, '\0');
    const ssize_t got = descriptor < 0 ? -1 : read(descriptor, text.data(), text.size());
    if (descriptor >= 0) {
        close(descriptor);
    }
    text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return text;
}

bool WriteText(const std::string& file, const std::string& text) {
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const int descriptor = open(file.c_str(), flags, 0600);
    if (descriptor < 0) {
        return false;
    }
    const bool written =
        write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
        fsync(descriptor) == 0;
    return close(descriptor) == 0 && written;
}

}  // namespace

bool CycleNote::Write(const std::string& file, const CManageRepositoryInfo& module) {
    const std::string text = TextOf(module);
    if (!IsOneLine(module.kind) || !IsOneLine(module.version) || !IsOneLine(module.archive) ||
        text.size() > kLongestNote) {
        return false;
    }
    const std::string scratch = file + ".new";
    if (WriteText(scratch, text) && std::rename(scratch.c_str(), file.c_str()) == 0) {
        return true;
    }
    unlink(scratch.c_str());
    return false;
}

std::optional<CManageRepositoryInfo> CycleNote::Read(const std::string& file) {
    std::string text = ReadText(file);
    CManageRepositoryInfo module;
    module.kind = TakeValue(text, "kind");
    module.version = TakeValue(text, "version");
    module.archive = TakeValue(text, "archive");
    if (module.kind.empty() || module.version.empty() || module.archive.empty() || !text.empty()) {
        return std::nullopt;
    }
    return module;
}

void CycleNote::Remove(const std::string& file) {
    unlink(file.c_str());
}
