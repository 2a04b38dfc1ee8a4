#pragma once

#include <optional>
#include <string>
#include <vector>

/// PCI location: "0000:03:00.0".
struct PciAddress {
    unsigned domain = 0;
    unsigned bus = 0;
    unsigned device = 0;
    unsigned function = 0;

    std::string Text() const;  ///< the kernel's form, with the domain
};

/// Parses an address with or without the domain; nothing else before or behind it.
[[nodiscard]] std::optional<PciAddress> ParsePciAddress(const std::string& text);

/// A device identifier: PCI address, "-", vendor, "-", device, in lower-case hexadecimal:
/// "0000:03:00.0-10df-f100".
struct DeviceIdentifier {
    PciAddress address;
    std::string vendor;  ///< four hexadecimal digits
    std::string device;

    std::string Text() const;
};
[[nodiscard]] std::optional<DeviceIdentifier> ParseDeviceIdentifier(const std::string& text);

/// A device as the kernel lists it under /sys/bus/pci/devices.
struct PciDevice {
    PciAddress address;
    std::string vendor;  ///< four lower-case hexadecimal digits each
    std::string device;
    std::string subsystemVendor;
    std::string subsystemDevice;
    unsigned classCode = 0;  ///< 24 bits: class, subclass, programming interface
};

/// All devices in order of their addresses. Entries that cannot be read or have another form are
/// left out.
[[nodiscard]] std::vector<PciDevice> ListPciDevices();

/// True when the kernel lists this very device at this address.
[[nodiscard]] bool IsListed(const DeviceIdentifier& identifier);
