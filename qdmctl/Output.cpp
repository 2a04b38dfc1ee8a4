#include "qdmctl/Output.h"

#include "qdmctl/AnswerJson.h"
#include "qdmctl/AnswerTable.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace qdmctl {
namespace {

TableStyle StyleOf(int descriptor) {
    TableStyle style;
    winsize size{};
    const bool terminal = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0;
    style.width = terminal ? size.ws_col : 0;
    const char* kind = std::getenv("TERM");
    style.colour = terminal && std::getenv("NO_COLOR") == nullptr && kind != nullptr &&
                   std::strcmp(kind, "dumb") != 0;
    return style;
}

}  // namespace

StreamStyles StylesOfStreams() {
    return {StyleOf(STDOUT_FILENO), StyleOf(STDERR_FILENO)};
}

Output OutputOf(const Answer& answer, bool json, const StreamStyles& styles) {
    if (json) {
        return {answer.exitCode, false, ToJson(answer)};
    }
    if (!HasTable(answer)) {
        return {answer.exitCode, true, ErrorsToText(answer.errors, styles.errors)};
    }
    return {answer.exitCode, false, ToTable(answer, styles.output)};
}

std::string ToText(const Output& output) {
    return std::to_string(output.exitCode) + " " + std::to_string(output.toErrors ? 1 : 0) + "\n" +
           output.text;
}

std::optional<Output> OutputFromText(const std::string& text) {
    const std::size_t end = text.find('\n');
    std::istringstream line(text.substr(0, end));
    Output output;
    if (end == std::string::npos || !(line >> output.exitCode >> output.toErrors)) {
        return std::nullopt;
    }
    output.text = text.substr(end + 1);
    return output;
}

}  // namespace qdmctl
