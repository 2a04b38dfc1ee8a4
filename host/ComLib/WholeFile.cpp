#include "host/ComLib/WholeFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "host/ComLib/Descriptor.h"

namespace {

bool WriteAll(int descriptor, const std::string& content) {
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t written = write(descriptor, content.data() + done, content.size() - done);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return true;
}

}  // namespace

bool ReplaceFile(const std::string& path, const std::string& content) {
    std::string scratch = path + ".XXXXXX";
    const Descriptor descriptor(mkostemp(scratch.data(), O_CLOEXEC));
    if (!descriptor) {
        return false;
    }
    if (WriteAll(descriptor.Get(), content) && std::rename(scratch.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int error = errno;
    unlink(scratch.c_str());
    errno = error;
    return false;
}
