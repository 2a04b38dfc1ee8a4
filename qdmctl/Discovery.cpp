#include "qdmctl/Discovery.h"

#include "host/DllCommon/IniText.h"
#include "qdmctl/FileAccess.h"
#include "qdmctl/TextForms.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace qdmctl {
namespace {

// Spelled as in the list.
constexpr char section[] = "SuportDevice";
constexpr char countKey[] = "SuportDeviceNum";
constexpr int mostEntries = 1000;
constexpr std::size_t longestList = 1U << 20U;
constexpr std::size_t idDigits = 4;
constexpr std::size_t idsInKey = 4;

/// PCI class and subclass, without the programming interface.
constexpr unsigned fibreChannelClass = 0x0c04;

bool IsFibreChannel(const PciDevice& device) {
    constexpr unsigned interfaceBits = 8;
    return device.classCode >> interfaceBits == fibreChannelClass;
}

std::string ValueOf(const IniSection& list, const std::string& key) {
    return list.Find(key).value_or("");
}

/// 0 where there is none, or something else than a number.
int CountOf(const IniSection& list) {
    const std::string text = ValueOf(list, countKey);
    const char* const end = text.data() + text.size();
    int count = 0;
    return std::from_chars(text.data(), end, count).ptr == end ? std::min(count, mostEntries) : 0;
}

/// The four digits behind a prefix such as "VEN_", in lower case; empty for another form.
std::string ReadId(const IniSection& list, const std::string& key, const std::string& prefix) {
    const std::string value = ValueOf(list, key);
    if (value.compare(0, prefix.size(), prefix) != 0) {
        return {};
    }
    std::string id = value.substr(prefix.size());
    std::transform(id.begin(), id.end(), id.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return IsLowerHex(id, idDigits) ? id : std::string();
}

bool Contains(const std::vector<PciIds>& list, const PciDevice& device) {
    return std::any_of(list.begin(), list.end(), [&](const PciIds& ids) {
        return ids.vendor == device.vendor && ids.device == device.device;
    });
}

bool SameSlot(const PciAddress& one, const PciAddress& other) {
    return one.domain == other.domain && one.bus == other.bus && one.device == other.device;
}

const Model* FindModel(const Descriptor& descriptor, const PciDevice& device, unsigned functions) {
    const auto found =
        std::find_if(descriptor.models.begin(), descriptor.models.end(), [&](const Model& model) {
            return Contains(model.pciIds, device) && functions >= model.functionsAtLeast &&
                   functions <= model.functionsAtMost;
        });
    return found == descriptor.models.end() ? nullptr : &*found;
}

/// The model's key beginning, then four identifiers joined by "_".
bool HasKeyForm(const Model& model, const std::string& key) {
    if (key.compare(0, model.modelKey.size(), model.modelKey) != 0) {
        return false;
    }
    const std::string ids = key.substr(model.modelKey.size());
    if (ids.size() != idsInKey * (idDigits + 1) - 1) {
        return false;
    }
    for (std::size_t i = 0; i < idsInKey; ++i) {
        const std::size_t begin = i * (idDigits + 1);
        if (!IsLowerHex(ids.substr(begin, idDigits), idDigits) ||
            (i > 0 && ids[begin - 1] != '_')) {
            return false;
        }
    }
    return true;
}

/// Whether the list goes as far as it says; what such an entry holds is another matter.
bool HasEntry(const IniSection& list, int number) {
    return !ValueOf(list, "Device" + std::to_string(number)).empty();
}

Loaded<std::vector<PciIds>> Refuse(const std::string& file, const std::string& reason) {
    return {std::nullopt,
            {MakeError(ErrorId::Internal, file + ": " + reason, "install the provider again")}};
}

}  // namespace

Loaded<std::vector<PciIds>> ReadSupportedDevices(const std::string& file) {
    const std::size_t slash = file.rfind('/');
    const std::string folder = slash == std::string::npos ? "." : file.substr(0, slash);
    PlainFile plain = OpenPlainFile(folder, file.substr(slash + 1));
    const std::string distrust = plain.refusal.empty() ? DistrustOf(file) : plain.refusal;
    if (!distrust.empty()) {
        return Refuse(file, distrust);
    }
    const IniSection list(ReadWhole(plain, longestList), section);
    if (!plain.refusal.empty()) {
        return Refuse(file, plain.refusal);
    }
    std::vector<PciIds> devices;
    const int count = CountOf(list);
    if (count < 1 || !HasEntry(list, count)) {
        return Refuse(file, "is empty or cut short");
    }
    for (int i = 1; i <= count; ++i) {
        PciIds ids = {ReadId(list, "Vendor" + std::to_string(i), "VEN_"),
                      ReadId(list, "Device" + std::to_string(i), "DEV_")};
        if (!ids.vendor.empty() && !ids.device.empty()) {
            devices.push_back(std::move(ids));
        }
    }
    return {std::move(devices), {}};
}

Discovery Classify(const std::vector<PciDevice>& devices, const std::vector<PciIds>& supported,
                   const Descriptor& descriptor) {
    std::vector<PciDevice> adapters;
    std::copy_if(devices.begin(), devices.end(), std::back_inserter(adapters),
                 [&](const PciDevice& device) {
                     return IsFibreChannel(device) && Contains(supported, device);
                 });
    Discovery discovery;
    for (const PciDevice& device : adapters) {
        const auto functions = static_cast<unsigned>(std::count_if(
            adapters.begin(), adapters.end(),
            [&](const PciDevice& other) { return SameSlot(device.address, other.address); }));
        const DeviceIdentifier id = {device.address, device.vendor, device.device};
        const Model* model = FindModel(descriptor, device, functions);
        if (model == nullptr) {
            discovery.notes.push_back(id.Text() +
                                      " is a supported device, but no known model has " +
                                      std::to_string(functions) + " such functions");
            continue;
        }
        discovery.ports.push_back({id, device.subsystemVendor, device.subsystemDevice, model});
    }
    return discovery;
}

Loaded<Discovery> DiscoverPorts(const Descriptor& descriptor) {
    Loaded<std::vector<PciIds>> supported =
        ReadSupportedDevices(descriptor.folder + "/" + descriptor.supportedDevices);
    if (!supported) {
        return {std::nullopt, std::move(supported.errors)};
    }
    return {Classify(ListPciDevices(), *supported.value, descriptor), {}};
}

std::string MatchKey(const Model& model, const DiscoveredPort& port,
                     const std::string& reportedKey) {
    if (!model.keyHasPciIds) {
        return model.modelKey;
    }
    if (HasKeyForm(model, reportedKey)) {
        return reportedKey;
    }
    return model.modelKey + port.id.vendor + "_" + port.id.device + "_" + port.subsystemVendor +
           "_" + port.subsystemDevice;
}

}  // namespace qdmctl
