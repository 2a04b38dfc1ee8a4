#include "lab/hbacmd/CallLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "lab/hbacmd/Files.h"

namespace {

std::string JsonText(const std::string& text) {
    constexpr unsigned char firstPrintable = 0x20;
    std::string json = "\"";
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\') {
            json += '\\';
        }
        if (code >= firstPrintable && code < 0x7f) {
            json += character;
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", code);
            json += escape;
        }
    }
    return json + "\"";
}

std::string JsonTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    char text[40];
    std::snprintf(text, sizeof text, "%lld.%06ld", static_cast<long long>(now.tv_sec),
                  now.tv_nsec / 1000);
    return text;
}

void Append(const std::string& line) {
    const std::string path = std::string(stateFolder) + "/calls";
    const int descriptor = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (descriptor >= 0) {
        // A lab whose own folder is full still runs; only its record has a hole.
        static_cast<void>(WriteWhole(descriptor, line));
        close(descriptor);
    }
}

std::string Stamp(const char* what) {
    return std::string("{\"") + what + "\": " + JsonTime() +
           ", \"pid\": " + std::to_string(getpid());
}

}  // namespace

CallLog::CallLog(const std::vector<std::string>& arguments) {
    std::string list;
    for (size_t index = 1; index < arguments.size(); ++index) {
        list += (list.empty() ? "" : ", ") + JsonText(arguments[index]);
    }
    const std::string verb = arguments.empty() ? "" : arguments[0];
    Append(Stamp("begin") + ", \"verb\": " + JsonText(verb) + ", \"arguments\": [" + list + "]}\n");
}

void CallLog::End(int status) const {
    Append(Stamp("end") + ", \"exit\": " + std::to_string(status) + "}\n");
}
