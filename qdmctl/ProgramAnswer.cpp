#include "qdmctl/ProgramAnswer.h"

#include "host/ComLib/ShellCommand.h"
#include "qdmctl/FileAccess.h"

#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <sstream>

namespace qdmctl {
namespace {

constexpr std::size_t longestOutput = 65536;
constexpr char outputName[] = "output";

class PrivateFolder {
public:
    PrivateFolder() { made = ::mkdtemp(path) != nullptr; }
    ~PrivateFolder() {
        if (made) {
            ::unlink((std::string(path) + "/" + outputName).c_str());
            ::rmdir(path);
        }
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    bool Made() const { return made; }
    std::string Path() const { return path; }

private:
    char path[32] = "/tmp/qdmctl.XXXXXX";
    bool made = false;
};

std::string Beginning(const std::string& folder) {
    const PlainFile file = OpenPlainFile(folder, outputName);
    std::string text(std::min<std::uint64_t>(file.size, longestOutput), '\0');
    const long count = file.refusal.empty() ? ReadFully(file.handle, text.data(), text.size()) : 0;
    text.resize(static_cast<std::size_t>(std::max(0L, count)));
    return text;
}

}  // namespace

ProgramAnswer AskProgram(const std::string& line, std::chrono::seconds limit) {
    const PrivateFolder folder;
    if (!folder.Made()) {
        return {false, 0, {}, "no folder for its answer: " + SystemText(errno)};
    }
    ShellCommand command;
    command.line = line;
    command.outputFile = folder.Path() + "/" + outputName;
    command.limit = limit;
    const ShellResult result = RunShell(command);
    ProgramAnswer answer;
    answer.ended = result.outcome == ShellResult::Outcome::Ran;
    answer.status = result.exitStatus;
    answer.output = Beginning(folder.Path());
    answer.reason = result.outcome == ShellResult::Outcome::TimedOut
                        ? "it did not answer within " + std::to_string(limit.count()) + " seconds"
                        : result.reason;
    return answer;
}

std::string FindProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "/usr/sbin:/usr/bin:/sbin:/bin");
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string file = folder;
        file.append("/").append(name);
        struct stat status {};
        if (::stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            ::access(file.c_str(), X_OK) == 0) {
            return file;
        }
    }
    return {};
}

}  // namespace qdmctl
