#include "qdmctl/Channel.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace qdmctl {
namespace {

constexpr std::size_t HeaderSize = sizeof(std::uint32_t) + 1;
constexpr std::uint32_t MaximumSize = 64U << 20;

}  // namespace

Channel::~Channel() {
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

bool Channel::Send(FrameType type, const std::string& text) {
    const auto size = static_cast<std::uint32_t>(text.size());
    std::string bytes(reinterpret_cast<const char*>(&size), sizeof size);
    bytes += static_cast<char>(type);
    bytes += text;
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count =
            ::send(descriptor, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        sent += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

bool Channel::ReadAll(char* data, std::size_t size) {
    for (std::size_t got = 0; got < size;) {
        const ssize_t count = ::read(descriptor, data + got, size - got);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return false;
        }
        got += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

std::optional<Frame> Channel::Receive() {
    char header[HeaderSize];
    if (!ReadAll(header, HeaderSize)) {
        return std::nullopt;
    }
    std::uint32_t size = 0;
    std::memcpy(&size, header, sizeof size);
    if (size > MaximumSize) {
        return std::nullopt;
    }
    Frame frame{static_cast<FrameType>(header[sizeof size]), std::string(size, '\0')};
    if (!ReadAll(frame.text.data(), size)) {
        return std::nullopt;
    }
    return frame;
}

bool Channel::Ready() const {
    pollfd entry{descriptor, POLLIN, 0};
    return ::poll(&entry, 1, 0) > 0;
}

}  // namespace qdmctl
