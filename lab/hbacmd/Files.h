#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

/// Where the simulated hardware keeps what a real adapter keeps in itself.
extern const char* const stateFolder;
/// The installed tool's own version, beside the tool: it comes and goes with an installation.
extern const char* const toolVersionFile;

/// Lines "key value", the value up to the end of the line.
using Facts = std::map<std::string, std::string>;

[[nodiscard]] Facts ParseFacts(const std::string& text);
[[nodiscard]] std::string FactsText(const Facts& facts);
/// The value of a key, or an empty text.
[[nodiscard]] std::string FactOf(const Facts& facts, const std::string& key);

/// Parts of a line between separators; n separators give n + 1 parts.
[[nodiscard]] std::vector<std::string> SplitText(const std::string& text, char separator);
/// Lines of a text without their ends, empty ones left out.
[[nodiscard]] std::vector<std::string> LinesOf(const std::string& text);
/// A whole decimal number, or nothing.
[[nodiscard]] std::optional<long> ParseNumber(const std::string& text);

/// The whole file; nothing when it cannot be read.
[[nodiscard]] std::optional<std::string> ReadWholeFile(const std::string& path);
/// Replaces the file in one step, so that a reader sees the old or the new content.
/// Throws std::runtime_error.
void ReplaceFile(const std::string& path, const std::string& content);
/// Writes all of it, or answers false.
[[nodiscard]] bool WriteWhole(int descriptor, const std::string& text);

/// Holds a lock file's exclusive lock for as long as it lives; waits for it. Throws
/// std::runtime_error.
class FileLock {
public:
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    int descriptor = -1;
};

void PauseMilliseconds(long milliseconds);
