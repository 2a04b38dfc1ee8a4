#include "host/ComLib/ArchiveReaderLibrary.h"

#include <dlfcn.h>

namespace {

const char* const kLibrary = "libqdm_Archive.so";

std::string BesideThisLibrary() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(&OpenArchiveReader), &info) == 0 ||
        info.dli_fname == nullptr) {
        return kLibrary;
    }
    const std::string file = info.dli_fname;
    return file.substr(0, file.rfind('/') + 1) + kLibrary;
}

struct Library {
    MakeArchiveReaderFunction make = nullptr;
    std::string reason;
};

Library Load() {
    Library library;
    void* handle = dlopen(BesideThisLibrary().c_str(), RTLD_NOW | RTLD_LOCAL);
    void* symbol = handle == nullptr ? nullptr : dlsym(handle, "MakeArchiveReader");
    if (symbol == nullptr) {
        const char* error = dlerror();
        library.reason = error == nullptr ? "cannot be loaded" : error;
    }
    library.make = reinterpret_cast<MakeArchiveReaderFunction>(symbol);
    return library;
}

}  // namespace

std::unique_ptr<ArchiveReader> OpenArchiveReader(int descriptor, std::string* reason) {
    static const Library library = Load();
    std::unique_ptr<ArchiveReader> reader(library.make == nullptr ? nullptr
                                                                  : library.make(descriptor));
    if (!reader) {
        *reason = "archive reader: " + (library.reason.empty() ? "no memory" : library.reason);
    }
    return reader;
}
