#include "host/CStringUtil.h"
#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

#include <random>
#include <tuple>

namespace {

using Texts = std::list<std::string>;
using Adapter = std::map<std::string, std::string>;

class DiscoveryTest : public HostTest {
protected:
    void WriteListing(const std::string& text) { host.Write(host.Cache("Listhbas.txt"), text); }
};

// One port as the tool lists it, values at column 17.
std::string Port(const std::string& wwn, const std::string& bus, const std::string& function) {
    return "Port WWN       : " + wwn + "\nNode WWN       : 20:00\nSerial No.     : S" + wwn +
           "\nPort Number    : 0\nMode           : Initiator\nPCI Bus Number : " + bus +
           "\nPCI Function   : " + function + "\nPort Type      : FC\n\n";
}

const char* const supported =
    "[SuportDevice]\nSuportDeviceNum=6\nVendor0=VEN_10DF\n"
    "Vendor1=VEN_10DF\nDevice1=DEV_F101\nVendor2=VEN_19A2\nDevice2=DEV_0710\n"
    "Vendor3=VEN_10DF\nDevice3=DEV_0720\nVendor4=VEN_8086\nDevice4=DEV_0720\n"
    "Vendor5=VEN_10DF\nDevice5=DEV_07200\nVendor6=V\nVendor7=VEN_10DF\nDevice7=DEV_0700\n";

TEST_F(DiscoveryTest, SupportedDevices) {
    const std::string f101 = "PCI\\VEN_10DF&DEV_F101", x0720 = "PCI\\VEN_10DF&DEV_0720";
    const std::tuple<std::string, std::string, Texts, Texts> rows[] = {
        {"/FcVCFac.ini", supported, {}, {f101, x0720, x0720 + "0"}},
        {"/some/where/CnaVCFac.ini", supported, {"PCI\\VEN_19A2&DEV_0710", x0720}, {}},
        {"/FcVCFac.ini", "[SuportDevice]\nVendor1=VEN_10DF\nDevice1=D", {}, {}},
        {"/FcVCFac.ini",
         "[SuportDevice]\nSuportDeviceNum=2147483647\nVendor1=VEN_10DF",
         {},
         {"PCI\\VEN_10DF&"}},
        {"/Other.ini", supported, {}, {}},
    };
    for (const auto& [name, text, cnaIds, fcIds] : rows) {
        SCOPED_TRACE(name + text);
        host.Reset();
        host.Write(host.Root() + name.substr(name.rfind('/')), text);
        Texts cna, second, third, fc;
        EXPECT_TRUE(CEmulexCommon::GetVenDevIdList(name, &cna, &second, &third, &fc));
        EXPECT_EQ(cna, cnaIds);
        EXPECT_EQ(fc, fcIds);
        EXPECT_TRUE(second.empty() && third.empty());
    }
    EXPECT_EQ(LastError(), 0u);
    Texts other;
    EXPECT_FALSE(CEmulexCommon::GetVenDevIdList("FcVCFac.ini", &other, &other, &other, nullptr));
    EXPECT_EQ(LastError(), 1u);
    EXPECT_FALSE(CEmulexCommon::GetVenDevIdList("CnaVCFac.ini", nullptr, &other, &other, &other));
}

TEST_F(DiscoveryTest, SupportedVendors) {
    host.Write(host.Root() + "/CnaVCFac.ini", supported);
    Texts ids = {"kept"};
    EXPECT_TRUE(CEmulexCommon::GetVenderIdList(&ids));
    EXPECT_EQ(ids, (Texts{"kept", "10DF", "19A2", "10DF", "10DF"}));
    EXPECT_TRUE(CEmulexCommon::GetVenderIdList(nullptr));
    EXPECT_EQ(LastError(), 1u);
}

TEST_F(DiscoveryTest, AdapterList) {
    const std::string port = Port("10:00", "3", "0");
    const Adapter whole = {{"Port WWN", "10:00"}, {"Port Number", "0"}, {"PCI Bus Number", "3"},
                           {"PCI Function", "0"}, {"Port Type", "FC"},  {"Serial No.", "S10:00"}};
    Adapter other = whole;
    other["PCI Function"] = "1";
    const Adapter cut = {{"Port WWN", "20"}, {"Port Number", "1"}};
    const Adapter mac = {{"Permanent MAC", "00-11"}};
    const std::pair<std::string, std::list<Adapter>> rows[] = {
        {"Manageable HBA List\n\n" + port + Port("10:00", "3", "1"), {whole, other}},
        {port + "Port WWN : 20\nPort Number : 1\nPCI Bu", {whole, cut}},
        {port + "Permanent MAC : 00-11\n", {whole, mac}},
        {"PCI Bus Number : 3\n", {}},
        {"Port WWN       :\n", {}},
        {"", {}},
    };
    for (const auto& [text, expected] : rows) {
        SCOPED_TRACE(text);
        WriteListing(text);
        Forget();
        std::list<Adapter> adapters(3);
        const bool some = !expected.empty();
        EXPECT_EQ(CEmulexCommon::GetHBAInfoList(&adapters), some);
        EXPECT_EQ(adapters, expected);
        EXPECT_EQ(LastError(), some ? 0u : 15u);
        EXPECT_EQ(host.Frame(), (Lines{"4 CEmulexCommon::GetHBAInfoList() [START]",
                                       some ? "4 CEmulexCommon::GetHBAInfoList(OK) [END]"
                                            : "4 CEmulexCommon::GetHBAInfoList(NG) [END]"}));
    }
    EXPECT_FALSE(CEmulexCommon::GetHBAInfoList(nullptr));
    EXPECT_EQ(LastError(), 1u);
    std::filesystem::remove(host.Cache("Listhbas.txt"));
    std::list<Adapter> adapters(3);
    EXPECT_FALSE(CEmulexCommon::GetHBAInfoList(&adapters));
    EXPECT_TRUE(adapters.empty());
    EXPECT_EQ(LastError(), 17u);
}

// Record and list as they would be with one reading of the file for every record and key.
Adapter RecordKeyByKey(const std::string& file, size_t index) {
    Adapter record;
    for (const char* key : {"Port WWN|Permanent MAC", "Port Number", "PCI Bus Number",
                            "PCI Function", "Port Type", "Serial No."}) {
        std::pair<std::string, std::string> pair;
        CEmulexCommon::GetKeyValueFromFile_(file, key, ":", pair, static_cast<unsigned>(index));
        if (pair.first.empty()) {
            break;
        }
        record.insert(pair);
    }
    return record;
}

std::list<Adapter> KeyByKey(const std::string& file) {
    std::list<Adapter> adapters;
    for (Adapter record = RecordKeyByKey(file, 0); !record.empty();
         record = RecordKeyByKey(file, adapters.size())) {
        adapters.push_back(record);
    }
    return adapters;
}

TEST_F(DiscoveryTest, OnePassEqualsReadingKeyByKey) {
    std::string all =
        "Port WWN|Permanent MAC|Port Number|PCI Bus Number|PCI Function|Port Type|Serial No.|Port|"
        ":| : | : | : |10:00|3|\n|\n|\r\n|\t|   ";
    const Lines pieces = CStringUtil::Split(all, "|");
    std::mt19937 random(20200913);
    for (int round = 0; round < 300; ++round) {
        std::string text = round % 3 == 0 ? "" : Port("10:00", "3", "0") + Port("20:00", "3", "1");
        for (unsigned long i = random() % 40; i > 0; --i) {
            text.insert(random() % (text.size() + 1), pieces[random() % pieces.size()]);
        }
        text.insert(random() % (text.size() + 1), random() % 100, 'x');  // lines end early
        text.resize(text.size() - random() % (text.size() / 4 + 1));
        if (round % 3 == 1) {  // longer than what is read at once
            text.insert(0, 16000 + random() % 400, round % 2 == 0 ? 'x' : '\n');
        }
        WriteListing(text);
        std::list<Adapter> adapters;
        CEmulexCommon::GetHBAInfoList(&adapters);
        ASSERT_EQ(adapters, KeyByKey(host.Cache("Listhbas.txt"))) << text;
    }
}

TEST_F(DiscoveryTest, PortOfADevice) {
    const std::string pair = Port("a", "3", "0") + Port("b", "3", "1") + Port("c", "3", "2");
    const std::string wide = Port("a", "3", "7") + Port("b", "3", "8");
    const std::string two = Port("a", "3", "2");
    const std::string far = Port("a", "10", "8") + Port("b", "10", "2");
    const std::string tail = "PCI Bus Number : 3";
    const std::tuple<const char*, std::string, HostDouble::Location, std::string> rows[] = {
        {"second function", pair, {3, 0, 1}, "b"},
        {"second device", pair, {3, 1, 0}, "c"},
        {"no such function", pair, {3, 1, 1}, ""},
        {"no such bus", pair, {4, 0, 0}, ""},
        {"numbered as PCI does", wide, {3, 1, 0}, "b"},
        {"8 on this bus changes the others", wide, {3, 3, 1}, ""},
        {"7 is not enough", Port("a", "3", "7"), {3, 3, 1}, "a"},
        {"8 on another bus", Port("a", "4", "8") + Port("b", "3", "2"), {3, 1, 0}, "b"},
        {"two digits", Port("a", "3", "10"), {3, 1, 2}, "a"},
        {"a later port of the bus", pair + Port("d", "3", "8"), {3, 1, 0}, "d"},
        {"a bus of two digits is not scanned", far, {10, 1, 0}, "b"},
        {"bus letter", Port("a", "x", "8") + Port("b", "0", "2"), {0, 1, 0}, "b"},
        {"short bus line", two + "PCI Bus Number", {3, 1, 0}, "a"},
        {"ends at the bus", two + tail, {3, 1, 0}, "a"},
        {"short function line", two + tail + "\nPCI Function", {3, 1, 0}, "a"},
        {"other line behind the bus", two + tail + "\nPort Type      : 8\n", {3, 1, 0}, "a"},
    };
    for (const auto& [name, text, at, wwn] : rows) {
        SCOPED_TRACE(name);
        WriteListing(text);
        host.pci["dev"] = at;
        Forget();
        Adapter adapter = {{"old", "old"}};
        const bool found = !wwn.empty();
        EXPECT_EQ(CEmulexCommon::GetHBAInfo("dev", &adapter), found);
        EXPECT_EQ(adapter.size(), found ? 6u : 0u);
        EXPECT_EQ(adapter["Port WWN"], wwn);
        EXPECT_EQ(LastError(), found ? 0u : 14u);
        EXPECT_EQ(host.traces.back(), found ? "4 CEmulexCommon::GetHBAInfo(OK) [END]"
                                            : "4 CEmulexCommon::GetHBAInfo(NG) [END]");
    }
}

TEST_F(DiscoveryTest, LookUpIsTraced) {
    const std::string at = "1 CEmulexCommon::GetHBAInfo() ";
    WriteListing(Port("a", "3", "0") + Port("b", "3", "1") + Port("c", "3", "2"));
    host.pci["dev"] = {3, 0, 1};
    Adapter adapter;
    CEmulexCommon::GetHBAInfo("dev", &adapter);
    const std::string keys[] = {"EMULEX_CMN_HBAKEY_PCIBUSNUM[", "EMULEX_CMN_HBAKEY_PCIFUNC["};
    EXPECT_EQ(host.Details(), (Lines{at + "PCIinfo deviceID[dev] bus[3] dev[0] func[1]",
                                     "1 [PCI Bus Number] is found", "1 [PCI Bus Number] is found",
                                     "1 [PCI Bus Number] is found",
                                     at + keys[0] + "3] bus[3] " + keys[1] + "0] func[1]",
                                     at + keys[0] + "3] bus[3] " + keys[1] + "1] func[1]"}));
}

TEST_F(DiscoveryTest, LookUpFailures) {
    const std::string at = "4 CEmulexCommon::GetHBAInfo() ";
    const std::tuple<std::string, bool, unsigned long, const char*> rows[] = {
        {"", false, 1, "param error [END]"},
        {"", true, 15, "GetHBAInfoList result error [END]"},
        {Port("a", "3", "0"), true, 13, "CCommon_Information::GetPCIInfo result error [END]"},
    };
    for (const auto& [text, asked, error, exit] : rows) {
        SCOPED_TRACE(exit);
        WriteListing(text);
        Adapter adapter = {{"old", "old"}};
        EXPECT_FALSE(CEmulexCommon::GetHBAInfo("dev", asked ? &adapter : nullptr));
        EXPECT_EQ(LastError(), error);
        EXPECT_EQ(host.traces.back(), at + exit);
        EXPECT_EQ(adapter.empty(), asked);
    }
}

}  // namespace
