#include "host/CStringUtil.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "host/ComLib/PciDevices.h"

namespace {

const char* const kBlanks = " \t\r\n";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

std::string CStringUtil::StringToLowerCase(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

std::string CStringUtil::StringToUpperCase(std::string text) {
    for (char& c : text) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return text;
}

void CStringUtil::strReplace(std::string& text, const std::string& from, const std::string& to) {
    if (from.empty()) {
        return;
    }
    std::string out;
    out.reserve(text.size());
    std::size_t start = 0;
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, start)) {
        out.append(text, start, at - start).append(to);
        start = at + from.size();
    }
    text = out.append(text, start);
}

void CStringUtil::strTrimAll(std::string text, std::string& out) {
    const auto first = text.find_first_not_of(kBlanks);
    out = first == std::string::npos
              ? ""
              : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string> CStringUtil::Split(std::string& text, const std::string& separator) {
    std::vector<std::string> parts;
    parts.reserve(4);  // of a version
    std::size_t start = 0;
    auto at = separator.empty() ? std::string::npos : text.find(separator);
    while (at != std::string::npos) {
        parts.push_back(text.substr(start, at - start));
        start = at + separator.size();
        at = text.find(separator, start);
    }
    parts.push_back(text.substr(start));
    return parts;
}

bool CStringUtil::IsDigitString(std::string text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

bool CStringUtil::CheckVersion4SegFormat(std::string version) {
    const auto parts = Split(version, ".");
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), IsDigitString);
}

std::string CStringUtil::NumberToTString(long number) {
    return std::to_string(number);
}

long CStringUtil::TStringToNumber(std::string text) {
    long number = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    if (parsed.ptr != end) {
        return 0;
    }
    if (parsed.ec == std::errc::result_out_of_range) {
        return text.front() == '-' ? std::numeric_limits<long>::min()
                                   : std::numeric_limits<long>::max();
    }
    return number;
}

std::string CStringUtil::StringToTstring(std::string text) {
    return text;
}

std::string CStringUtil::TstringToString(std::string text) {
    return text;
}

bool CStringUtil::GetVenIdDevIdformDeviceId(std::string deviceId, std::string& vendorId,
                                            std::string& deviceIdOut) {
    const auto identifier = ParseDeviceIdentifier(deviceId);
    if (!identifier) {
        return false;
    }
    vendorId = identifier->vendor;
    deviceIdOut = identifier->device;
    return true;
}
