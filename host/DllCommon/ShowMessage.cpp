#include "host/ShowMessage.h"

#include <string>

#include "host/CTraceUtility.h"
#include "host/DllCommon/TraceLevels.h"
#include "host/DllCommon/VisibleText.h"

namespace {

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xc0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3f));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xe0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (c & 0x3f));
    } else if (c < 0x110000) {
        out += static_cast<char>(0xf0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3f));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3f));
        out += static_cast<char>(0x80 | (c & 0x3f));
    } else {
        out += '?';
    }
}

/// The C locale of a host program would refuse what is not ASCII, so the conversion is done here.
std::string Narrow(const wchar_t* text) {
    std::string out;
    for (; text != nullptr && *text != L'\0'; ++text) {
        AppendUtf8(out, static_cast<char32_t>(*text));
    }
    return out;
}

constexpr auto kLevel = CTraceUtility::TRACE_DBG_INFO;

void Show(const std::string& text, const std::string& detail) {
    const std::string line = VisibleText(detail.empty() ? text : text + " " + detail);
    CTraceUtility::WriteDebug("host", kLevel, "%s", line.c_str());
}

}  // namespace

void ShowMessage(const wchar_t* text, const char* detail) {
    if (MayBeTraced(kLevel)) {
        Show(Narrow(text), detail == nullptr ? "" : detail);
    }
}

void ShowMessage(const wchar_t* text, const wchar_t* detail) {
    if (MayBeTraced(kLevel)) {
        Show(Narrow(text), Narrow(detail));
    }
}
