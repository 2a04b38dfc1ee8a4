#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "lab/hbacmd/Files.h"

/// What the tool tells its user instead of doing what was asked; nothing has changed then.
struct Refusal : std::runtime_error {
    Refusal(int number, const std::string& text) : std::runtime_error(text), code(number) {}
    int code;
};

/// One port of an adapter as the hardware never changes it: a line of the state file "ports".
struct Port {
    unsigned adapter = 0;  ///< number of the adapter's own state file
    std::string family;    ///< what firmware images are made for
    std::string model;
    std::string serial;
    std::string wwpn;
    unsigned number = 0;
    unsigned bus = 0;
    unsigned function = 0;  ///< as the listing numbers it
};

[[nodiscard]] std::vector<Port> ReadPorts();
/// Throws Refusal when no port has this WWPN.
[[nodiscard]] Port FindPort(const std::string& wwpn);

/// The adapter's versions: keys "flashed.firmware", "running.firmware", "flashed.bios",
/// "running.bios", "activation" and, while a download runs or when one was cut short,
/// "flashing.firmware" or "flashing.bios".
[[nodiscard]] Facts ReadAdapter(unsigned adapter);
void WriteAdapter(unsigned adapter, const Facts& facts);
/// What a lock for changes of this adapter is taken on.
[[nodiscard]] std::string AdapterLockFile(unsigned adapter);
/// What is flashed runs from now on.
void Activate(Facts& facts);

/// State of the server as a whole, by file name: "driver" (the loaded driver's version),
/// "settings".
[[nodiscard]] Facts ReadServerFacts(const char* name);
