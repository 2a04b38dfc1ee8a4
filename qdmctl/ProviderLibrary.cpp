#include "qdmctl/ProviderLibrary.h"

#include "qdmctl/FileAccess.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace qdmctl {
namespace {

constexpr char FactorySymbol[] = "GetVendorFactory";
constexpr char ReleaseSymbol[] = "_Z13ReleaseVendorPv";

bool ReadAt(const FileHandle& file, std::uint64_t offset, void* to, std::size_t size) {
    return ::pread(file.Get(), to, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

/// Whether parts that are to be loaded lie behind the file's end: the loader does not look, and to
/// reach for them would end the process. What is no such library at all the loader tells itself.
bool IsCutShort(const std::string& path) {
    const FileHandle file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    Elf64_Ehdr header{};
    if (::fstat(file.Get(), &status) != 0 || !ReadAt(file, 0, &header, sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_phentsize != sizeof(Elf64_Phdr)) {
        return false;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    std::vector<Elf64_Phdr> parts(header.e_phnum);
    return !ReadAt(file, header.e_phoff, parts.data(), parts.size() * sizeof(Elf64_Phdr)) ||
           std::any_of(parts.begin(), parts.end(), [size](const Elf64_Phdr& part) {
               return part.p_offset > size || part.p_filesz > size - part.p_offset;
           });
}

}  // namespace

std::string ProviderLibrary::Open(const std::string& file) {
    path = file;
    if (IsCutShort(file)) {
        return file + " is cut short";
    }
    void* const handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
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
