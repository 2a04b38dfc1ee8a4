#include "qdmctl/Output.h"

#include "qdmctl/AnswerJson.h"
#include "qdmctl/AnswerTable.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>

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
    Output output;
    const char* const end = text.data() + text.size();
    const auto [code, failed] = std::from_chars(text.data(), end, output.exitCode);
    const std::string_view rest(code, static_cast<std::size_t>(end - code));
    const std::string_view mark = rest.substr(0, 3);
    if (failed != std::errc() || (mark != " 0\n" && mark != " 1\n")) {
        return std::nullopt;
    }
    output.toErrors = mark[1] == '1';
    output.text = rest.substr(mark.size());
    return output;
}

}  // namespace qdmctl
