#include "host/ComLib/CommandStreams.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/CTraceUtility.h"

namespace {

constexpr std::uint64_t kLongestOutput = std::uint64_t{64} << 20;
constexpr std::uint64_t kLongestErrors = std::uint64_t{1} << 20;
constexpr std::size_t kLongestErrorLine = 4096;

int AboveStandard(int number) {
    const Descriptor opened(number);
    return opened ? fcntl(number, F_DUPFD_CLOEXEC, 3) : -1;
}

}  // namespace

int OpenAboveStandard(const char* file, int flags) {
    return AboveStandard(open(file, flags | O_CLOEXEC | O_NOCTTY, 0600));
}

std::string OutputFile::Open(const std::string& file) {
    const bool nowhere = file.empty();
    // O_NONBLOCK: opening a pipe that lies in the file's place must not wait for a reader.
    descriptor = Descriptor(
        OpenAboveStandard(nowhere ? "/dev/null" : file.c_str(),
                          O_WRONLY | O_APPEND | O_CREAT | O_TRUNC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status = {};
    if (!descriptor || fstat(descriptor.Get(), &status) != 0) {
        return "cannot open output file " + file + ": " + std::strerror(errno);
    }
    bounded = S_ISREG(status.st_mode);
    if (!bounded && !S_ISCHR(status.st_mode)) {
        return "output file " + file + " is no file";
    }
    fcntl(descriptor.Get(), F_SETFL, O_APPEND);
    return "";
}

std::uint64_t OutputFile::Length() const {
    struct stat status = {};
    return bounded && fstat(descriptor.Get(), &status) == 0
               ? static_cast<std::uint64_t>(status.st_size)
               : 0;
}

void OutputFile::KeepInBounds() {
    if (Length() <= kLongestOutput || ftruncate(descriptor.Get(), 0) != 0 || told) {
        return;
    }
    told = true;
    CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_WARN,
                              "Output of a command is over its limit; its beginning is dropped");
}

void OutputFile::Cut() {
    if (Length() > kLongestOutput &&
        ftruncate(descriptor.Get(), static_cast<off_t>(kLongestOutput)) != 0) {
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_WARN,
                                  "Output of a command is over its limit and cannot be cut");
    }
}

std::string ErrorText::Open() {
    descriptor =
        Descriptor(AboveStandard(memfd_create("qdm-stderr", MFD_CLOEXEC | MFD_ALLOW_SEALING)));
    if (!descriptor || fcntl(descriptor.Get(), F_SETFL, O_APPEND) != 0) {
        return std::string("cannot capture standard error: ") + std::strerror(errno);
    }
    return "";
}

void ErrorText::Forward() {
    char block[8192];
    while (taken <= kLongestErrors) {
        const ssize_t got =
            pread(descriptor.Get(), block, sizeof block, static_cast<off_t>(position));
        if (got <= 0) {
            return;
        }
        position += static_cast<std::uint64_t>(got);
        taken += static_cast<std::uint64_t>(got);
        Take(block, static_cast<std::size_t>(got));
    }
    DropOverflow();
}

void ErrorText::Take(const char* text, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        if (text[i] == '\n' || line.size() >= kLongestErrorLine) {
            EndLine();
        }
        if (text[i] != '\n') {
            line += text[i];
        }
    }
}

void ErrorText::EndLine() {
    if (!line.empty()) {
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_WARN, "stderr: %s",
                                  line.c_str());
    }
    line.clear();
}

void ErrorText::DropOverflow() {
    if (position != 0) {
        EndLine();
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_WARN,
                                  "stderr is over its limit; the rest is dropped");
    }
    position = 0;
    if (ftruncate(descriptor.Get(), 0) != 0) {
        CTraceUtility::WriteDebug("host", CTraceUtility::TRACE_DBG_WARN,
                                  "stderr is over its limit and cannot be dropped");
    }
}

void ErrorText::Close() {
    Forward();
    EndLine();
    if (ftruncate(descriptor.Get(), 0) == 0) {
        fcntl(descriptor.Get(), F_ADD_SEALS, F_SEAL_GROW);
    }
}
