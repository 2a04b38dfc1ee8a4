#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

namespace {

using C = CEmulexCommon;

class VersionTest : public HostTest {
protected:
    struct Row {
        std::string version1, version2;
        int sign;
        bool malformed = false;
    };
    void Check(const std::vector<Row>& rows, const std::string& operation,
               int (*compare)(std::string, std::string)) {
        for (const Row& row : rows) {
            SCOPED_TRACE(row.version1 + " and " + row.version2);
            const int result = compare(row.version1, row.version2);
            EXPECT_EQ((result > 0) - (result < 0), row.sign);
            const std::string at = "4 CEmulexCommon::" + operation;
            EXPECT_EQ(host.Frame(), at + "() [Start] Version1=[" + row.version1 + "],Version2=[" +
                                        row.version2 + "]; " + at + "() [END] Return=[" +
                                        std::to_string(result) + "]");
            EXPECT_EQ(Told(), row.malformed ? "30 | MSGID_EMULEX_FC_0019_F 1e" : "0");
        }
    }
};

TEST_F(VersionTest, DustIsCutFromTheFourthSegment) {
    const std::pair<const char*, const char*> rows[] = {{"4.1.334.09/", "4.1.334.09"},
                                                        {"4.1.334.0:", "4.1.334.0"},
                                                        {"4.1.334.0a", "4.1.334.0"},
                                                        {" 4.1.334.0a ", "4.1.334.0"},
                                                        {"10.2.370.15", "10.2.370.15"},
                                                        {"1a.2.3.4-5", "1a.2.3.4"},
                                                        {"1.2.3.x4", "1.2.3."},
                                                        {" 2.02a4 ", " 2.02a4 "},
                                                        {"1.2.3.4.5x", "1.2.3.4.5x"},
                                                        {"abc", "abc"},
                                                        {"", ""}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(C::FormatVersion4SegCleanDust(text), expected) << text;
    }
}

TEST_F(VersionTest, Comparison) {
    Check({{"1.2.3.4", "1.2.3.5", 1},
           {"1.0.9.0", "1.0.10.0", 1},
           {"2.0.0.0", "1.9.9.9", -1},
           {"1.3.0.0", "1.2.9.9", -1},
           {"01.2.3.4", "1.2.3.4", 0},
           {"1.2.3", "1.2.3.4", 0, true},
           {"1.2.3.4", "1.2.3.4a", 0, true}},
          "CheckVendorVersion4SegNormal", C::CheckVendorVersion4SegNormal);
    Check({{"2.02a4", "2.02a5", 1},
           {"2.02a4", "2.2a04", 0},
           {"2.10a1", "2.02a9", -1},
           {"2.02a9", "2.10a1", 1},
           {"1.99z9", "2.00a1", 1},
           {"2.02a9", "2.02a10", 1},
           {"2.02b1", "2.02a4", -1},
           {"2.02A9", "2.02a1", 1},
           {"2.02a9", "2.02aa1", 1},
           {"2.02", "2.02a4", 0, true},
           {"2.02a4", "11.2.156.27", 0, true}},
          "CheckVendorVersionFCFirmware", C::CheckVendorVersionFCFirmware);
    // One for segments; the letters' own difference, not reduced to one.
    EXPECT_EQ(C::CheckVendorVersion4SegNormal("1.2.3.4", "9.2.3.4"), 1);
    EXPECT_EQ(C::CheckVendorVersion4SegNormal("9.2.3.4", "1.2.3.4"), -1);
    EXPECT_EQ(C::CheckVendorVersionFCFirmware("2.02a1", "2.02d1"), std::string("d").compare("a"));
}

TEST_F(VersionTest, FcFirmwareIsParsedWholeOrRefused) {
    std::map<std::string, std::string> rows = {{"1.11x15", "1|11|x|15"},
                                               {"0.0zz0", "0|0|zz|0"},
                                               {"02.009Ab07", "2|9|Ab|7"},
                                               {"2.ab4", "2|0|b|4"}};
    for (const char* refused : {"2.02-4", "2.02a4b", "2.02a4.5", "2.02a", "2.a4", "a.02a4", ".02a4",
                                "2.02a-4", "2. 2a4", "2.2a4 ", "202a4", "2.", "", "2.02\3444"}) {
        rows[refused] = "7|7|old|7";
    }
    for (const auto& [text, expected] : rows) {
        long major = 7, minor = 7, build = 7;
        std::string letters = "old";
        const bool fits = C::CheckVersionFCFirmwareFormat(text, major, minor, letters, build);
        EXPECT_EQ(std::to_string(major) + "|" + std::to_string(minor) + "|" + letters + "|" +
                      std::to_string(build),
                  expected)
            << text;
        EXPECT_EQ(fits, expected != "7|7|old|7") << text;
        EXPECT_EQ(C::CheckVersionFCFirmwareFormat(text), fits) << text;
    }
    EXPECT_TRUE(host.Traced("1 CEmulexCommon::CheckVersionFCFirmwareFormat() version=[2.02a]"));
    EXPECT_TRUE(host.Traced("1 CEmulexCommon::CheckVersionFCFirmwareFormat() [02][009][Ab][07]"));
    EXPECT_EQ(Told(), "0");
}

}  // namespace
