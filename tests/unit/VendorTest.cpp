#include "host/CFirmware.h"
#include "provider/CFC_EMULEX_16G_Vendor.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/CFC_EMULEX_16G_Firmware.h"
#include "provider/modules/CFC_EMULEX_Driver.h"
#include "tests/unit/PortTest.h"

#include <tuple>

namespace {

struct Vendor : CFC_EMULEX_16G_Vendor {
    using CFC_EMULEX_16G_Vendor::CFC_EMULEX_16G_Vendor;
    using CVendor::driverModule;
    using CVendor::firmwareModule;
    using CVendor::utilityModules;
};

// A module that is not the provider's own.
template <class Base>
struct Foreign : Base {
    using Base::Base;
    std::string GetOperatingVersion() override { return "1"; }
    int CheckVendorVersion(std::string, std::string) override { return 0; }
};

class VendorTest : public PortTest {
protected:
    Vendor vendor{device};
};

TEST_F(VendorTest, AdapterListIsRefreshedByItsAge) {
    const std::string file = host.Cache("Listhbas.txt");
    const std::pair<std::optional<long>, bool> rows[] = {
        {std::nullopt, true}, {0, false}, {3599, false}, {3600, true}, {-1, true}};
    for (const auto& [age, refreshed] : rows) {
        SCOPED_TRACE(age.value_or(999999));
        Vendor fresh(device);
        Forget();
        if (age) {
            host.Write(file, list);
            host.SetAge(file, *age);
        }
        EXPECT_EQ(fresh.GetWWPNOriginal(), wwpn);
        EXPECT_EQ(host.CommandLines(), refreshed ? Lines{tool + " listhbas "} : Lines{});
        EXPECT_EQ(host.Traced("1 Update listHbas File " + device), refreshed);
        EXPECT_EQ(host.Traced("1 Skip update listHbas File " + device), !refreshed);
        EXPECT_EQ(host.Traced("1 listbhas file elapse time [" + std::to_string(age.value_or(0)) +
                              "] sec"),
                  age.has_value());
        EXPECT_TRUE(host.Traced("1 CFC_EMULEX_Vendor WWNP[" + wwpn + "]"));
    }
}

TEST_F(VendorTest, KnownWwpnIsLookedUpNoMore) {
    EXPECT_EQ(vendor.GetWWPNEditedforDisplay(), "");
    vendor.GetWWPNOriginal();
    EXPECT_EQ(vendor.GetWWPNEditedforDisplay(), "10000000C9ABCDEF");
    host.hbacmdInstalled = false;
    host.pci.clear();
    Forget();
    EXPECT_EQ(vendor.GetWWPNOriginal(), wwpn);
    EXPECT_EQ(host.traces, Lines{"4 CFC_EMULEX_Vendor::GetWWPNOriginal() " + port});
}

TEST_F(VendorTest, WithoutToolTheWwpnStaysUnknown) {
    host.hbacmdInstalled = false;
    host.traces.clear();
    EXPECT_EQ(vendor.GetWWPNOriginal(), "");
    EXPECT_EQ(host.messages,
              Lines{"MSGID_EMULEX_FC_0013_F vendor|b|Emulex|FC|One Command Manager"});
    EXPECT_EQ(host.Complaints().back(), "2 Failed to get OCM Path");
    EXPECT_EQ(host.Frame(), (Lines{"4 CFC_EMULEX_Vendor::GetWWPNOriginal() [START]",
                                   "4 CFC_EMULEX_Vendor::CFC_EMULEX_Vendor() [END]"}));
}

TEST_F(VendorTest, ListThatDoesNotTellTheWwpnIsDropped) {
    const std::tuple<std::string, Lines> rows[] = {
        {ListRecord("Port WWN : " + wwpn, 1), {"MSGID_EMULEX_FC_0001_F vendor|e"}},
        {"Serial No.     : S1\n", {"MSGID_EMULEX_FC_0001_F vendor|f"}},
        {ListRecord("Permanent MAC  : 00:00:c9:00:00:01"), {}}};
    for (const auto& [text, messages] : rows) {
        SCOPED_TRACE(text);
        Forget();
        list = text;
        EXPECT_EQ(vendor.GetWWPNOriginal(), "");
        EXPECT_EQ(host.messages, messages);
        EXPECT_EQ(host.Traced("2 Failed to get HBA Info"), !messages.empty());
        EXPECT_FALSE(host.Exists(host.Cache("Listhbas.txt")));
        EXPECT_EQ(host.traces.back(), "4 CFC_EMULEX_Vendor::GetWWPNOriginal() [END]");
    }
    list = ListRecord("Port WWN       : " + wwpn);
    EXPECT_EQ(vendor.GetWWPNOriginal(), wwpn);
}

TEST_F(VendorTest, WwpnFoundLaterReachesTheModules) {
    const std::string good = std::exchange(list, "Serial No.     : S1\n");
    vendor.LinkDevice();
    EXPECT_EQ(vendor.firmwareModule->GetOperatingVersion(), "abnormal");
    EXPECT_EQ(vendor.driverModule->GetOperatingVersion(), "abnormal");
    list = good;
    EXPECT_EQ(vendor.CheckHardwareVersion("", ""), 0);
    EXPECT_EQ(vendor.firmwareModule->GetOperatingVersion(), "11.2.156.27");
    EXPECT_EQ(vendor.driverModule->GetOperatingVersion(), "11.2.0.5");
}

TEST_F(VendorTest, WwpnFoundWhileLinkingIsNotForTheDriverModuleOfBefore) {
    CFC_EMULEX_Driver before(device, "", "");
    vendor.driverModule = &before;
    host.run = [this, answer = host.run](const HostCommand& command) {
        return Runs("listhbas") == 1 ? Ran{"Serial No.\n"} : answer(command);
    };
    vendor.LinkDevice();
    EXPECT_EQ(vendor.driverModule->GetOperatingVersion(), "11.2.0.5");
    EXPECT_EQ(before.GetOperatingVersion(), "abnormal");
}

TEST_F(VendorTest, ForeignAndMissingModulesAreLeftAlone) {
    vendor.firmwareModule = new Foreign<CFirmware>(device);
    EXPECT_EQ(vendor.GetWWPNOriginal(), wwpn);
    vendor.driverModule = new CFC_EMULEX_Driver(device, "", wwpn);
    vendor.ExecOutputDeviceConfigInfo("", nullptr);
    EXPECT_EQ(std::exchange(vendor.stVerFC, {}).back().bootBios, "abnormal");
    vendor.stGenFC.clear();
}

TEST_F(VendorTest, LocationIsLookedUpUntilFound) {
    host.pci.clear();
    EXPECT_EQ(vendor.GetBusDevFunc(), "-/-/-");
    EXPECT_EQ(host.Complaints(), Lines{"2 GetBusDevFunc() Bus/Dev/Func not infomation."});
    EXPECT_TRUE(host.Traced("1 GetBusDevFunc() Bus/Dev/Func[-/-/-]"));
    host.pci[device] = {17, 2, 1};
    EXPECT_EQ(vendor.GetBusDevFunc(), "17/2/1");
    EXPECT_TRUE(host.Traced("1 GetBusDevFunc() Bus/Dev/Func[17/2/1]"));
    host.pci.clear();
    EXPECT_EQ(vendor.GetBusDevFunc(), "17/2/1");
}

TEST_F(VendorTest, ExtendedInfoIsReplaced) {
    using Info = std::list<std::pair<std::string, std::string>>;
    Info info = {{"old", "x"}, {"older", "y"}};
    vendor.GetExtendedInfo(&info);
    EXPECT_EQ(info, (Info{{"WWPN", ""}, {"Bus/Dev/Func", "3/0/0"}}));
    EXPECT_TRUE(host.commands.empty());
    vendor.GetWWPNOriginal();
    vendor.GetExtendedInfo(&info);
    EXPECT_EQ(info, (Info{{"WWPN", "10000000C9ABCDEF"}, {"Bus/Dev/Func", "3/0/0"}}));
    vendor.GetExtendedInfo(nullptr);
    EXPECT_EQ(host.Complaints().back(),
              "2 CCNA_EMULEX_Vendor::GetExtendedInfo() Parameter ExtendedInfoList is NULL.");
}

TEST_F(VendorTest, UpdatesUtilityThenFirmwareThenDriver) {
    const std::pair<int, const char*> rows[] = {{0, "util"}, {1, "firm"}, {2, "driver"}, {3, ""}};
    for (const auto& [order, kind] : rows) {
        EXPECT_EQ(vendor.GetUpdateOrderModuleKind(static_cast<CVendor::UPDATE_ORDER>(order), true),
                  kind);
    }
}

TEST_F(VendorTest, OnlyTheUtilityHasAConditionOfTheVendor) {
    const auto check = [this](const char* kind) {
        return vendor.CheckUpdateConditionByDevicevendor(kind, nullptr);
    };
    vendor.LinkDevice();
    CEmulexCommon::SetLastError(38);
    EXPECT_EQ(check("util"), 1);  // no configuration files
    EXPECT_EQ(host.messages, Lines{"MSGID_EMULEX_FC_0010_F vendor|11"});
    EXPECT_EQ(check("firm") + check("driver"), 0);
    host.Write(host.Etc("emulexDiscConfig"), "TcpSocketPortNumber:1\n");
    CEmulexCommon::SetLastError(38);
    EXPECT_EQ(check("util"), 1);  // a wrong value leaves the last error
    EXPECT_EQ(host.messages.back(), "MSGID_EMULEX_FC_0010_F vendor|26");
    EXPECT_EQ(host.messages.size(), 2u);
}

TEST_F(VendorTest, ConditionIsThatOfTheModuleNamedOcm) {
    const std::pair<Lines, int> rows[] = {
        {{}, 0}, {{"other"}, 0}, {{"ocm"}, 0}, {{"other", "ours"}, 1}, {{"ocm", "ours"}, 0}};
    for (const auto& [names, result] : rows) {
        Vendor other(device);
        for (const std::string& name : names) {
            other.utilityModules.push_back(
                name == "ours" ? static_cast<CUtility*>(new CEMULEX_OCM_Utility(device))
                               : new Foreign<CUtility>(device, name));
        }
        EXPECT_EQ(other.CheckUpdateConditionByDevicevendor("util", nullptr), result)
            << ::testing::PrintToString(names);
    }
}

TEST_F(VendorTest, MissingUtilityIsAddedToTheShortages) {
    std::list<CNecessaryComponentInfo> missing(1);
    vendor.GetShortageOfNecessaryApplicationInfo(missing);
    EXPECT_EQ(missing.size(), 1u);
    host.hbacmdInstalled = false;
    vendor.GetShortageOfNecessaryApplicationInfo(missing);
    ASSERT_EQ(missing.size(), 2u);
    EXPECT_EQ(missing.back().name, "One Command Manager");
}

TEST_F(VendorTest, ConstructionMakesTheWorkAreaOrGoesOnWithout) {
    host.Reset();
    { Vendor other(device); }
    EXPECT_TRUE(host.Exists(host.Cache()) && host.Exists(host.Temp()));
    EXPECT_TRUE(host.Complaints().empty());
    host.Reset();
    host.Fail(HostDouble::CreateFolder, host.Root() + "/tmp/EMULEX/temp");
    Vendor other(device);
    EXPECT_EQ(host.Complaints(), Lines{"2 Failed to create directory"});
    EXPECT_EQ(other.GetDeviceInfo(), "emulex fcelx_16g " + device);
}

}  // namespace
