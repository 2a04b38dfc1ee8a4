#include "host/PrivateProfile.h"

#include <charconv>
#include <cstring>
#include <optional>
#include <string>

#include "host/DllCommon/IniText.h"

namespace {

std::optional<std::string> Find(const char* section, const char* key, const char* file) {
    if (section == nullptr || key == nullptr || file == nullptr) {
        return std::nullopt;
    }
    const auto text = ReadIniText(file);
    return text ? FindIniValue(*text, section, key) : std::nullopt;
}

}  // namespace

unsigned int GetPrivateProfileStringA(const char* section, const char* key, const char* fallback,
                                      char* buffer, unsigned int size, const char* file) {
    if (buffer == nullptr || size == 0) {
        return 0;
    }
    std::string value =
        Find(section, key, file).value_or(fallback == nullptr ? std::string() : fallback);
    if (value.size() >= size) {
        value.resize(size - 1);
    }
    std::memcpy(buffer, value.c_str(), value.size() + 1);
    return static_cast<unsigned int>(value.size());
}

int GetPrivateProfileIntA(const char* section, const char* key, int fallback, const char* file) {
    const auto value = Find(section, key, file);
    if (!value) {
        return fallback;
    }
    int number = 0;
    const char* end = value->data() + value->size();
    const auto parsed = std::from_chars(value->data(), end, number);
    return parsed.ec == std::errc() && parsed.ptr == end ? number : 0;
}
