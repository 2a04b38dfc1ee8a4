#include "host/ComLib/PciModalias.h"

#include <algorithm>
#include <charconv>
#include <string>

namespace {

constexpr std::size_t kWide = 8;   ///< digits of vendor and device
constexpr std::size_t kClass = 2;  ///< digits of each part of the class

/// Takes a mark and the digits behind it off the front of the text, the digits in lower case as the
/// other files of the kernel have them; empty where something else stands there.
std::string Take(std::string_view& text, std::string_view mark, std::size_t digits) {
    if (text.substr(0, mark.size()) != mark || text.size() < mark.size() + digits) {
        text = {};
        return {};
    }
    std::string number(text.substr(mark.size(), digits));
    text.remove_prefix(mark.size() + digits);
    for (char& c : number) {
        const bool letter = c >= 'A' && c <= 'F';
        if (!letter && (c < '0' || c > '9')) {
            text = {};
            return {};
        }
        c = letter ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return number;
}

/// The four digits that an identifier has; empty where there are more.
std::string Identifier(const std::string& wide) {
    constexpr std::string_view zeros = "0000";
    return wide.compare(0, zeros.size(), zeros) == 0 ? wide.substr(zeros.size()) : std::string();
}

}  // namespace

std::optional<PciDevice> ParsePciModalias(std::string_view text) {
    PciDevice device;
    device.vendor = Identifier(Take(text, "pci:v", kWide));
    device.device = Identifier(Take(text, "d", kWide));
    device.subsystemVendor = Identifier(Take(text, "sv", kWide));
    device.subsystemDevice = Identifier(Take(text, "sd", kWide));
    std::string code = Take(text, "bc", kClass);
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
