#include "host/DllCommon/IniText.h"

#include <fcntl.h>
#include <ini.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

/// inih tells sections, comments and names; the values are taken from the text itself, since inih
/// cuts lines at the size of its buffer, joins indented lines to those above and takes " ;" in a
/// value for a comment.
struct Reading {
    const std::string& text;
    const std::string& section;
    std::vector<std::pair<std::string, std::string>>& values;
    std::size_t position = 0;
    std::string value;  ///< of the line that inih looks at
};

std::string Trimmed(const std::string& text) {
    const char* blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    return first == std::string::npos
               ? ""
               : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string NextLine(Reading& reading) {
    const auto end = reading.text.find('\n', reading.position);
    const auto length = end == std::string::npos ? end : end - reading.position;
    const std::string line = reading.text.substr(reading.position, length);
    reading.position = end == std::string::npos ? reading.text.size() : end + 1;
    return Trimmed(line);
}

/// inih's reader: the next line, without its value.
char* ReadName(char* buffer, int size, void* stream) {
    auto& reading = *static_cast<Reading*>(stream);
    if (reading.position >= reading.text.size()) {
        return nullptr;
    }
    std::string line = NextLine(reading);
    const auto separator = line.find_first_of("=:");
    if (separator != std::string::npos && line.front() != '[') {
        reading.value = Trimmed(line.substr(separator + 1));
        line.resize(separator + 1);
    }
    // inih keeps 49 characters of a name, and a NUL ends one early: either could make a name look
    // like another.
    constexpr std::size_t longestName = 49;
    if (line.size() > longestName || line.size() >= static_cast<std::size_t>(size) ||
        line.find('\0') != std::string::npos) {
        line = line.front() == '[' ? "[?]" : "";
    }
    std::memcpy(buffer, line.c_str(), line.size() + 1);
    return buffer;
}

int TakeValue(void* user, const char* section, const char* name, const char*) {
    auto& reading = *static_cast<Reading*>(user);
    if (strcasecmp(section, reading.section.c_str()) == 0) {
        reading.values.emplace_back(name, reading.value);
    }
    return 1;
}

std::optional<std::string> ReadAll(int descriptor, std::size_t limit) {
    std::string text;
    char block[8192];
    for (;;) {
        const ssize_t got = read(descriptor, block, sizeof block);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            return text;
        }
        text.append(block, static_cast<std::size_t>(got));
        if (text.size() > limit) {
            return std::nullopt;
        }
    }
}

}  // namespace

std::optional<std::string> ReadIniText(const std::string& file, std::size_t limit) {
    // O_NONBLOCK: a pipe in the file's place must not hold the caller up.
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return std::nullopt;
    }
    struct stat status = {};
    std::optional<std::string> text;
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
        text = ReadAll(descriptor, limit);
    }
    close(descriptor);
    return text;
}

IniSection::IniSection(const std::string& text, const std::string& section) {
    Reading reading{text, section, values, 0, ""};
    ini_parse_stream(ReadName, &reading, TakeValue, &reading);
}

std::optional<std::string> IniSection::Find(const std::string& key) const {
    for (const auto& [name, value] : values) {
        if (strcasecmp(name.c_str(), key.c_str()) == 0) {
            return value;
        }
    }
    return std::nullopt;
}

std::optional<std::string> FindIniValue(const std::string& text, const std::string& section,
                                        const std::string& key) {
    return IniSection(text, section).Find(key);
}
