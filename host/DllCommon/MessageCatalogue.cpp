#include "host/DllCommon/MessageCatalogue.h"

#include <dlfcn.h>

#include "host/DllCommon/IniText.h"

namespace {

std::string FolderOfThisLibrary() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void*>(&FolderOfThisLibrary), &info) == 0 ||
        info.dli_fname == nullptr) {
        return ".";
    }
    const std::string file = info.dli_fname;
    const auto slash = file.rfind('/');
    return slash == std::string::npos ? "." : file.substr(0, slash);
}

/// Puts the inserts in their places in one pass, so that an insert that looks like a place stays.
std::string Fill(const std::string& text, const std::vector<std::string>& inserts) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool place = text[i] == '{' && i + 2 < text.size() && text[i + 2] == '}' &&
                           text[i + 1] >= '0' && text[i + 1] <= '9';
        const auto number = place ? static_cast<std::size_t>(text[i + 1] - '0') : inserts.size();
        if (number < inserts.size()) {
            out += inserts[number];
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string WithoutText(const std::vector<std::string>& inserts) {
    std::string out = "(no text in the message catalogue)";
    for (const std::string& insert : inserts) {
        out += " [" + insert + "]";
    }
    return out;
}

}  // namespace

MessageCatalogue::MessageCatalogue(const std::string& file)
    : content(ReadIniText(file).value_or("")) {}

const MessageCatalogue& MessageCatalogue::Installed() {
    static const MessageCatalogue catalogue(FolderOfThisLibrary() + "/../share/messages.ini");
    return catalogue;
}

std::string MessageCatalogue::Severity(const std::string& id) const {
    const std::string severity = FindIniValue(content, id, "severity").value_or("");
    return severity == "warning" || severity == "information" ? severity : "error";
}

std::string MessageCatalogue::Text(const std::string& id,
                                   const std::vector<std::string>& inserts) const {
    const std::string text = FindIniValue(content, id, "text").value_or("");
    return text.empty() ? WithoutText(inserts) : Fill(text, inserts);
}
