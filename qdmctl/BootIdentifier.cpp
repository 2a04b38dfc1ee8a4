#include "qdmctl/BootIdentifier.h"

#include <fstream>

namespace qdmctl {

std::string BootIdentifier() {
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string identifier;
    file >> identifier;
    return identifier;
}

}  // namespace qdmctl
