#include "qdmctl/BootIdentifier.h"

#include "qdmctl/FileAccess.h"

namespace qdmctl {

std::string BootIdentifier() {
    const std::string text = ReadBeginning("/proc/sys/kernel/random/boot_id").value_or("");
    return text.substr(0, text.find('\n'));
}

}  // namespace qdmctl
