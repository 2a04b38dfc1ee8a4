#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <map>
#include <tuple>

#include "host/CCommon_Information.h"
#include "host/CQdmXmlWrite.h"
#include "host/CStringUtil.h"
#include "host/ComLib/PciDevices.h"
#include "host/ComLib/PciModalias.h"
#include "host/PrivateProfile.h"
#include "tests/host/HostFixture.h"

using Parts = std::vector<std::string>;

TEST(Strings, SplitReplaceTrimAndCase) {
    const std::tuple<std::string, std::string, Parts> splits[] = {
        {"", ".", {""}},
        {"a..b.", ".", {"a", "", "b", ""}},
        {"a<>b", "<>", {"a", "b"}},
        {"ab", "", {"ab"}}};
    for (auto [text, separator, parts] : splits) {
        EXPECT_EQ(CStringUtil::Split(text, separator), parts) << text;
    }
    const std::tuple<std::string, std::string, std::string, std::string> rows[] = {
        {"a\"b\"", "\"", "", "ab"},
        {"aa", "a", "aa", "aaaa"},
        {"aaa", "aa", "b", "ba"},
        {"abc", "", "x", "abc"}};
    for (auto [text, from, to, result] : rows) {
        CStringUtil::strReplace(text, from, to);
        EXPECT_EQ(text, result);
    }
    std::string out = "old";
    CStringUtil::strTrimAll("\t\r\n a b \n", out);
    EXPECT_EQ(out, "a b");
    CStringUtil::strTrimAll(" \t", out);
    EXPECT_EQ(out, "");
    EXPECT_EQ(CStringUtil::StringToUpperCase("azZ-\xe4"), "AZZ-\xe4");
}

TEST(Strings, NumbersAndVersionsWholeOrNotAtAll) {
    const char *big = "99999999999999999999", *low = "-99999999999999999999";
    const std::tuple<const char*, long, bool, bool> rows[] = {
        {"0012", 12, true, false},      {"-5", -5, false, false},
        {"", 0, false, false},          {"12a", 0, false, false},
        {" 1", 0, false, false},        {big, LONG_MAX, true, false},
        {low, LONG_MIN, false, false},  {"11.2.156.27", 0, false, true},
        {"1.2.3", 0, false, false},     {"1.2..4", 0, false, false},
        {"1.2.3.4.5", 0, false, false}, {"1.2.3.4a", 0, false, false}};
    for (const auto& [text, number, digits, version] : rows) {
        EXPECT_EQ(CStringUtil::TStringToNumber(text), number) << text;
        EXPECT_EQ(CStringUtil::IsDigitString(text), digits) << text;
        EXPECT_EQ(CStringUtil::CheckVersion4SegFormat(text), version) << text;
    }
}

TEST(Pci, Identifiers) {
    std::map<std::string, std::string> rows = {
        {"03:1f.7-10df-e200", "0000:03:1f.7-10df-e200"},
        {"0001:ff:00.1-10df-e200", "0001:ff:00.1-10df-e200"}};
    for (const char* refused :
         {"", "0000:03:00.0", "0000:03:00.0-10df", "0000:03:00.0-10DF-f100",
          "0000:03:00.0-10df-f100-0", "0000:03:00.0-10df-f100\n", " 0000:03:00.0-10df-f100",
          "0000:03:20.0-10df-f100", "0000:03:00.8-10df-f100", "0000:3:00.0-10df-f100",
          "00000:03:00.0-10df-f100", "0000:03:00.0;id-10df-f100", "$(id)-10df-f100",
          "0000:03:00.0-10df-"}) {
        rows[refused] = "";
    }
    for (const auto& [text, canonical] : rows) {
        SCOPED_TRACE(text);
        const auto identifier = ParseDeviceIdentifier(text);
        EXPECT_EQ(identifier ? identifier->Text() : "", canonical);
        std::string vendor = "kept", device = "kept";
        EXPECT_EQ(CStringUtil::GetVenIdDevIdformDeviceId(text, vendor, device),
                  identifier.has_value());
        EXPECT_EQ(vendor + device, identifier ? "10dfe200" : "keptkept");
        int bus = -1;
        // No machine has such a device; that a listed one is found is shown in the lab.
        EXPECT_FALSE(CCommon_Information::GetPCIInfo(text, &bus, &bus, &bus, "test"));
        EXPECT_EQ(bus, -1);
    }
}

TEST(PciModalias, IsTakenWholeOrNotAtAll) {
    const std::string sound = "pci:v000010DFd0000E200sv000010DFsd0000E282bc0Csc04i00\n";
    const auto device = ParsePciModalias(sound);
    ASSERT_TRUE(device);
    EXPECT_EQ(std::tie(device->vendor, device->device, device->subsystemVendor,
                       device->subsystemDevice, device->classCode),
              std::make_tuple("10df", "e200", "10df", "e282", 0xc0400U));
    const std::pair<std::string, std::string> damages[] = {
        {"pci:v0", "pci:v1"}, {"pci:", "usb:"},   {"d0000E200", "d0000E20"}, {"E282", "e282"},
        {"E282", "E2G2"},     {"sv000010DF", ""}, {"bc0C", "bcC"},           {"i00\n", "i00"},
        {"i00\n", "i00\nx"},  {"i00\n", "i0\n"}};
    for (const auto& [part, damaged] : damages) {
        std::string text = sound;
        text.replace(text.find(part), part.size(), damaged);
        EXPECT_FALSE(ParsePciModalias(text)) << text;
    }
    EXPECT_FALSE(ParsePciModalias(""));
}

