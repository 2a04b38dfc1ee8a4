#include "provider/common/CEmulexCommon.h"
#include "provider/modules/CFC_EMULEX_16G_Firmware.h"
#include "provider/modules/CFC_EMULEX_8G_Firmware.h"
#include "tests/unit/PortTest.h"

#include <tuple>

namespace {

class FirmwareTest : public PortTest {
protected:
    std::string Line(const std::string& operation, const std::string& mark) const {
        return "4 " + operation + "() " + port + " " + mark;
    }

    const std::string unread = "GetHbaAttribData return:-1";
    const std::string cache = host.Cache(attributeFile);
    CEMULEX_Firmware module{device, wwpn};
    CFC_EMULEX_8G_Firmware gen8{device, wwpn};
    CFC_EMULEX_16G_Firmware gen16{device, wwpn};
};

TEST_F(FirmwareTest, VersionHasTheFormOfTheModel) {
    const std::string error = "Version format error. [";
    const std::string at8 = "0: 2 CFC_EMULEX_8G_Firmware::FormatVersionString() ";
    const std::string at16 = "CEMULEX_Firmware::FormatVersionString() ";
    const std::tuple<std::string, std::string, std::string, std::string, std::string> rows[] = {
        {"2.02a4(1)(2) x", "2.02a4", "abnormal", "", error + "2.02a4(1)(2) x]"},
        {"  2.02a4 ", "2.02a4", "abnormal", "", error + "2.02a4]"},
        {"11.2.156.27", "abnormal", "11.2.156.27", error + "11.2.156.27]", ""},
        {" 4.1.334.0a ", "abnormal", "4.1.334.0", error + "4.1.334.0a]", ""},
        {"(2.02a4)", "abnormal", "abnormal", error + "]", error + "(2.02a4)]"},
        {"", "abnormal", "abnormal", "Version empty []", error + "]"},
    };
    for (const auto& [value, version8, version16, complaint8, complaint16] : rows) {
        SCOPED_TRACE(value);
        Forget();
        EXPECT_EQ(gen16.FormatVersionString(value), version16);
        EXPECT_EQ(host.Frame(),
                  "4 " + at16 + "[" + value + "][START]; 4 " + at16 + "[" + version16 + "][END]");
        EXPECT_EQ(Told(), complaint16.empty() ? "0" : "0: 2 " + at16 + complaint16);
        EXPECT_EQ(gen8.FormatVersionString(value), version8);
        EXPECT_EQ(host.TraceCount("8G_Firmware::FormatVersionString() [START]"), 0);
        EXPECT_EQ(Told(), complaint8.empty() ? "0" : at8 + complaint8);
    }
}

TEST_F(FirmwareTest, OperatingVersionComesFromTheAdapter) {
    const std::string operation = "CEMULEX_Firmware::GetOperatingVersion";
    attributes = "FW Version :  2.02a4 \t\nDriver Version : 9.9.9.9\n";
    EXPECT_EQ(gen8.GetOperatingVersion(), "2.02a4");
    Forget();
    EXPECT_EQ(gen16.GetOperatingVersion(), "abnormal");
    EXPECT_EQ(host.Frame(),
              Line(operation, "[START]") + "; " + Line(operation, "[abnormal] [END]"));
    EXPECT_TRUE(host.Exists(cache));

    CEmulexCommon::DeleteHbaAttribCache(wwpn);
    attributes = "Other : 1\n";
    EXPECT_EQ(module.GetOperatingVersion(), "abnormal");
    EXPECT_EQ(host.Complaints().back(), "2 " + operation + "() " + unread);
    EXPECT_EQ(Runs("HbaAttributes"), 1);
    EXPECT_FALSE(host.Exists(cache));

    module.SetWWPNorMac("");
    Forget();
    EXPECT_EQ(module.GetOperatingVersion(), "abnormal");
    EXPECT_TRUE(host.commands.empty());
    EXPECT_EQ(Told(), "0");
}

TEST_F(FirmwareTest, EachModelComparesByItsRule) {
    const std::string segments1 = "1.2.3.4", segments2 = "1.2.3.5", fc1 = "2.02a4", fc2 = "2.02a5";
    const struct {
        CFirmware& firmware;
        std::string name, low, high, otherForm;
    } rows[] = {{module, "CEMULEX_Firmware", segments1, segments2, fc1},
                {gen8, "CFC_EMULEX_8G_Firmware", fc1, fc2, segments1},
                {gen16, "CFC_EMULEX_16G_Firmware", segments1, segments2, fc1}};
    for (const auto& row : rows) {
        const std::string operation = row.name + "::CheckVendorVersion";
        Forget();
        EXPECT_GT(row.firmware.CheckVendorVersion(row.low, row.high), 0);
        EXPECT_EQ(host.Frame(), Line(operation, "[START]") + "; " + Line(operation, "[1] [END]"));
        EXPECT_LT(row.firmware.CheckVendorVersion(row.high, row.low), 0);
        EXPECT_EQ(Told(), "0");
        EXPECT_EQ(row.firmware.CheckVendorVersion(row.low, row.otherForm), 0);
        EXPECT_EQ(host.messages, Lines{"MSGID_EMULEX_FC_0019_F 1e"});
    }
}

TEST_F(FirmwareTest, RestoreForgetsTheAdapterAndNeverFails) {
    const Lines files = {cache, host.Cache("CacheDump_0000-03-00.0-10df-e200.txt")};
    for (const std::string& file : files) {
        host.Write(file, "x");
    }
    EXPECT_EQ(module.UpdateRestore(""), 0);
    EXPECT_EQ(Told(), "0");
    for (const std::string& file : files) {
        EXPECT_FALSE(host.Exists(file)) << file;
        host.Fail(HostDouble::DeleteFile, file);
    }
    EXPECT_EQ(module.UpdateRestore(""), 0);
    EXPECT_TRUE(host.Traced("16 Failed to get delete HbaAttrib cache file."));
    EXPECT_TRUE(host.Traced("16 Failed to delete dump File."));
}

TEST_F(FirmwareTest, ApplyCheckHoldsTheAdapterAgainstTheUpdate) {
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"1.2.3.4", "1.2.3.4", ""},
        {"1.2.3.4", "1.2.3.5", "MSGID_EMULEX_FC_0009_F firm|1.2.3.4|1.2.3.5"},
        {"1.2.3.5", "1.2.3.4", "MSGID_EMULEX_FC_0009_F firm|1.2.3.5|1.2.3.4"},
        {"abnormal", "abnormal", "MSGID_EMULEX_FC_0008_F firm|abnormal|abnormal"}};
    for (const auto& [operating, update, message] : rows) {
        SCOPED_TRACE(operating + " and " + update);
        CEmulexCommon::DeleteHbaAttribCache(wwpn);
        Forget();
        attributes = "FW Version : " + operating + "\n";
        module.InitializeOperatingModuleInfo(update);
        EXPECT_EQ(module.UpdateApplyCheck(""), !message.empty());
        EXPECT_EQ(host.messages, message.empty() ? Lines{} : Lines{message});
        EXPECT_EQ(host.Traced("2 Operating Version(" + operating + ") and Update Version(" +
                              update + ") are mismatched"),
                  !message.empty());
    }
}

