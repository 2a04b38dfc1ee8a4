#pragma once

#include "host/CVendor.h"

#include <memory>
#include <string>

namespace qdmctl {

/// A provider library. Once opened it stays loaded: whoever uses one is about to end with it, and
/// to take it out of the process would only make the user wait.
class ProviderLibrary {
public:
    struct Release {
        void (*release)(void*);
        void operator()(CVendor* vendor) const { release(vendor); }
    };
    using Vendor = std::unique_ptr<CVendor, Release>;

    /// Empty on success, else why the library cannot be used.
    [[nodiscard]] std::string Open(const std::string& file);

    /// A vendor object registered under `familyClass`, which makes the provider take it back; null
    /// when the provider knows no such class.
    [[nodiscard]] Vendor Make(const std::string& vendorClass, const std::string& familyClass,
                              const std::string& deviceId);

private:
    std::string path;
    void* (*factory)(const char*, const char*) = nullptr;
    void (*release)(void*) = nullptr;
};

}  // namespace qdmctl
