#include "host/CMutexUtil.h"

#include <cerrno>
#include <string>

#include "host/CFileUtility.h"
#include "host/ComLib/FileLock.h"

namespace {

const char* const kProviderName = "provider";

struct MutexState {
    std::string file;
    FileLock lock;
};

bool IsLockName(const std::string& name) {
    const char* characters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    return !name.empty() && name.size() <= 64 && name.front() != '.' &&
           name.find_first_not_of(characters) == std::string::npos;
}

void Tell(int* error, int code) {
    if (error != nullptr) {
        *error = code;
    }
}

}  // namespace

bool CMutexUtil::Create(int, const char* name, int* error) {
    state.reset();
    const std::string text = name == nullptr ? kProviderName : name;
    if (!IsLockName(text)) {
        Tell(error, EINVAL);
        return false;
    }
    const std::string folder = CFileUtility::GetInstallPath(0) + "/run";
    if (!CFileUtility::CreateFolder(folder)) {
        Tell(error, errno);
        return false;
    }
    auto made = std::make_shared<MutexState>();
    made->file = folder + "/" + text + ".lock";
    state = made;
    Tell(error, 0);
    return true;
}

bool CMutexUtil::Lock(int timeoutMs) {
    auto* mutex = static_cast<MutexState*>(state.get());
    return mutex != nullptr && mutex->lock.Lock(mutex->file, FileLock::Mode::Exclusive,
                                                timeoutMs) == FileLock::Result::Locked;
}

bool CMutexUtil::Unlock() {
    auto* mutex = static_cast<MutexState*>(state.get());
    if (mutex == nullptr || !mutex->lock.Held()) {
        return false;
    }
    mutex->lock.Unlock();
    return true;
}
