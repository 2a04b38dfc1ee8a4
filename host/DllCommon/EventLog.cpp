#include "host/DllCommon/EventLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

#include "host/DllCommon/InstallRoot.h"
#include "host/DllCommon/VisibleText.h"

namespace {

int PriorityOf(const std::string& severity) {
    if (severity == "warning") {
        return LOG_WARNING;
    }
    return severity == "information" ? LOG_INFO : LOG_ERR;
}

std::string IsoTime() {
    struct timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    struct tm parts = {};
    gmtime_r(&now.tv_sec, &parts);
    char text[32];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text, length};
}

/// True when the line was written whole.
bool AppendLine(const std::string& folder, const std::string& line) {
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        return false;
    }
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const int descriptor = open((folder + "/events.log").c_str(), flags, 0600);
    if (descriptor < 0) {
        return false;
    }
    const ssize_t written = write(descriptor, line.data(), line.size());
    const int error = errno;
    close(descriptor);
    errno = written < 0 ? error : ENOSPC;
    return written == static_cast<ssize_t>(line.size());
}

}  // namespace

void LogEvent(const HostMessage& message) {
    const std::string text = message.id + " " + VisibleText(message.text);
    syslog(LOG_DAEMON | PriorityOf(message.severity), "%s", text.c_str());
    const std::string line =
        IsoTime() + " " + std::to_string(getpid()) + " " + message.severity + " " + text + "\n";
    if (!AppendLine(GetInstallRoot().path + "/log", line)) {
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_WARN,
                                  "Event log not written (%s): %s", std::strerror(errno),
                                  text.c_str());
    }
}
