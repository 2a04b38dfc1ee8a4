#include "qdmctl/AttributeAnswer.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

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

bool HeadingNamesOther(const std::filesystem::path& file, const std::string& wwpn) {
    std::ifstream text(file);
    std::string line;
    std::getline(text, line);
    return BeginsWith(line, heading) && Bare(line.substr(sizeof heading - 1)) != wwpn;
}

}  // namespace

bool NamesOtherPort(const std::string& root, const std::string& wwpn) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(root + cacheFolder, error)) {
        const std::string name = entry.path().stem().string();
        if (BeginsWith(name, filePrefix) && Bare(name.substr(sizeof filePrefix - 1)) == wwpn) {
            return HeadingNamesOther(entry.path(), wwpn);
        }
    }
    return false;
}

}  // namespace qdmctl
