#pragma once

#include <string>
#include <vector>

/// Text helpers. Texts are narrow byte strings; case and character classes are those of ASCII.
class CStringUtil {
public:
    static std::string StringToLowerCase(std::string);
    static std::string StringToUpperCase(std::string);

    /// Replaces every occurrence, left to right, without looking at what it has put in.
    static void strReplace(std::string& text, const std::string& from, const std::string& to);

    /// Cuts blanks, tabs, carriage returns and line feeds at both ends.
    static void strTrimAll(std::string text, std::string& out);

    /// n separators give n + 1 parts, so a text without one gives itself.
    static std::vector<std::string> Split(std::string& text, const std::string& separator);

    /// Digits '0' to '9' only; false for the empty text.
    static bool IsDigitString(std::string);

    /// Four digit strings separated by dots.
    static bool CheckVersion4SegFormat(std::string);

    static std::string NumberToTString(long);

    /// Saturates at the limits of long; 0 for what is no number.
    static long TStringToNumber(std::string);

    static std::string StringToTstring(std::string);
    static std::string TstringToString(std::string);

    /// Vendor and device of an identifier such as "0000:03:00.0-10df-f100". False, with the outputs
    /// untouched, when the identifier has not that form.
    static bool GetVenIdDevIdformDeviceId(std::string deviceId, std::string& vendorId,
                                          std::string& deviceIdOut);
};
