#include "qdmctl/ConfigRefusal.h"

#include "host/CVendor.h"
#include "qdmctl/ModuleKinds.h"
#include "qdmctl/Session.h"
#include "qdmctl/TextForms.h"

#include <algorithm>

namespace qdmctl {
namespace {

constexpr char FoundKey[] = "find[";
constexpr char RightLine[] = "silent [";
constexpr char WrongLine[] = "not silent [";
constexpr char NotOpened[] = "Failed to open file(";
constexpr char PackageFound[] = "I found elxocmjvm";

using Lines = std::vector<std::string>;

/// What stands behind the beginning, up to the closing sign.
std::string Inside(const std::string& line, const std::string& beginning, const char* closing) {
    const std::size_t end = line.rfind(closing);
    return end == std::string::npos || end < beginning.size()
               ? std::string()
               : line.substr(beginning.size(), end - beginning.size());
}

/// "emulexRMConfig:[" begins the line that tells what was read from that file.
std::string ReadMark(const ConfigFile& config) {
    return config.file.substr(config.file.rfind('/') + 1) + ":[";
}

Error Refusal(const std::string& message, const std::string& hint) {
    Error error = MakeError(ErrorId::ConfigRefused,
                            "the adapter utility is not set up for updates: " + message,
                            hint + ", then repeat the update");
    error.kind = UtilityKind;
    return error;
}

std::string Quoted(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += (text.empty() ? "\"" : ", \"") + line + "\"";
    }
    return text;
}

/// What the check has told about one file.
struct FileCheck {
    const ConfigFile* config = nullptr;
    Lines right;         ///< required lines that were found
    std::string key;     ///< the last one that was found in a line
    std::string asRead;  ///< the last line as it stands in the file
    bool wrong = false;  ///< that line was refused

    /// The check counts what it finds, also what stands twice.
    bool Passed() const { return !wrong && right.size() >= config->lines.size(); }
};

FileCheck Follow(const ConfigFile& config, const Lines& details) {
    FileCheck check;
    check.config = &config;
    const std::string mark = ReadMark(config);
    const auto first = std::find_if(details.begin(), details.end(), [&](const std::string& line) {
        return StartsWith(line, mark);
    });
    for (auto line = first; line != details.end() && !check.Passed() && !check.wrong; ++line) {
        if (StartsWith(*line, mark)) {
            check.asRead = Inside(*line, mark, "]");
        } else if (StartsWith(*line, FoundKey)) {
            check.key = line->substr(sizeof FoundKey - 1, line->find(']') - sizeof FoundKey + 1);
        } else if (StartsWith(*line, RightLine)) {
            check.right.push_back(Inside(*line, RightLine, "]"));
        }
        check.wrong = StartsWith(*line, WrongLine);
    }
    return check;
}

/// The required line for a key; none where the descriptor does not know it.
std::optional<std::string> Required(const ConfigFile& config, const std::string& key) {
    const auto found =
        std::find_if(config.lines.begin(), config.lines.end(),
                     [&](const std::string& line) { return StartsWith(line, key + ":"); });
    return found == config.lines.end() ? std::nullopt : std::optional<std::string>(*found);
}

Lines Missing(const FileCheck& check) {
    Lines missing;
    std::copy_if(check.config->lines.begin(), check.config->lines.end(),
                 std::back_inserter(missing), [&](const std::string& line) {
                     return std::find(check.right.begin(), check.right.end(), line) ==
                            check.right.end();
                 });
    return missing;
}

Error WrongSetting(const FileCheck& check) {
    const std::string& file = check.config->file;
    const std::string message = file + " has the line \"" + check.asRead + "\"";
    const auto right = Required(*check.config, check.key);
    if (!right) {
        return Refusal(message, "see what the utility wants for " + check.key);
    }
    return Refusal(message + " where \"" + *right + "\" is needed",
                   "write " + *right + " in that line of " + file +
                       ", without a comment sign, a tab or anything else");
}

Error MissingSettings(const FileCheck& check, const Lines& missing) {
    const std::string& file = check.config->file;
    return Refusal(file + " lacks " + Quoted(missing),
                   "write into " + file + ", each in a line of its own: " + Quoted(missing));
}

std::optional<Error> ExplainFile(const ConfigFile& config, const Lines& details) {
    const std::string notOpened = NotOpened + config.file + ")";
    if (std::any_of(details.begin(), details.end(),
                    [&](const std::string& line) { return StartsWith(line, notOpened); })) {
        return Refusal(
            config.file + " is not there or cannot be read",
            "write into " + config.file + ", each in a line of its own: " + Quoted(config.lines));
    }
    const FileCheck check = Follow(config, details);
    if (check.Passed()) {
        return std::nullopt;
    }
    return check.wrong ? WrongSetting(check) : MissingSettings(check, Missing(check));
}

}  // namespace

std::optional<Error> AskVendorsCondition(Session& session, PortSession& port,
                                         const std::string& kind) {
    const CallRecord record(ConfigCheckLevels);
    int refused = 0;
    session.Reading(session.ReadingStep("checking the conditions of an update", &port), [&] {
        refused = port.vendor->CheckUpdateConditionByDevicevendor(kind, nullptr);
    });
    if (refused == 0) {
        return std::nullopt;
    }
    Error error = kind == UtilityKind
                      ? ExplainConfigRefusal(record, session.ProviderDescriptor().utility)
                      : MakeError(ErrorId::UpdateFailed, "the provider refuses an update",
                                  "run it again with --trace FILE to see why");
    error.messageId = record.MessageId();
    return error;
}

Error ExplainConfigRefusal(const CallRecord& record, const UtilityFacts& utility) {
    const Lines& details = record.Details();
    const bool packageFound =
        std::any_of(details.begin(), details.end(),
                    [](const std::string& line) { return StartsWith(line, PackageFound); });
    if (packageFound) {
        return Refusal("the package " + utility.forbiddenPackage + " is installed",
                       "remove it (rpm -qa \"" + utility.forbiddenPackage +
                           "*\" tells its name, rpm -e removes it)");
    }
    // The second file is not looked at where the first one is refused.
    for (const ConfigFile& config : utility.configuration) {
        if (auto error = ExplainFile(config, details)) {
            return *error;
        }
    }
    return Refusal("the installed packages could not be listed",
                   "see that rpm -qa works and the work area can be written");
}

}  // namespace qdmctl
