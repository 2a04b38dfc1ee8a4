#include "host/ComLib/PciModalias.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace {

constexpr std::size_t kWide = 8;   ///< digits of vendor and device
constexpr std::size_t kClass = 2;  ///< digits of each part of the class

bool IsUpperHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
}

/// Takes a mark and the digits behind it off the front of the text; empty where something else
/// stands there.
std::string_view Take(std::string_view& text, std::string_view mark, std::size_t digits) {
    const std::string_view number = text.substr(std::min(mark.size(), text.size()), digits);
    if (text.substr(0, mark.size()) != mark || number.size() < digits ||
        !std::all_of(number.begin(), number.end(), IsUpperHex)) {
        text = {};
        return {};
    }
    text.remove_prefix(mark.size() + digits);
    return number;
}

/// The four digits that an identifier has, in lower case as the other files of the kernel have
/// them; empty where there are more.
std::string Identifier(std::string_view wide) {
    constexpr std::string_view zeros = "0000";
    if (wide.substr(0, zeros.size()) != zeros) {
        return {};
    }
    std::string digits(wide.substr(zeros.size()));
    for (char& c : digits) {
        c = c >= 'A' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return digits;
}

}  // namespace

std::optional<PciDevice> ParsePciModalias(std::string_view text) {
    PciDevice device;
    device.vendor = Identifier(Take(text, "pci:v", kWide));
    device.device = Identifier(Take(text, "d", kWide));
    device.subsystemVendor = Identifier(Take(text, "sv", kWide));
    device.subsystemDevice = Identifier(Take(text, "sd", kWide));
    std::string code(Take(text, "bc", kClass));
    code += Take(text, "sc", kClass);
    code += Take(text, "i", kClass);
    const bool whole = !device.vendor.empty() && !device.device.empty() &&
                       !device.subsystemVendor.empty() && !device.subsystemDevice.empty() &&
                       code.size() == 3 * kClass && text == "\n";
    if (!whole) {
        return std::nullopt;
    }
    std::from_chars(code.data(), code.data() + code.size(), device.classCode, 16);
    return device;
}
