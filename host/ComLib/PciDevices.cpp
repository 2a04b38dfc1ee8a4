#include "host/ComLib/PciDevices.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <string_view>
#include <tuple>

#include "host/ComLib/Descriptor.h"
#include "host/ComLib/PciModalias.h"

namespace {

const char* const kDevicesFolder = "/sys/bus/pci/devices";

bool IsLowerHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

/// Takes exactly `digits` lower-case hexadecimal digits and what stands behind them off the front
/// of the text.
std::optional<unsigned> TakeHex(std::string_view& text, std::size_t digits,
                                std::string_view behind) {
    if (text.size() < digits || text.substr(digits, behind.size()) != behind ||
        !std::all_of(text.begin(), text.begin() + digits, IsLowerHex)) {
        return std::nullopt;
    }
    unsigned value = 0;
    std::from_chars(text.data(), text.data() + digits, value, 16);
    text.remove_prefix(digits + behind.size());
    return value;
}

/// In at least so many digits.
void AppendHex(std::string& text, unsigned number, std::size_t digits) {
    std::array<char, 2 * sizeof number> hex;
    const auto end = std::to_chars(hex.data(), hex.data() + hex.size(), number, 16).ptr;
    const auto size = static_cast<std::size_t>(end - hex.data());
    text.append(digits - std::min(digits, size), '0').append(hex.data(), size);
}

std::optional<PciAddress> ParseAddress(std::string_view text) {
    PciAddress address;
    if (const auto domain = TakeHex(text, 4, ":")) {
        address.domain = *domain;
    }
    const auto bus = TakeHex(text, 2, ":");
    const auto device = TakeHex(text, 2, ".");
    const auto function = TakeHex(text, 1, "");
    if (!bus || !device || !function || !text.empty() || *device > 0x1f || *function > 7) {
        return std::nullopt;
    }
    address.bus = *bus;
    address.device = *device;
    address.function = *function;
    return address;
}

bool IsIdentifierPart(std::string_view text) {
    return text.size() == 4 && std::all_of(text.begin(), text.end(), IsLowerHex);
}

/// What one reading of a file of the kernel gives: empty when it cannot be read.
std::string ReadOnce(const std::string& file) {
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 128> buffer = {};
    const ssize_t got = descriptor ? read(descriptor.Get(), buffer.data(), buffer.size()) : -1;
    return std::string(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
}

/// Number in a file of the kernel, for example "0x0c0400\n" of six digits, without its prefix.
std::optional<std::string> ReadHexFile(const std::string& file, std::size_t digits) {
    std::string text = ReadOnce(file);
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    if (text.size() != digits + 2 || text.compare(0, 2, "0x") != 0 ||
        !std::all_of(text.begin() + 2, text.end(), IsLowerHex)) {
        return std::nullopt;
    }
    return text.substr(2);
}

std::string FolderOf(const PciAddress& address) {
    return std::string(kDevicesFolder) + "/" + address.Text();
}

/// One file tells everything, and waits for no driver as "uevent" may; a file for each number is
/// what stripped trees have.
std::optional<PciDevice> ReadPciDevice(const PciAddress& address) {
    const std::string folder = FolderOf(address);
    if (auto device = ParsePciModalias(ReadOnce(folder + "/modalias"))) {
        device->address = address;
        return device;
    }
    const auto vendor = ReadHexFile(folder + "/vendor", 4);
    const auto device = ReadHexFile(folder + "/device", 4);
    const auto subsystemVendor = ReadHexFile(folder + "/subsystem_vendor", 4);
    const auto subsystemDevice = ReadHexFile(folder + "/subsystem_device", 4);
    const auto classCode = ReadHexFile(folder + "/class", 6);
    if (!vendor || !device || !subsystemVendor || !subsystemDevice || !classCode) {
        return std::nullopt;
    }
    unsigned code = 0;
    std::from_chars(classCode->data(), classCode->data() + classCode->size(), code, 16);
    return PciDevice{address, *vendor, *device, *subsystemVendor, *subsystemDevice, code};
}

auto Position(const PciAddress& address) {
    return std::tie(address.domain, address.bus, address.device, address.function);
}

}  // namespace

std::string PciAddress::Text() const {
    std::string text;
    AppendHex(text, domain, 4);
    AppendHex(text += ':', bus, 2);
    AppendHex(text += ':', device, 2);
    AppendHex(text += '.', function, 1);
    return text;
}

std::optional<PciAddress> ParsePciAddress(const std::string& text) {
    return ParseAddress(text);
}

std::string DeviceIdentifier::Text() const {
    return address.Text() + "-" + vendor + "-" + device;
}

std::optional<DeviceIdentifier> ParseDeviceIdentifier(const std::string& text) {
    const std::string_view whole = text;
    const auto first = whole.find('-');
    const auto second = first == whole.npos ? first : whole.find('-', first + 1);
    if (second == whole.npos) {
        return std::nullopt;
    }
    const auto address = ParseAddress(whole.substr(0, first));
    const std::string_view vendor = whole.substr(first + 1, second - first - 1);
    const std::string_view device = whole.substr(second + 1);
    if (!address || !IsIdentifierPart(vendor) || !IsIdentifierPart(device)) {
        return std::nullopt;
    }
    return DeviceIdentifier{*address, std::string(vendor), std::string(device)};
}

bool IsListed(const DeviceIdentifier& identifier) {
    const std::string folder = FolderOf(identifier.address);
    if (const auto device = ParsePciModalias(ReadOnce(folder + "/modalias"))) {
        return device->vendor == identifier.vendor && device->device == identifier.device;
    }
    return ReadHexFile(folder + "/vendor", 4) == identifier.vendor &&
           ReadHexFile(folder + "/device", 4) == identifier.device;
}

std::vector<PciDevice> ListPciDevices() {
    std::vector<PciDevice> devices;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(kDevicesFolder), closedir);
    const dirent* entry = nullptr;
    while (folder && (entry = readdir(folder.get())) != nullptr) {
        const auto address = ParsePciAddress(entry->d_name);
        if (!address || address->Text() != entry->d_name) {
            continue;
        }
        if (auto device = ReadPciDevice(*address)) {
            devices.push_back(std::move(*device));
        }
    }
    std::sort(devices.begin(), devices.end(), [](const PciDevice& a, const PciDevice& b) {
        return Position(a.address) < Position(b.address);
    });
    return devices;
}
