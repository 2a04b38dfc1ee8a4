#include "provider/modules/FixedPaths.h"

// Alone in this source, so that a test program can have folders of its own.

namespace FixedPaths {

std::string DepmodFolder() {
    return "/etc/depmod.d";
}

std::string ConfigFolder() {
    return "/etc";
}

}  // namespace FixedPaths
