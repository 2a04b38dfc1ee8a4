#include "host/CStringUtil.h"
#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

#include <chrono>
#include <random>
#include <thread>
#include <tuple>

namespace {

using C = CEmulexCommon;
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
    const std::string endless = "[SuportDevice]\nSuportDeviceNum=2147483647\nVendor1=VEN_10DF";
    const std::tuple<std::string, std::string, Texts, Texts> rows[] = {
        {"/FcVCFac.ini", "[SuportDevice]\nVendor1=VEN_10DF\nDevice1=D", {}, {}},
        {"/FcVCFac.ini", supported, {}, {f101, x0720, x0720 + "0"}},
        {"/FcVCFac.ini", endless, {}, {"PCI\\VEN_10DF&"}},
        {"/some/where/CnaVCFac.ini", supported, {"PCI\\VEN_19A2&DEV_0710", x0720}, {}},
        {"/Other.ini", supported, {}, {}},
    };
    Texts cna, second, third, fc, vendors = {"kept"};
    for (const auto& [name, text, cnaIds, fcIds] : rows) {
        SCOPED_TRACE(name + text);
        host.Write(host.Root() + name.substr(name.rfind('/')), text);
        cna = fc = {};
        EXPECT_TRUE(C::GetVenDevIdList(name, &cna, &second, &third, &fc));
        EXPECT_EQ(cna, cnaIds);
        EXPECT_EQ(fc, fcIds);
        EXPECT_TRUE(second.empty() && third.empty());
    }
    EXPECT_TRUE(C::GetVenderIdList(&vendors));
    EXPECT_EQ(vendors, (Texts{"kept", "10DF", "19A2", "10DF", "10DF"}));
    EXPECT_EQ(Told(), "0");
    EXPECT_TRUE(C::GetVenderIdList(nullptr));
    EXPECT_EQ(Told(), "1");
    EXPECT_FALSE(C::GetVenDevIdList("FcVCFac.ini", &cna, &cna, &cna, nullptr));
    EXPECT_FALSE(C::GetVenDevIdList("CnaVCFac.ini", nullptr, &cna, &cna, &cna));
    EXPECT_EQ(Told(), "1");
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
    const std::string at = "4 CEmulexCommon::GetHBAInfoList(";
    std::list<Adapter> adapters;
    for (const auto& [text, expected] : rows) {
        SCOPED_TRACE(text);
        WriteListing(text);
        adapters.resize(3);
        const std::string mark = expected.empty() ? "NG" : "OK";
        EXPECT_EQ(C::GetHBAInfoList(&adapters), !expected.empty());
        EXPECT_EQ(adapters, expected);
        EXPECT_EQ(host.Frame(), at + ") [START]; " + at + mark + ") [END]");
        EXPECT_EQ(LastError(), expected.empty() ? 15u : 0u);
        Forget();
    }
    EXPECT_FALSE(C::GetHBAInfoList(nullptr));
    EXPECT_EQ(LastError(), 1u);
    std::filesystem::remove(host.Cache("Listhbas.txt"));
    adapters.resize(3);
    EXPECT_FALSE(C::GetHBAInfoList(&adapters));
    EXPECT_TRUE(adapters.empty());
    EXPECT_EQ(LastError(), 17u);
}

// The list as it would be with one reading of the file for every record and key.
std::list<Adapter> KeyByKey(const std::string& file) {
    std::list<Adapter> adapters;
    for (unsigned index = 0; adapters.size() == index; ++index) {
        Adapter record;
        for (const char* key : {"Port WWN|Permanent MAC", "Port Number", "PCI Bus Number",
                                "PCI Function", "Port Type", "Serial No."}) {
            std::pair<std::string, std::string> pair;
            C::GetKeyValueFromFile_(file, key, ":", pair, index);
            if (pair.first.empty()) {
                break;
            }
            record.insert(pair);
        }
        adapters.resize(adapters.size() + (record.empty() ? 0 : 1), record);
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
        C::GetHBAInfoList(&adapters);
        ASSERT_EQ(adapters, KeyByKey(host.Cache("Listhbas.txt"))) << text;
    }
}

TEST_F(DiscoveryTest, PortOfADevice) {
    const std::string pair = Port("a", "3", "0") + Port("b", "3", "1") + Port("c", "3", "2");
    const std::string wide = Port("a", "3", "7") + Port("b", "3", "8");
    const std::string two = Port("a", "3", "2"), far = Port("a", "10", "8") + Port("b", "10", "2");
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
        EXPECT_EQ(C::GetHBAInfo("dev", &adapter), found);
        EXPECT_EQ(adapter.size(), found ? 6u : 0u);
        EXPECT_EQ(adapter["Port WWN"], wwn);
        EXPECT_EQ(LastError(), found ? 0u : 14u);
        EXPECT_EQ(host.traces.back(),
                  std::string("4 CEmulexCommon::GetHBAInfo(") + (found ? "OK" : "NG") + ") [END]");
    }
}

// An unchanged file is not read again; one of the same size that was written at once is.
TEST_F(DiscoveryTest, LookUpSeesEveryChangeOfTheList) {
    host.pci["dev"] = {3, 1, 0};
    for (const std::string wwn : {"a", "b", "c", "d"}) {
        WriteListing(Port(wwn, "3", wwn == "c" ? "8" : "2"));
        Lines first;
        for (const int pause : {0, 30, 0}) {
            std::this_thread::sleep_for(std::chrono::milliseconds(pause));
            host.traces.clear();
            Adapter adapter;
            EXPECT_TRUE(C::GetHBAInfo("dev", &adapter));
            EXPECT_EQ(adapter["Port WWN"], wwn);
            first = first.empty() ? host.Details() : first;
            EXPECT_EQ(host.Details(), first);
        }
    }
}

TEST_F(DiscoveryTest, LookUpIsTracedAndFails) {
    const std::string at = " CEmulexCommon::GetHBAInfo() ", three = "1 [PCI Bus Number] is found";
    const std::string keys[] = {"EMULEX_CMN_HBAKEY_PCIBUSNUM[3] bus[3] EMULEX_CMN_HBAKEY_PCIFUNC[",
                                "] func[1]"};
    WriteListing(Port("a", "3", "0") + Port("b", "3", "1") + Port("c", "3", "2"));
    host.pci["dev"] = {3, 0, 1};
    Adapter adapter;
    C::GetHBAInfo("dev", &adapter);
    EXPECT_EQ(host.Details(),
              (Lines{"1" + at + "PCIinfo deviceID[dev] bus[3] dev[0] func[1]", three, three, three,
                     "1" + at + keys[0] + "0" + keys[1], "1" + at + keys[0] + "1" + keys[1]}));
    const std::tuple<const char*, Adapter*, unsigned long, const char*> rows[] = {
        {"other", &adapter, 13, "CCommon_Information::GetPCIInfo result error [END]"},
        {"dev", nullptr, 1, "param error [END]"},
        {"dev", &adapter, 15, "GetHBAInfoList result error [END]"}};
    for (const auto& [name, asked, error, exit] : rows) {
        SCOPED_TRACE(exit);
        adapter = {{"old", "old"}};
        EXPECT_FALSE(C::GetHBAInfo(name, asked));
        EXPECT_EQ(LastError(), error);
        EXPECT_EQ(host.traces.back(), "4" + at + exit);
        EXPECT_EQ(adapter.empty(), asked != nullptr);
        WriteListing("");
    }
}

}  // namespace
