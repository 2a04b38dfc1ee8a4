#include "host/CStringUtil.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"

#include <cctype>
#include <optional>
#include <vector>

namespace {

constexpr std::size_t segments = 4;

struct FcVersion {
    std::string major, minor, letters, build;
};

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsLetter(char character) {
    return std::isalpha(static_cast<unsigned char>(character)) != 0;
}

// Splits "02a4" into minor digits, letters and build. A character that is neither digit nor letter
// ends the scan and leaves the build empty. A letter in front does not end the (empty) minor text.
void ScanMinorPart(const std::string& text, FcVersion& version) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!IsDigit(text[i]) && !IsLetter(text[i])) {
            return;
        }
        if (version.minor.empty()) {
            version.minor = IsLetter(text[i]) ? text.substr(0, i) : "";
        } else if (IsDigit(text[i])) {
            version.letters = text.substr(version.minor.size(), i - version.minor.size());
            version.build = text.substr(i);
            return;
        }
    }
}

std::optional<FcVersion> ParseFcVersion(std::string text) {
    const std::vector<std::string> parts = CStringUtil::Split(text, ".");
    if (parts.size() != 2 || !CStringUtil::IsDigitString(parts[0])) {
        return std::nullopt;
    }
    FcVersion version;
    version.major = parts[0];
    ScanMinorPart(parts[1], version);
    if (!CStringUtil::IsDigitString(version.build)) {
        return std::nullopt;
    }
    return version;
}

int Order(long first, long second) {
    if (first == second) {
        return 0;
    }
    return first > second ? -1 : 1;
}

int RefuseMalformed() {
    CEmulexCommon::SetLastError(ErrorCode::MalformedVersion);
    CTraceUtility::WriteTrace(Trace::File, "MSGID_EMULEX_FC_0019_F",
                              CEmulexCommon::GetLastErrorToChractor().c_str());
    return 0;
}

int Compare4Seg(std::string version1, std::string version2) {
    if (!CStringUtil::CheckVersion4SegFormat(version1) ||
        !CStringUtil::CheckVersion4SegFormat(version2)) {
        return RefuseMalformed();
    }
    const std::vector<std::string> first = CStringUtil::Split(version1, ".");
    const std::vector<std::string> second = CStringUtil::Split(version2, ".");
    int order = 0;
    for (std::size_t i = 0; i < segments && order == 0; ++i) {
        order =
            Order(CStringUtil::TStringToNumber(first[i]), CStringUtil::TStringToNumber(second[i]));
    }
    return order;
}

int CompareFcFirmware(const std::string& version1, const std::string& version2) {
    long major1, minor1, build1, major2, minor2, build2;
    std::string letters1, letters2;
    const bool sound1 =
        CEmulexCommon::CheckVersionFCFirmwareFormat(version1, major1, minor1, letters1, build1);
    const bool sound2 =
        CEmulexCommon::CheckVersionFCFirmwareFormat(version2, major2, minor2, letters2, build2);
    if (!sound1 || !sound2) {
        return RefuseMalformed();
    }
    if (major1 != major2) {
        return Order(major1, major2);
    }
    if (minor1 != minor2) {
        return Order(minor1, minor2);
    }
    // Relied on: the raw result of the text comparison, of which only the sign counts.
    const int letters = letters2.compare(letters1);
    return letters != 0 ? letters : Order(build1, build2);
}

// Entry and exit lines of a comparison name its arguments and its result.
template <typename Comparison>
int Traced(const char* operation, const std::string& version1, const std::string& version2,
           Comparison compare) {
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s() [Start] Version1=[%s],Version2=[%s]",
                              operation, version1.c_str(), version2.c_str());
    const int result = compare(version1, version2);
    CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s() [END] Return=[%d]", operation,
                              result);
    return result;
}

}  // namespace

std::string CEmulexCommon::FormatVersion4SegCleanDust(std::string version) {
    TraceScope trace("CEmulexCommon::FormatVersion4SegCleanDust");
    std::string trimmed;
    CStringUtil::strTrimAll(version, trimmed);
    const std::vector<std::string> parts = CStringUtil::Split(trimmed, ".");
    if (parts.size() != segments) {
        return version;
    }
    return parts[0] + "." + parts[1] + "." + parts[2] + "." +
           parts[3].substr(0, FindNotDisitChar(parts[3], 0));
}

int CEmulexCommon::CheckVendorVersion4SegNormal(std::string version1, std::string version2) {
    return Traced("CEmulexCommon::CheckVendorVersion4SegNormal", version1, version2, Compare4Seg);
}

bool CEmulexCommon::CheckVersionFCFirmwareFormat(std::string version, long& major, long& minor,
                                                 std::string& letters, long& build) {
    TraceScope trace("CEmulexCommon::CheckVersionFCFirmwareFormat");
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::CheckVersionFCFirmwareFormat() version=[%s]",
                              version.c_str());
    const std::optional<FcVersion> parsed = ParseFcVersion(version);
    if (!parsed) {
        return false;
    }
    major = CStringUtil::TStringToNumber(parsed->major);
    minor = CStringUtil::TStringToNumber(parsed->minor);
    letters = parsed->letters;
    build = CStringUtil::TStringToNumber(parsed->build);
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::CheckVersionFCFirmwareFormat() [%s][%s][%s][%s]",
                              parsed->major.c_str(), parsed->minor.c_str(), parsed->letters.c_str(),
                              parsed->build.c_str());
    return true;
}

bool CEmulexCommon::CheckVersionFCFirmwareFormat(std::string version) {
    TraceScope trace("CEmulexCommon::CheckVersionFCFirmwareFormat");
    long major, minor, build;
    std::string letters;
    return CheckVersionFCFirmwareFormat(version, major, minor, letters, build);
}

int CEmulexCommon::CheckVendorVersionFCFirmware(std::string version1, std::string version2) {
    return Traced("CEmulexCommon::CheckVendorVersionFCFirmware", version1, version2,
                  CompareFcFirmware);
}
