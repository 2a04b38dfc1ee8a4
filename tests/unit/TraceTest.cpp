#include "provider/CFC_EMULEX_16G_Vendor.h"
#include "provider/CFC_EMULEX_8G_1P_Vendor.h"
#include "provider/CFC_EMULEX_8G_2P_Vendor.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/CFC_EMULEX_16G_Firmware.h"
#include "provider/modules/CFC_EMULEX_Driver.h"
#include "tests/unit/PortTest.h"

#include <tuple>

namespace {

struct Operation {
    const char* name;
    std::function<void()> call;
};

class TraceTest : public PortTest {
protected:
    /// What is called traces its entry and its exit first and last.
    void ExpectFrames(const std::string& className, const std::vector<Operation>& operations,
                      const std::string& values = "") {
        for (const Operation& operation : operations) {
            Forget();
            operation.call();
            const std::string line = "4 " + className + "::" + operation.name + "() " + values;
            EXPECT_EQ(host.Frame(), line + "[START]; " + line + "[END]");
        }
    }
};

TEST_F(TraceTest, Common) {
    using C = CEmulexCommon;
    std::list<std::string> ids;
    std::string text;
    ExpectFrames("CEmulexCommon",
                 {{"SetLastError", [] { C::SetLastError(0); }},
                  {"GetLastError", [] { C::GetLastError(); }},
                  {"GetLastErrorToChractor", [] { C::GetLastErrorToChractor(); }},
                  {"FindNotDisitChar", [] { C::FindNotDisitChar("", 0); }},
                  {"GetProgramFilesFolder_", [&] { C::GetProgramFilesFolder_(&text); }},
                  {"ExecListhbasCommand", [] { C::ExecListhbasCommand(""); }},
                  {"GetHbaAttribData", [&] { C::GetHbaAttribData("", "", text); }},
                  {"DeleteHbaAttribCache", [] { C::DeleteHbaAttribCache(""); }},
                  {"CreateLocalDirectory", [] { C::CreateLocalDirectory(); }},
                  {"GetDumpCacheFilePath", [] { C::GetDumpCacheFilePath(""); }},
                  {"CheckDumpFileKeyWord_", [] { C::CheckDumpFileKeyWord_("", ""); }},
                  {"CheckUpdateResult_", [] { C::CheckUpdateResult_("", ""); }},
                  {"GetVenDevIdList", [&] { C::GetVenDevIdList("", &ids, &ids, &ids, &ids); }},
                  {"GetVenderIdList", [&] { C::GetVenderIdList(&ids); }},
                  {"FormatVersion4SegCleanDust", [] { C::FormatVersion4SegCleanDust(""); }},
                  {"CheckVersionFCFirmwareFormat", [] { C::CheckVersionFCFirmwareFormat(""); }}});
}

TEST_F(TraceTest, Vendor) {
    CFC_EMULEX_16G_Vendor vendor(device);
    vendor.LinkDevice();
    std::list<CNecessaryComponentInfo> missing;
    const auto order = CVendor::UPDATE_ORDER_FIRST;
    ExpectFrames(
        "CFC_EMULEX_Vendor",
        {{"GetHardwareVersione", [&] { vendor.GetHardwareVersion(); }},  // the odd spelling counts
         {"CheckHardwareVersion", [&] { vendor.CheckHardwareVersion("", ""); }},
         {"GetExtendedInfo", [&] { vendor.GetExtendedInfo(nullptr); }},
         {"GetUpdateOrderModuleKind", [&] { vendor.GetUpdateOrderModuleKind(order, false); }},
         {"CheckUpdateConditionByDevicevendor",
          [&] { vendor.CheckUpdateConditionByDevicevendor("firm", nullptr); }},
         {"GetShortageOfNecessaryApplicationInfo",
          [&] { vendor.GetShortageOfNecessaryApplicationInfo(missing); }},
         {"GetWWPNEditedforDisplay", [&] { vendor.GetWWPNEditedforDisplay(); }},
         {"GetBusDevFunc", [&] { vendor.GetBusDevFunc(); }},
         {"StartOutputDeviceConfigInfo", [&] { vendor.StartOutputDeviceConfigInfo("", nullptr); }},
         {"ExecOutputDeviceConfigInfo", [&] { vendor.ExecOutputDeviceConfigInfo("", nullptr); }},
         {"EndOutputDeviceConfigInfo",
          [&] { vendor.EndOutputDeviceConfigInfo(host.Temp(), nullptr); }}});
}

TEST_F(TraceTest, UpdateSteps) {
    CEMULEX_OCM_Utility utility(device);
    CFC_EMULEX_Driver driver(device, "", wwpn);
    CEMULEX_Driver base(device, "", "");
    CEMULEX_Firmware firmware(device, wwpn);
    ExpectFrames("CEMULEX_Driver",
                 {{"GetOperatingVersion", [&] { base.GetOperatingVersion(); }},
                  {"FormatVersionString", [&] { base.FormatVersionString(""); }}});
    const std::tuple<std::string, CModuleManager*, std::string, bool> rows[] = {
        {"CEMULEX_OCM_Utility", &utility, "", false},
        {"CFC_EMULEX_Driver", &driver, "", false},
        {"CEMULEX_Driver", &base, "", true},
        {"CEMULEX_Firmware", &firmware, port + " ", true}};
    for (const auto& [name, module, values, idle] : rows) {
        int failed = 0;
        std::vector<Operation> steps = {
            {"UpdateBackup", [&, m = module] { failed += m->UpdateBackup("", false); }},
            {"Update", [&, m = module] { failed += m->Update("", "", nullptr, false); }},
            {"UpdateRestore", [&, m = module] { failed += m->UpdateRestore(""); }},
            {"PreUpdate", [&, m = module] { failed += m->PreUpdate("", "", nullptr, false); }},
            {"UpdateApplyCheck", [&, m = module] { failed += m->UpdateApplyCheck(""); }}};
        steps.resize(module == &firmware ? 3 : 5);  // the others of firmware tell more
        ExpectFrames(name, steps, values);
        EXPECT_EQ(failed == 0, idle) << name;
    }
}

TEST_F(TraceTest, ConstructionAndEnd) {
    { CFC_EMULEX_8G_1P_Vendor{""}; }
    { CFC_EMULEX_8G_2P_Vendor{""}; }
    { CFC_EMULEX_16G_Vendor{""}; }
    { CFC_EMULEX_Driver{"", "", ""}; }
    { CEMULEX_OCM_Utility{""}; }
    { CFC_EMULEX_16G_Firmware{device, wwpn}; }
    for (const char* name : {"CFC_EMULEX_Vendor", "CFC_EMULEX_8G_1P_Vendor",
                             "CFC_EMULEX_8G_2P_Vendor", "CFC_EMULEX_16G_Vendor", "CDriverWithUpDrv",
                             "CFC_EMULEX_Driver", "CEMULEX_OCM_Utility"}) {
        for (const char* mark : {"() [START]", "() [END]"}) {
            EXPECT_TRUE(host.Traced(std::string("4 ") + name + "::" + name + mark)) << name;
            EXPECT_TRUE(host.Traced(std::string("4 ") + name + "::~" + name + mark)) << name;
        }
    }
    EXPECT_TRUE(host.Traced("4 CEMULEX_Driver::~CEMULEX_Driver() [END]"));
    const std::string gen16 = "CFC_EMULEX_16G_Firmware";
    EXPECT_TRUE(host.Traced("4 " + gen16 + "::" + gen16 + "() " + port + " [START]"));
    EXPECT_TRUE(host.Traced("4 " + gen16 + "::~" + gen16 + "() " + port + " [END]"));
}

}  // namespace
