#include "qdmctl/AttributeAnswer.h"

#include "qdmctl/FileAccess.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>
#include <system_error>

namespace qdmctl {
namespace {

constexpr char cacheFolder[] = "/tmp/EMULEX/cache";
constexpr char filePrefix[] = "HbaAttrib";
constexpr char heading[] = "HBA Attributes for ";

bool BeginsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

/// "10:00:00:90:fa:16:03:00" and "10-00-00-90-fa-16-03-00" as the answers of qdmctl have them.
std::string Bare(std::string wwpn) {
    wwpn.erase(std::remove_if(wwpn.begin(), wwpn.end(),
                              [](char one) { return one == ':' || one == '-' || one == '\r'; }),
               wwpn.end());
    std::transform(wwpn.begin(), wwpn.end(), wwpn.begin(),
                   [](unsigned char one) { return static_cast<char>(std::toupper(one)); });
    return wwpn;
}

/// As the tool and the provider write it, most often.
std::string UsualName(const std::string& wwpn) {
    std::string name = filePrefix;
    for (std::size_t i = 0; i < wwpn.size(); ++i) {
        if (i != 0 && i % 2 == 0) {
            name += '-';
        }
        name += static_cast<char>(std::tolower(static_cast<unsigned char>(wwpn[i])));
    }
    return name + ".txt";
}

/// The first line of a file, as far as a heading goes; nothing where it cannot be opened.
std::optional<std::string> FirstLineOf(const std::string& path) {
    constexpr std::size_t longestHeading = 256;
    auto text = ReadBeginning(path, longestHeading);
    if (text) {
        text->resize(std::min(text->find('\n'), text->size()));
    }
    return text;
}

/// A file of the port under another name: in other letters. It takes a look at the whole folder,
/// which has a file of every port.
std::string UnusualFileOf(const std::string& folder, const std::string& wwpn) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const std::string name = entry.path().stem().string();
        if (BeginsWith(name, filePrefix) && Bare(name.substr(sizeof filePrefix - 1)) == wwpn) {
            return entry.path();
        }
    }
    return {};
}

}  // namespace

bool NamesOtherPort(const std::string& root, const std::string& wwpn) {
    const std::string folder = root + cacheFolder;
    auto line = FirstLineOf(folder + "/" + UsualName(wwpn));
    if (!line) {
        line = FirstLineOf(UnusualFileOf(folder, wwpn));
    }
    return line && BeginsWith(*line, heading) && Bare(line->substr(sizeof heading - 1)) != wwpn;
}

}  // namespace qdmctl
