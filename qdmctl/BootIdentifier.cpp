#include "qdmctl/BootIdentifier.h"

#include "qdmctl/FileAccess.h"

namespace qdmctl {

namespace {

std::string Read() {
    const std::string text = ReadBeginning("/proc/sys/kernel/random/boot_id").value_or("");
    return text.substr(0, text.find('\n'));
}

}  // namespace

std::string BootIdentifier() {
    static std::string known;
    if (known.empty()) {
        known = Read();
    }
    return known;
}

}  // namespace qdmctl
