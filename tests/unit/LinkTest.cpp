#include "host/CUtility.h"
#include "provider/CFC_EMULEX_16G_Vendor.h"
#include "provider/CFC_EMULEX_8G_2P_Vendor.h"
#include "provider/EMULEX_FC.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/CFC_EMULEX_16G_Firmware.h"
#include "provider/modules/CFC_EMULEX_8G_Firmware.h"
#include "provider/modules/CFC_EMULEX_Driver.h"
#include "tests/unit/PortTest.h"

#include <filesystem>
#include <memory>
#include <typeinfo>

namespace {

struct Model {
    std::string className;
    const std::type_info& firmware;
    std::string failurePrefix;
};
const Model models[] = {
    {"CFC_EMULEX_8G_1P_Vendor", typeid(CFC_EMULEX_8G_Firmware), "CFC_EMULEX_8G_Firmware"},
    {"CFC_EMULEX_8G_2P_Vendor", typeid(CFC_EMULEX_8G_Firmware), "CFC_EMULEX_8G_2P_Vendor"},
    {"CFC_EMULEX_16G_Vendor", typeid(CFC_EMULEX_16G_Firmware), "CFC_EMULEX_16G_Vendor"}};

class LinkTest : public PortTest {};

template <class Module>
const std::type_info& TypeOf(Module* module) {
    return module == nullptr ? typeid(void) : typeid(*module);
}

TEST_F(LinkTest, LinksTheModulesOfTheModelAndTheUtilityWhereThereIsATool) {
    for (int row = 0; row < 6; ++row) {
        const Model& model = models[row / 2];
        SCOPED_TRACE(model.className);
        host.hbacmdInstalled = row % 2 == 0;
        const std::unique_ptr<CVendor> vendor(
            static_cast<CVendor*>(GetVendorFactory(model.className.c_str(), device.c_str())));
        Forget();
        vendor->LinkDevice();
        EXPECT_TRUE(TypeOf(vendor->GetFirmwareModule()) == model.firmware);
        EXPECT_TRUE(TypeOf(vendor->GetDriverModule()) == typeid(CFC_EMULEX_Driver));
        EXPECT_EQ(host.Frame(), "4 " + model.className + "::LinkDevice() [START]; 4 " +
                                    model.className + "::LinkDevice() [END]");
        if (!host.hbacmdInstalled) {
            EXPECT_TRUE(vendor->GetUtilityModules().empty());
            // One for each look-up of the WWPN and one for the utility.
            EXPECT_EQ(host.messages,
                      Lines(3, "MSGID_EMULEX_FC_0013_F vendor|b|Emulex|FC|One Command Manager"));
            EXPECT_EQ(
                host.Complaints().back(),
                "2 " + model.failurePrefix +
                    "::LinkDevice() CEmulexCommon::GetOCMManagerInstallPath is return false.");
            continue;
        }
        ASSERT_EQ(vendor->GetUtilityModules().size(), 1u);
        CUtility* utility = vendor->GetUtilityModules().front();
        EXPECT_TRUE(TypeOf(utility) == typeid(CEMULEX_OCM_Utility));
        EXPECT_EQ(utility->GetModuleName(), "ocm");
        EXPECT_TRUE(host.Traced("4 CEMULEX_Firmware::CEMULEX_Firmware() " + port + " [START]"));
        EXPECT_TRUE(host.Traced("4 CEMULEX_Driver::CEMULEX_Driver() [] " + port + " [END]"));
        EXPECT_EQ(Told(), "0");
        std::filesystem::remove(host.Cache("Listhbas.txt"));
    }
}

TEST_F(LinkTest, LinkingAgainReplacesTheModules) {
    CFC_EMULEX_16G_Vendor vendor(device);
    vendor.LinkDevice();
    // Left behind by design; a test cleans up.
    const std::unique_ptr<CModuleManager> firmware(vendor.GetFirmwareModule());
    const std::unique_ptr<CModuleManager> driver(vendor.GetDriverModule());
    const std::unique_ptr<CModuleManager> utility(vendor.GetUtilityModules().front());
    vendor.LinkDevice();
    EXPECT_NE(vendor.GetFirmwareModule(), firmware.get());
    EXPECT_NE(vendor.GetDriverModule(), driver.get());
    EXPECT_EQ(vendor.GetUtilityModules().size(), 1u);
    EXPECT_EQ(Runs("listhbas"), 1);
    EXPECT_EQ(firmware->GetOperatingVersion(), "11.2.156.27");  // still alive
}

TEST_F(LinkTest, DualPortAsksForItsIdentifiersBySlot) {
    const std::string command =
        R"(lspci -nms $ | cut -d " " -f3,4,6,7 | sed -e s/'" "'/_/g -e s/'"'//g > )"
        "/opt/velmora/qdm/provider/tmp/EMULEX/temp/4ids";
    const std::pair<const char*, const char*> rows[] = {{"0000:03:00.1-10df-f100", "0000:03:00.1"},
                                                        {"03:00.0", "03:00.0"}};
    for (const auto& [deviceId, slot] : rows) {
        SCOPED_TRACE(deviceId);
        Forget();
        CFC_EMULEX_8G_2P_Vendor vendor(deviceId);
        std::string expected = command;
        expected.replace(expected.find('$'), 1, slot);
        ASSERT_EQ(host.CommandLines(), Lines{expected});
        EXPECT_EQ(host.commands.front().outputFile + host.commands.front().workFolder, "");
        EXPECT_EQ(host.commands.front().timeoutMs, ~0UL);
        EXPECT_TRUE(host.Traced("1 ExecForeignModule cmd:[" + expected + "]"));
    }
    for (const Ran& failed : {Ran{"", 1}, Ran{"", 0, 1}, Ran{"", 0, 255}}) {
        host.run = [&](const HostCommand&) { return failed; };
        EXPECT_EQ(CFC_EMULEX_8G_2P_Vendor(device).GetModelKey(), "fcelx_8g2p_");
    }
    EXPECT_EQ(Told(), "0");
}

TEST_F(LinkTest, IdentifiersEndBehindTheFourth) {
    using namespace std::string_literals;
    const std::pair<std::string, std::string> rows[] = {
        {"10DF_F100_10DF_F100\n", "10DF_F100_10DF_F100"},
        {"10df_f100_10df_f100-p00 and more", "10df_f100_10df_f100"},
        {"10df_f100\n", "10df_f100\n"},
        {"10df\0_f100"s, "10df"}};
    for (const auto& [text, identifiers] : rows) {
        host.Write(host.Temp("4ids"), text);
        EXPECT_EQ(CFC_EMULEX_8G_2P_Vendor::ReadIdentifiers(host.Temp("4ids")), identifiers) << text;
    }
    EXPECT_EQ(CFC_EMULEX_8G_2P_Vendor::ReadIdentifiers(host.Temp("missing")), "");
}

}  // namespace
