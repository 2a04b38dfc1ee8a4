#include "qdmctl/ProviderLibrary.h"

#include <dlfcn.h>
#include <elf.h>
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>

namespace qdmctl {
namespace {

constexpr char FactorySymbol[] = "GetVendorFactory";
constexpr char ReleaseSymbol[] = "_Z13ReleaseVendorPv";

/// Whether parts that are to be loaded lie behind the file's end: the loader does not look, and to
/// reach for them would end the process. What is no such library at all the loader tells itself.
bool IsCutShort(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::uint64_t>(std::max<std::streamoff>(file.tellg(), 0));
    Elf64_Ehdr header{};
    file.seekg(0).read(reinterpret_cast<char*>(&header), sizeof header);
    if (!file || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_phentsize != sizeof(Elf64_Phdr)) {
        return false;
    }
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    for (unsigned i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr part{};
        file.read(reinterpret_cast<char*>(&part), sizeof part);
        if (!file || part.p_offset > size || part.p_filesz > size - part.p_offset) {
            return true;
        }
    }
    return false;
}

}  // namespace

ProviderLibrary::~ProviderLibrary() {
    if (handle != nullptr) {
        ::dlclose(handle);
    }
}

std::string ProviderLibrary::Open(const std::string& file) {
    path = file;
    if (IsCutShort(file)) {
        return file + " is cut short";
    }
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
