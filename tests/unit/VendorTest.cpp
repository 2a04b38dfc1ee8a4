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
    using Info = std::list<std::pair<std::string, std::string>>;
    Vendor vendor{device};
};

TEST_F(VendorTest, AdapterListIsRefreshedByItsAge) {
    constexpr long missing = 99;
    const std::string file = host.Cache("Listhbas.txt");
    for (const auto& [age, refreshed] : std::map<long, bool>{
             {missing, true}, {0, false}, {3599, false}, {3600, true}, {-1, true}}) {
        SCOPED_TRACE(age);
        Vendor fresh(device);
        Forget();
        host.Write(file, list);
        host.SetAge(file, age);
        if (age == missing) {
            std::filesystem::remove(file);
        }
        EXPECT_EQ(fresh.GetWWPNOriginal(), wwpn);
        EXPECT_EQ(host.CommandLines(), refreshed ? Lines{tool + " listhbas "} : Lines{});
        EXPECT_EQ(host.Traced("1 Update listHbas File " + device), refreshed);
        EXPECT_EQ(host.Traced("1 Skip update listHbas File " + device), !refreshed);
        EXPECT_EQ(host.Traced("1 listhbas file elapse time [" + std::to_string(age) + "] sec"),
                  age != missing);
        EXPECT_TRUE(host.Traced("1 CFC_EMULEX_Vendor WWNP[" + wwpn + "]"));
    }
}

TEST_F(VendorTest, AdapterListWrittenWhenASecondBeginsIsNew) {
    const std::string file = host.Cache("Listhbas.txt");
    host.Write(file, list);
    timespec begun{};
    timespec ended{};
    do {  // within one second of the true clock
        Forget();
        clock_gettime(CLOCK_REALTIME, &begun);
        host.clock = begun.tv_sec - 1;  // still, for up to a tick
        host.SetAge(file, -1);
        EXPECT_EQ(Vendor(device).GetWWPNOriginal(), wwpn);
        clock_gettime(CLOCK_REALTIME, &ended);
    } while (begun.tv_sec != ended.tv_sec);
    EXPECT_EQ(host.CommandLines(), Lines{});
}

TEST_F(VendorTest, KnownWwpnAndLocationAreLookedUpNoMore) {
    const auto location = host.pci;
    Info info = {{"old", "x"}, {"older", "y"}};
    host.pci.clear();
    vendor.GetExtendedInfo(&info);
    EXPECT_EQ(info, (Info{{"WWPN", ""}, {"Bus/Dev/Func", "-/-/-"}}));
    EXPECT_TRUE(host.commands.empty());
    EXPECT_TRUE(host.Traced("1 GetBusDevFunc() Bus/Dev/Func[-/-/-]"));
    EXPECT_EQ(Told(), "0: 2 GetBusDevFunc() Bus/Dev/Func not infomation.");
    host.pci[device] = {17, 2, 1};
    EXPECT_EQ(vendor.GetBusDevFunc(), "17/2/1");
    EXPECT_TRUE(host.Traced("1 GetBusDevFunc() Bus/Dev/Func[17/2/1]"));
    host.pci = location;
    EXPECT_EQ(vendor.GetWWPNOriginal(), wwpn);
    host.hbacmdInstalled = false;
    host.pci.clear();
    Forget();
    EXPECT_EQ(vendor.GetWWPNOriginal(), wwpn);
    EXPECT_EQ(host.traces, Lines{"4 CFC_EMULEX_Vendor::GetWWPNOriginal() " + port});
    vendor.GetExtendedInfo(&info);
    EXPECT_EQ(info, (Info{{"WWPN", "10000000C9ABCDEF"}, {"Bus/Dev/Func", "17/2/1"}}));
    vendor.GetExtendedInfo(nullptr);
    EXPECT_EQ(host.Complaints().back(),
              "2 CCNA_EMULEX_Vendor::GetExtendedInfo() Parameter ExtendedInfoList is NULL.");
}

TEST_F(VendorTest, WithoutToolTheWwpnStaysUnknown) {
    host.hbacmdInstalled = false;
    Forget();
    EXPECT_EQ(vendor.GetWWPNOriginal(), "");
    EXPECT_EQ(host.Frame(),
              "4 CFC_EMULEX_Vendor::GetWWPNOriginal() [START]; "
              "4 CFC_EMULEX_Vendor::CFC_EMULEX_Vendor() [END]");
    EXPECT_EQ(host.Complaints().back(), "2 Failed to get OCM Path");
    EXPECT_EQ(host.messages,
              Lines{"MSGID_EMULEX_FC_0013_F vendor|b|Emulex|FC|One Command Manager"});
    std::list<CNecessaryComponentInfo> shortages(1);
    vendor.GetShortageOfNecessaryApplicationInfo(shortages);
    ASSERT_EQ(shortages.size(), 2u);
    EXPECT_EQ(shortages.back().name, "One Command Manager");
    host.hbacmdInstalled = true;
    vendor.GetShortageOfNecessaryApplicationInfo(shortages);
    EXPECT_EQ(shortages.size(), 2u);
}

TEST_F(VendorTest, ListThatDoesNotTellTheWwpnIsDropped) {
    const std::map<std::string, Lines> rows = {
        {ListRecord("Port WWN : " + wwpn, 1), {"MSGID_EMULEX_FC_0001_F vendor|e"}},
        {"Serial No.     : S1\n", {"MSGID_EMULEX_FC_0001_F vendor|f"}},
        {ListRecord("Permanent MAC  : 00:00:c9:00:00:01"), {}}};
    const std::string good = list;
    vendor.firmwareModule = new Foreign<CFirmware>(device);  // is told nothing
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
    list = good;
    EXPECT_EQ(vendor.GetWWPNOriginal(), wwpn);
    vendor.driverModule = new CFC_EMULEX_Driver(device, "", wwpn);
    vendor.ExecOutputDeviceConfigInfo("", nullptr);
    EXPECT_EQ(std::exchange(vendor.stVerFC, {}).back().bootBios, "abnormal");
    vendor.stGenFC.clear();
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

TEST_F(VendorTest, OnlyTheUtilityHasAConditionOfTheVendor) {
    vendor.LinkDevice();
    host.Write(host.Etc("emulexRMConfig"), "");
    const std::tuple<std::string, std::string, int, Lines> rows[] = {
        {"util", "emulexRMConfig", 1, {"MSGID_EMULEX_FC_0010_F vendor|11"}},  // a file is missing
        {"firm", "", 0, {}},
        {"driver", "", 0, {}},
        // A wrong value leaves the last error.
        {"util", "emulexDiscConfig", 1, {"MSGID_EMULEX_FC_0010_F vendor|26"}}};
    for (const auto& [kind, file, result, messages] : rows) {
        Forget();
        host.Write(host.Etc(file), "TcpSocketPortNumber:1\n");
        CEmulexCommon::SetLastError(38);
        EXPECT_EQ(vendor.CheckUpdateConditionByDevicevendor(kind, nullptr), result) << kind;
        EXPECT_EQ(host.messages, messages) << kind;
    }
}

TEST_F(VendorTest, ConditionAndOrderOfTheKinds) {
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
    const char* kinds[] = {"util", "firm", "driver", ""};
    for (int order = 0; order < 4; ++order) {
        EXPECT_EQ(vendor.GetUpdateOrderModuleKind(static_cast<CVendor::UPDATE_ORDER>(order), true),
                  kinds[order]);
    }
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
