#include <cstddef>
#include <cstdint>
#include <string>

namespace Fuzz {
void QDM_FUZZ_TARGET(const std::string& input);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::QDM_FUZZ_TARGET(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
