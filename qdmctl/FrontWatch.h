#pragma once

namespace qdmctl {

/// Takes over in the worker when the front process is killed: reading calls of tools are ended, so
/// that one that hangs does not hold the lock for ever. What a changing step has started is left
/// alone. The kernel tells of the end by a signal, so a run in which nothing happens pays nothing.
/// There is one at a time, in the front process's own child, which has no other thread.
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

    bool FrontIsGone() const;
};

}  // namespace qdmctl
