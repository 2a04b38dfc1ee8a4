#include "provider/CFC_EMULEX_16G_Vendor.h"
#include "provider/common/CEmulexCommon.h"
#include "tests/unit/PortTest.h"

#include <tuple>

namespace {

std::string Attr(const char* name, const std::string& value, const std::string& indent = "") {
    return indent + "      <attr name=\"" + name + "\" value=\"" + value + "\" />\n";
}

std::string General(const std::string& location, const std::string& wwpn) {
    return "    <general-inf>\n" + Attr("PCI Bus/Dev/Func", location) +
           Attr("Vendor ID", "0x10DF") + Attr("Device ID", "0xE200") + Attr("WWPN", wwpn) +
           "    </general-inf>\n";
}

std::string Versions(const std::string& firmware, const std::string& bios,
                     const std::string& driver, const std::string& utility) {
    return "    <version-inf>\n" + Attr("Firmware Version", firmware) +
           Attr("BootBios Version", bios) + Attr("Driver Version", driver) + "      <utility>\n" +
           Attr("Utility Name", "OCM", "  ") + Attr("Utility Version", utility, "  ") +
           "      </utility>\n    </version-inf>\n";
}

std::string Report(const Lines& ports) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<data>\n";
    for (const std::string& port : ports) {
        text += "  <port>\n" + port + "  </port>\n";
    }
    return text + "</data>\n";
}

class ReportTest : public PortTest {
protected:
    ReportTest() {
        host.pci[second] = {3, 0, 1};
        list += ListRecord("Port WWN       : 20:00:00:00:c9:00:00:02", 1);
    }
    ~ReportTest() override {
        CFC_EMULEX_Vendor::stGenFC.clear();
        CFC_EMULEX_Vendor::stVerFC.clear();
    }
    int End() { return vendor.EndOutputDeviceConfigInfo(host.Root() + "/", nullptr); }
    std::string Written() { return host.Read(host.Root() + "/Emulex_FcConfigInfo.xml"); }

    const std::string second = "0000:03:00.1-10df-e200";
    CFC_EMULEX_16G_Vendor vendor{device};
};

TEST_F(ReportTest, PortsStandInTheOrderOfTheirExecPhases) {
    CFC_EMULEX_16G_Vendor other(second);
    other.LinkDevice();
    vendor.LinkDevice();
    EXPECT_EQ(vendor.StartOutputDeviceConfigInfo("", nullptr), 0);
    EXPECT_EQ(other.ExecOutputDeviceConfigInfo("", nullptr), 0);
    attributes = "FW Version : none\n";
    EXPECT_EQ(vendor.ExecOutputDeviceConfigInfo("", nullptr), 0);
    EXPECT_EQ(End(), 0);
    EXPECT_EQ(Written(), Report({General("3/0/1", "20000000C9000002") +
                                     Versions("11.2.156.27", "2.02a4", "11.2.0.5", "10.2.370.16"),
                                 General("3/0/0", "10000000C9ABCDEF") +
                                     Versions("abnormal", "abnormal", "abnormal", "10.2.370.16")}));
    EXPECT_TRUE(host.messages.empty());
    EXPECT_EQ(End(), 0);
    EXPECT_EQ(Written(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<data />\n");

    // What a module has read once it answers again; the boot BIOS is read afresh.
    attributes = "FW Version : 1.1.1.1\nDriver Version : 1.1.1.1\nBoot Version : new\n";
    CEmulexCommon::DeleteHbaAttribCache("20:00:00:00:c9:00:00:02");
    other.ExecOutputDeviceConfigInfo("", nullptr);
    End();
    EXPECT_EQ(Written(), Report({General("3/0/1", "20000000C9000002") +
                                 Versions("11.2.156.27", "new", "11.2.0.5", "10.2.370.16")}));
}

TEST_F(ReportTest, ServerWithoutUtilityReportsItsNameAlone) {
    host.hbacmdInstalled = false;
    vendor.LinkDevice();
    host.messages.clear();
    EXPECT_EQ(vendor.StartOutputDeviceConfigInfo("", nullptr), 1);
    EXPECT_EQ(host.messages,
              Lines{"MSGID_EMULEX_FC_0018_F vendor|b|Emulex|FC|One Command Manager"});
    EXPECT_EQ(host.Complaints().back(),
              "2 CFC_EMULEX_Vendor::StartOutputDeviceConfigInfo() "
              "CEmulexCommon::GetOCMManagerInstallPath is return false.");
    vendor.ExecOutputDeviceConfigInfo("", nullptr);
    End();
    EXPECT_EQ(Written(),
              Report({General("3/0/0", "") + Versions("abnormal", "abnormal", "abnormal", "")}));
}

TEST_F(ReportTest, UnequalListsGivePortsWithOneHalfAndAnUnwritableReportIsLost) {
    const std::string general = General("3/0/0", "AA"), versions = Versions("1", "2", "3", "4");
    const std::tuple<size_t, size_t, Lines, Lines> rows[] = {
        {2, 1, {general + versions, general}, {"2 Failed to get Versioninfo"}},
        {0, 1, {versions}, {"2 Failed to get Generalinfo"}}};
    for (const auto& [generals, halves, ports, complaints] : rows) {
        SCOPED_TRACE(complaints.front());
        Forget();
        CFC_EMULEX_Vendor::stGenFC.assign(generals, {"3/0/0", "0x10DF", "0xE200", "AA"});
        CFC_EMULEX_Vendor::stVerFC.assign(halves, {"1", "2", "3", "OCM", "4"});
        EXPECT_EQ(End(), 0);
        EXPECT_EQ(Written(), Report(ports));
        EXPECT_EQ(host.Complaints(), complaints);
    }
    CFC_EMULEX_Vendor::stGenFC.resize(1);
    EXPECT_EQ(vendor.EndOutputDeviceConfigInfo("/no/folder/", nullptr), 1);
    EXPECT_EQ(LastError(), 25u);
    EXPECT_EQ(host.messages, Lines{"MSGID_EMULEX_FC_0012_F vendor|19"});
    EXPECT_EQ(host.traces.back(), "4 CFC_EMULEX_Vendor::ExecOutputDeviceConfigInfo() [END]");
    EXPECT_TRUE(CFC_EMULEX_Vendor::stGenFC.empty() && CFC_EMULEX_Vendor::stVerFC.empty());
}

}  // namespace
