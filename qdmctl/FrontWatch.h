#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace qdmctl {

/// Takes over in the worker when the front process is killed: reading calls of tools are ended, so
/// that one that hangs does not hold the lock for ever. What a changing step has started is left
/// alone.
class FrontWatch {
public:
    /// `channel` is the descriptor of the connection to the front process; nothing is read from it.
    explicit FrontWatch(int channel);
    ~FrontWatch();
    FrontWatch(const FrontWatch&) = delete;
    FrontWatch& operator=(const FrontWatch&) = delete;

    /// To be called before a changing step begins and after it has ended. When it returns with a
    /// changing step, nothing is ended any more.
    void SetChanging(bool value);

    bool FrontIsGone() const { return gone; }

    /// There is nothing more to be ended: the thread ends, and nobody waits for it.
    void Dismiss() const;

private:
    void Watch();
    bool EndRequested(int timeoutMs) const;
    void WindUp();

    int channel;
    int end;
    std::mutex guard;
    bool changing = false;
    std::atomic<bool> gone{false};
    std::thread thread;
};

}  // namespace qdmctl