TEST(Ini, Values) {
    const std::string file = NewFolder() + "/list.ini";
    const std::string longValue = std::string(300, 'v') + " ; " + std::string(300, 'w');
    const std::string longName(60, 'n');
    WriteText(file,
              "before = none\r\n; key = comment\n[Suport Device]\r\nNum = 12 \r\n  Indented = x\n"
              "Num = second\nno value\nBad = 12a\nBig = 99999999999\nColon: c = d\nLong = " +
                  longValue + "\n[" + longName + "]\nHidden = x\n" + std::string("[Cut]\0x", 7) +
                  "\nHidden = x\n[other]\nNum=-3\nEmpty=\nlast = end");
    const std::tuple<const char*, const char*, std::string, int> rows[] = {
        {"SUPORT DEVICE", "num", "12", 12},
        {"Suport Device", "Indented", "x", 0},
        {"Suport Device", "Bad", "12a", 0},
        {"Suport Device", "Big", "99999999999", 0},
        {"Suport Device", "Long", longValue, 0},
        {longName.c_str() + 11, "Hidden", "none there", -7},
        {"Cut", "Hidden", "none there", -7},
        {"Suport Device", "Hidden", "none there", -7},
        {"Suport Device", "Colon", "c = d", 0},
        {"Suport Device", "Empty", "none there", -7},
        {"other", "Num", "-3", -3},
        {"other", "Empty", "", 0},
        {"other", "last", "end", 0},
        {"", "before", "none", 0},
        {"other", "key", "none there", -7},
    };
    for (const auto& [section, key, text, number] : rows) {
        SCOPED_TRACE(std::string(section) + " " + key);
        char buffer[1024];
        EXPECT_EQ(GetPrivateProfileStringA(section, key, "none there", buffer, sizeof buffer,
                                           file.c_str()),
                  text.size());
        EXPECT_EQ(buffer, text);
        EXPECT_EQ(GetPrivateProfileIntA(section, key, -7, file.c_str()), number);
    }
}

TEST(Ini, BuffersAndFiles) {
    const std::string folder = NewFolder();
    WriteText(folder + "/a.ini", "[s]\nk=abcdef\n");
    WriteText(folder + "/huge.ini", "[s]\nk=v\n" + std::string(1 << 20, ';'));
    char buffer[8] = "-------";
    const auto read = [&](const char* fallback, unsigned size, const std::string& file) {
        return GetPrivateProfileStringA("s", "k", fallback, buffer, size, file.c_str());
    };
    EXPECT_EQ(read("", 4, folder + "/a.ini"), 3U);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_STREQ(buffer + 4, "---") << "nothing is written behind the buffer's size";
    EXPECT_EQ(read("", 0, folder + "/a.ini"), 0U);
    EXPECT_EQ(read("", 6, folder + "/a.ini"), 5U) << "room for the end";
    ASSERT_EQ(mkfifo((folder + "/pipe.ini").c_str(), 0600), 0);
    for (const char* file : {"/missing.ini", "/huge.ini", "/pipe.ini", ""}) {
        EXPECT_EQ(read("fall", sizeof buffer, folder + file), 4U) << file;
    }
    EXPECT_EQ(read(nullptr, sizeof buffer, folder), 0U);
}

TEST(Xml, WritesWellFormedDocuments) {
    const std::string file = NewFolder() + "/report.xml";
    CQdmXmlNode attribute("attr");
    CQdmXmlNode root("root"), outer("outer");
    outer.addChildNode(CQdmXmlNode("inner"));
    root.addChildNode(outer);
    for (const std::string& value : {std::string("a<&>\"'b"), std::string("\x01\x1b tab\t\xff"),
                                     std::string("\xc3\xa4\xed\xa0\x80\xe0\x80\xaf")}) {
        attribute.addAttribute("name", "n");
        attribute.addAttribute("value", value);
        root.addChildNode(attribute);
    }
    attribute.clearAttribute();
    root.addChildNode(attribute);
    WriteText(file, "old");
    std::string replaced;  // what overlong characters and halves of pairs become
    for (int i = 0; i < 6; ++i) {
        replaced += "\xef\xbf\xbd";
    }
    ASSERT_TRUE(CQdmXmlWrite().writeXML(file, root));
    EXPECT_EQ(ReadText(file),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n"
              "  <outer>\n    <inner />\n  </outer>\n"
              "  <attr name=\"n\" value=\"a&lt;&amp;>&quot;'b\" />\n"
              "  <attr name=\"n\" value=\" tab&#09;\xef\xbf\xbd\" />\n"
              "  <attr name=\"n\" value=\"\xc3\xa4" +
                  replaced +
                  "\" />\n"
                  "  <attr />\n</root>\n");
    EXPECT_FALSE(CQdmXmlWrite().writeXML(file, CQdmXmlNode("not a name")));
    EXPECT_FALSE(CQdmXmlWrite().writeXML(file, CQdmXmlNode("1name")));
    EXPECT_FALSE(CQdmXmlWrite().writeXML(file + "/below/a/file", root));
    ASSERT_EQ(mkdir((file + ".d").c_str(), 0700), 0);
    EXPECT_FALSE(CQdmXmlWrite().writeXML(file + ".d", root)) << "a folder";
    EXPECT_EQ(ReadText(file).substr(0, 5), "<?xml") << "a failure leaves the old document";
    EXPECT_EQ(EntriesOf(file.substr(0, file.rfind('/'))), (Parts{"report.xml", "report.xml.d"}));
}
