#include "provider/common/CEmulexCommon.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/CFC_EMULEX_16G_Firmware.h"
#include "provider/modules/CFC_EMULEX_Driver.h"
#include "tests/unit/PortTest.h"

#include <tuple>

namespace {

template <class Base>
struct Open : Base {
    using Base::Base;
    using Base::updateTimeVersion;
};

class InventoryTest : public PortTest {
protected:
    const std::string file = host.Cache("HbaVersion.txt");
    const std::string format = "_EMULEX_Driver::FormatVersionString() ";
    const std::string prefix = "CEMULEX_OCM_Utility::GetOperatingVersion() ";
    CEMULEX_OCM_Utility utility{device};
    Open<CFC_EMULEX_Driver> driver{device, "", wwpn};
};

TEST_F(InventoryTest, DriverVersionHasTheFormOfTheClass) {
    const std::string error = "Version format error. [";
    const std::tuple<std::string, std::string, std::string, std::string> rows[] = {
        {" 11.2.0.5a ", "11.2.0.5", "", ""},
        {"11.2.0.5 ; HBAAPI; x", "11.2.0.5", "", ""},
        {"11.2.0;.5", "abnormal", error + "11.2.0;.5]", error + "11.2.0]"},
        {";1.2.3.4", "abnormal", error + ";1.2.3.4]", error + "]"},
        {"", "abnormal", error + "]", "Version empty []"}};
    CEMULEX_Driver base(device, "", wwpn);
    for (const auto& [value, expected, baseComplaint, fcComplaint] : rows) {
        SCOPED_TRACE(value);
        const std::string before = "0: 2 CEMULEX_Driver::FormatVersionString() ";
        Forget();
        EXPECT_EQ(base.FormatVersionString(value), expected);
        EXPECT_EQ(Told(), baseComplaint.empty() ? "0" : before + baseComplaint);
        EXPECT_EQ(driver.FormatVersionString(value), expected);
        EXPECT_EQ(host.Frame(), "4 CFC" + format + "[" + value + "][START]; 4 CFC" + format + "[" +
                                    expected + "][END]");
        EXPECT_EQ(Told(), fcComplaint.empty() ? "0" : "0: 2 CFC" + format + fcComplaint);
    }
}

TEST_F(InventoryTest, DriverVersionComesFromTheAdapter) {
    attributes = "Driver Name : lpfc\nDriver Version :  11.2.0.5; API v2.3; x\n";
    EXPECT_EQ(driver.GetOperatingVersion(), "11.2.0.5");
    CEmulexCommon::DeleteHbaAttribCache(wwpn);
    attributes = "FW Version : 9.9.9.9\n";
    EXPECT_EQ(driver.GetOperatingVersion(), "abnormal");
    EXPECT_TRUE(host.Traced("2 CEMULEX_Driver::GetOperatingVersion() GetHbaAttribData return:-1"));
    EXPECT_FALSE(host.Exists(host.Cache(attributeFile)));
    host.commands.clear();
    driver.SetWWPNorMac("");
    driver.SetUpdateProgress(50);
    EXPECT_EQ(driver.GetOperatingVersion(), "abnormal");
    EXPECT_TRUE(host.commands.empty());
}

TEST_F(InventoryTest, DriverTracesNamePortAndResult) {
    CEMULEX_Driver other("first", "second", "w");
    EXPECT_EQ(other.GetModuleName(), "second");
    const std::string values = "() [second] [first] [w] ";
    EXPECT_TRUE(host.Traced("4 CEMULEX_Driver::CEMULEX_Driver" + values + "[START]"));
    EXPECT_TRUE(host.Traced("4 CEMULEX_Driver::CEMULEX_Driver" + values + "[END]"));
    Forget();
    const std::string at = "4 CEMULEX_Driver::CheckVendorVersion";
    EXPECT_LT(other.CheckVendorVersion("1.2.3.5", "1.2.3.4"), 0);
    EXPECT_EQ(host.Frame(), at + values + "[START]; " + at + values + "[END] return:-1");
    EXPECT_GT(utility.CheckVendorVersion("1.2.3.4", "1.2.3.5"), 0);
    EXPECT_LT(utility.CheckVendorVersion("1.2.3.5", "1.2.3.4"), 0);
}

// While a module is updated, the version at its begin or the one before stands for what runs.
TEST_F(InventoryTest, AdapterIsNotAskedWhileItIsUpdated) {
    Open<CFC_EMULEX_16G_Firmware> firmware(device, wwpn);
    struct Reader {
        CModuleManager& module;
        std::string &updateTimeVersion, name, running;
        std::function<std::string()> read;
    } readers[] = {{firmware, firmware.updateTimeVersion, "CEMULEX_Firmware::GetOperatingVersion",
                    "11.2.156.27", [&] { return firmware.GetOperatingVersion(); }},
                   {firmware, firmware.updateTimeVersion, "CFC_EMULEX_Firmware::GetBootBiosVersion",
                    "2.02a4", [&] { return firmware.GetBootBiosVersion(); }},
                   {driver, driver.updateTimeVersion, "CEMULEX_Driver::GetOperatingVersion",
                    "11.2.0.5", [&] { return driver.GetOperatingVersion(); }}};
    const std::tuple<int, std::string, std::string> rows[] = {
        {24, "1.1.1.1", ""}, {25, "1.1.1.1", "1.1.1.1"}, {84, "", "0.9.9.9"}, {85, "1.1.1.1", ""}};
    for (const Reader& reader : readers) {
        for (const auto& [progress, begun, expected] : rows) {
            SCOPED_TRACE(reader.name + " at " + std::to_string(progress));
            CEmulexCommon::DeleteHbaAttribCache(wwpn);
            Forget();
            reader.module.SetPrevVendorVersion("0.9.9.9");
            reader.module.SetUpdateProgress(progress);
            reader.updateTimeVersion = begun;
            const bool asked = expected.empty();
            EXPECT_EQ(reader.read(), asked ? reader.running : expected);
            EXPECT_EQ(Runs("HbaAttributes"), asked ? 1 : 0);
            EXPECT_EQ(host.Traced("1 " + reader.name + "() Update processing [" + wwpn + "] " +
                                  begun + " or 0.9.9.9"),
                      !asked);
        }
    }
}

TEST_F(InventoryTest, UtilityIsAskedOnceAnHour) {
    for (const long age : {0, 3600}) {
        SCOPED_TRACE(age);
        const bool asked = age == 3600;
        Forget();
        host.Write(file, "Command Line Interface: 1.1.1.1\n");
        host.SetAge(file, age);
        EXPECT_EQ(utility.GetOperatingVersion(), asked ? "10.2.370.16" : "1.1.1.1");
        EXPECT_EQ(host.CommandLines(), asked ? Lines{tool + " version  > " + file} : Lines{});
        EXPECT_EQ(host.Traced("1 " + prefix + "ExecForeignModule cmd:[\"" + tool +
                              " version  > \"" + file + "\"]"),
                  asked);
        EXPECT_TRUE(host.Traced("1 " + prefix + "Hba version file elapse time [" +
                                std::to_string(age) + "] sec"));
        EXPECT_TRUE(host.Traced("1 " + prefix + "strOutputFile:" + file));
    }
    host.SetAge(file, 7200);
    host.run = [](const HostCommand&) { return Ran{noText, 1}; };  // its old answer is not read
    Forget();
    EXPECT_EQ(utility.GetOperatingVersion(), "abnormal");
    EXPECT_TRUE(host.Traced("2 " + prefix + "command error"));
    EXPECT_EQ(host.TraceCount("strRetVal"), 0);
}

TEST_F(InventoryTest, UtilityVersionStandsBehindTheFirstColon) {
    const std::string empty = "operating version abnormal. []";
    const std::string malformed = "operating version format error. [";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {version, "10.2.370.16", ""},
        {"Title: 9.9.9.9\n\nThe Command Line Interface :10.2.370.16a\r\n", "10.2.370.16", ""},
        {"Command Line Interface: 1.2.3.4\nCommand Line Interface: 5.6.7.8\n", "1.2.3.4", ""},
        {"Command Line Interface 1.2\nCommand Line Interface: 1.2.3.4\n", "abnormal", empty},
        {"Command Line Interface:\n", "abnormal", empty},
        {"Command Line Interface: (1.2.3.4)\n", "abnormal", malformed + "]"},
        {"Command Line Interface: 1:1.2.3.4\n", "abnormal", malformed + "1:1.2.3.4]"},
        {"command line interface: 1.2.3.4\n", "abnormal", empty}};
    for (const auto& [text, expected, complaint] : rows) {
        SCOPED_TRACE(text);
        std::remove(file.c_str());
        Forget();
        version = text;
        EXPECT_EQ(utility.GetOperatingVersion(), expected);
        EXPECT_EQ(host.Frame(),
                  "4 " + prefix + "[START]; 4 " + prefix + "FixVersion:(" + expected + ") [END]");
        EXPECT_EQ(Told(), complaint.empty() ? "0" : "0: 2 " + prefix + complaint);
    }
}

TEST_F(InventoryTest, WithoutToolAnOldAnswerServes) {
    host.hbacmdInstalled = false;
    EXPECT_EQ(utility.GetOperatingVersion(), "abnormal");
    EXPECT_EQ(host.Complaints(), (Lines{"2 CEMULEX_OCM_Utility::GetOperatingVersion Fail OCMPath:",
                                        "2 " + prefix + "file open error:" + file,
                                        "2 " + prefix + "operating version abnormal. []"}));
    host.Write(file, "Command Line Interface: 1.1.1.1\n");
    host.SetAge(file, 7200);
    EXPECT_EQ(utility.GetOperatingVersion(), "1.1.1.1");
    EXPECT_TRUE(host.Traced("1 " + prefix + "strRetVal: 1.1.1.1"));
    EXPECT_TRUE(host.commands.empty() && host.messages.empty());
}

}  // namespace
