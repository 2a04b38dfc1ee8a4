#pragma once

#include <memory>

/// A lock known by name to every process of the host. Ending the object gives up what it holds.
class CMutexUtil {
public:
    /// Opens the lock `name`; null stands for the one name of the provider. `*error` (may be null)
    /// takes an errno.
    bool Create(int, const char* name, int* error);

    /// Waits up to `timeoutMs`; -1 waits without limit.
    bool Lock(int timeoutMs);

    bool Unlock();

private:
    std::shared_ptr<void> state;
};
