#include "qdmctl/ProviderLibrary.h"

#include <dlfcn.h>

namespace qdmctl {
namespace {

constexpr char FactorySymbol[] = "GetVendorFactory";
constexpr char ReleaseSymbol[] = "_Z13ReleaseVendorPv";

}  // namespace

ProviderLibrary::~ProviderLibrary() {
    if (handle != nullptr) {
        ::dlclose(handle);
    }
}

std::string ProviderLibrary::Open(const std::string& file) {
    path = file;
    handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        return ::dlerror();
    }
    factory = reinterpret_cast<decltype(factory)>(::dlsym(handle, FactorySymbol));
    release = reinterpret_cast<decltype(release)>(::dlsym(handle, ReleaseSymbol));
    if (factory == nullptr || release == nullptr) {
        return file + " lacks the symbols of a provider";
    }
    return {};
}

ProviderLibrary::Vendor ProviderLibrary::Make(const std::string& vendorClass,
                                              const std::string& familyClass,
                                              const std::string& deviceId) {
    auto* vendor = static_cast<CVendor*>(factory(vendorClass.c_str(), deviceId.c_str()));
    if (vendor != nullptr) {
        vendor->SetOwnerProvider(path, familyClass);
    }
    return Vendor(vendor, Release{release});
}

}  // namespace qdmctl