TEST_F(FirmwareTest, BootBiosVersionHasAFormOnlyOn8G) {
    const std::string operation = "CFC_EMULEX_Firmware::GetBootBiosVersion";
    const std::string check = "Firmware::CheckBootBiosVersionFormat() [";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {" 2.02a4 ", "2.02a4", "2.02a4"},
        {" 2.02a4 (x) ", "abnormal", "2.02a4 (x)"},
        {"  ", "abnormal", ""}};
    for (const auto& [value, version8, version16] : rows) {
        SCOPED_TRACE(value);
        CEmulexCommon::DeleteHbaAttribCache(wwpn);
        attributes = "FW Version : 1.1.1.1\nBoot Version : " + value + "\n";
        Forget();
        EXPECT_EQ(gen8.GetBootBiosVersion(), version8);
        EXPECT_EQ(host.Frame(),
                  Line(operation, "[START]") + "; " + Line(operation, "[" + version8 + "] [END]"));
        EXPECT_EQ(gen16.GetBootBiosVersion(), version16);
        for (const std::string& line :
             {"8G_" + check + version16 + "][START]", "8G_" + check + version8 + "][END]",
              check + version16 + "][START]", check + version16 + "][END]"}) {
            EXPECT_TRUE(host.Traced("4 CFC_EMULEX_" + line)) << line;
        }
        EXPECT_EQ(Told(), "0");
    }
    attributes = "FW Version : 1.1.1.1\n";
    CEmulexCommon::DeleteHbaAttribCache(wwpn);
    for (const std::string& known : {wwpn, std::string()}) {
        gen16.SetWWPNorMac(known);
        EXPECT_EQ(gen16.GetBootBiosVersion(), "abnormal");
        EXPECT_EQ(host.Complaints().back(), "2 " + operation + "() " + unread);
        EXPECT_TRUE(host.Exists(cache));
        Forget();
    }
}

TEST_F(FirmwareTest, ConstructionAndEndTellThePort) {
    Forget();
    { CFC_EMULEX_8G_Firmware other(device, wwpn); }
    Lines expected;
    for (const char* operation :
         {"CEMULEX_Firmware::CEMULEX_Firmware", "CFC_EMULEX_Firmware::CFC_EMULEX_Firmware",
          "CFC_EMULEX_8G_Firmware::CFC_EMULEX_8G_Firmware",
          "CFC_EMULEX_8G_Firmware::~CFC_EMULEX_8G_Firmware",
          "CFC_EMULEX_Firmware::~CFC_EMULEX_Firmware", "CEMULEX_Firmware::~CEMULEX_Firmware"}) {
        expected.push_back(Line(operation, "[START]"));
        expected.push_back(Line(operation, "[END]"));
    }
    expected[1].insert(expected[1].find('['), " ");  // the second blank is relied on
    EXPECT_EQ(host.traces, expected);
}

}  // namespace
