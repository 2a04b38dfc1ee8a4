#include "qdmctl/DeviceChoice.h"

#include "host/CStringUtil.h"
#include "qdmctl/TextForms.h"

#include <algorithm>

namespace qdmctl {
namespace {

constexpr std::size_t WwpnDigits = 16;

/// The sixteen digits of a WWPN in upper case; empty when the text is none.
std::string WwpnOf(const std::string& text) {
    std::string digits = CStringUtil::StringToUpperCase(text);
    digits.erase(std::remove(digits.begin(), digits.end(), ':'), digits.end());
    const bool form = digits.size() == WwpnDigits &&
                      digits.find_first_not_of("0123456789ABCDEF") == std::string::npos;
    return form ? digits : std::string();
}

/// "03:00.0-10df-e200" for "0000:03:00.0-10df-e200".
std::string WithoutDomain(const std::string& deviceId) {
    return deviceId.substr(std::min(deviceId.find(':') + 1, deviceId.size()));
}

bool IsExact(const std::string& name, const std::string& deviceId) {
    return name == deviceId || name == deviceId.substr(0, deviceId.find('-'));
}

std::vector<std::string> Fitting(const std::string& wanted, const std::vector<Port>& ports) {
    const std::string name = CStringUtil::StringToLowerCase(wanted);
    std::vector<std::string> fitting;
    for (const Port& port : ports) {
        const std::string local = WithoutDomain(port.deviceId);
        if (IsExact(name, port.deviceId) || IsExact(name, local)) {
            return {port.deviceId};
        }
        if (!name.empty() && (StartsWith(port.deviceId, name) || StartsWith(local, name))) {
            fitting.push_back(port.deviceId);
        }
    }
    return fitting;
}

std::vector<std::string> FittingWwpn(const std::string& wwpn, const std::vector<Port>& ports) {
    std::vector<std::string> fitting;
    for (const Port& port : ports) {
        if (port.wwpn == wwpn) {
            fitting.push_back(port.deviceId);
        }
    }
    return fitting;
}

std::string Listed(const std::vector<std::string>& deviceIds) {
    std::string text;
    for (const std::string& id : deviceIds) {
        text += (text.empty() ? "" : ", ") + id;
    }
    return text;
}

std::vector<std::string> AllIds(const std::vector<Port>& ports) {
    std::vector<std::string> ids;
    ids.reserve(ports.size());
    for (const Port& port : ports) {
        ids.push_back(port.deviceId);
    }
    return ids;
}

std::optional<Error> Judge(const std::string& name, const std::vector<std::string>& fitting,
                           const std::vector<Port>& ports) {
    if (fitting.empty()) {
        return MakeError(ErrorId::NoDevice, "no port of this server is called \"" + name + "\"",
                         "the ports are: " + Listed(AllIds(ports)));
    }
    if (fitting.size() > 1) {
        return MakeError(ErrorId::Usage, "\"" + name + "\" fits several ports: " + Listed(fitting),
                         "name one of them, or repeat --device for each");
    }
    return std::nullopt;
}

}  // namespace

DeviceChoice ChooseDevices(const std::vector<std::string>& wanted, const std::vector<Port>& ports,
                           bool byWwpn) {
    const auto all = AllIds(ports);
    DeviceChoice choice;
    if (wanted.empty()) {
        choice.deviceIds.insert(all.begin(), all.end());
    }
    for (const std::string& name : wanted) {
        const std::string wwpn = WwpnOf(name);
        if (!wwpn.empty() && !byWwpn) {
            choice.deviceIds.insert(all.begin(), all.end());
            continue;
        }
        const auto fitting = wwpn.empty() ? Fitting(name, ports) : FittingWwpn(wwpn, ports);
        choice.error = Judge(name, fitting, ports);
        if (choice.error) {
            return choice;
        }
        choice.deviceIds.insert(fitting.begin(), fitting.end());
    }
    return choice;
}

}  // namespace qdmctl
