#include "lab/hbacmd/Files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <ctime>
#include <stdexcept>

const char* const stateFolder = "/var/lib/qdmlab";
const char* const toolVersionFile = "/usr/sbin/ocmanager/version";

namespace {

std::runtime_error SystemError(const std::string& what, const std::string& path) {
    return std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

}  // namespace

std::vector<std::string> SplitText(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::string::npos;
         end = text.find(separator, start)) {
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::string& line : SplitText(text, '\n')) {
        if (!line.empty()) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

std::optional<long> ParseNumber(const std::string& text) {
    long number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

Facts ParseFacts(const std::string& text) {
    Facts facts;
    for (const std::string& line : LinesOf(text)) {
        const size_t blank = line.find(' ');
        if (blank != std::string::npos) {
            facts[line.substr(0, blank)] = line.substr(blank + 1);
        }
    }
    return facts;
}

std::string FactsText(const Facts& facts) {
    std::string text;
    for (const auto& [key, value] : facts) {
        text.append(key).append(" ").append(value).append("\n");
    }
    return text;
}

std::string FactOf(const Facts& facts, const std::string& key) {
    const auto found = facts.find(key);
    return found == facts.end() ? std::string() : found->second;
}

std::optional<std::string> ReadWholeFile(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return std::nullopt;
    }
    std::string content;
    char buffer[16384];
    ssize_t count = 0;
    while ((count = read(descriptor, buffer, sizeof buffer)) > 0) {
        content.append(buffer, static_cast<size_t>(count));
    }
    close(descriptor);
    return count < 0 ? std::nullopt : std::optional(content);
}

bool WriteWhole(int descriptor, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return true;
}

void ReplaceFile(const std::string& path, const std::string& content) {
    const std::string draft = path + ".new." + std::to_string(getpid());
    const int descriptor = open(draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (descriptor < 0) {
        throw SystemError("cannot create", draft);
    }
    const bool written = WriteWhole(descriptor, content);
    close(descriptor);
    if (!written || rename(draft.c_str(), path.c_str()) != 0) {
        const std::runtime_error error = SystemError("cannot write", path);
        unlink(draft.c_str());
        throw error;
    }
}

FileLock::FileLock(const std::string& path)
    : descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
    if (descriptor < 0) {
        throw SystemError("cannot open", path);
    }
    while (flock(descriptor, LOCK_EX) != 0) {
        if (errno != EINTR) {
            const std::runtime_error error = SystemError("cannot lock", path);
            close(descriptor);
            throw error;
        }
    }
}

FileLock::~FileLock() {
    close(descriptor);
}

void PauseMilliseconds(long milliseconds) {
    timespec left = {milliseconds / 1000, (milliseconds % 1000) * 1000000};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}
