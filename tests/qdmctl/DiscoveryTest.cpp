#include "qdmctl/Discovery.h"
#include "qdmctl/Doctor.h"
#include "tests/host/HostFixture.h"

#include <gtest/gtest.h>

namespace qdmctl {
namespace {

constexpr unsigned fibreChannel = 0x0c0400;

Descriptor ShippedDescriptor() {
    return ParseDescriptor(ReadText(QDM_SHIPPED_DESCRIPTOR), "/provider/f.json").value.value();
}

PciDevice Device(const std::string& address, const std::string& ids,
                 unsigned classCode = fibreChannel) {
    const std::string vendor = ids.substr(0, 4), device = ids.substr(5);
    return {ParsePciAddress(address).value(), vendor, device, "10df", "f100", classCode};
}

TEST(Discovery, PicksSupportedFibreChannelPortsAndTheirModels) {
    const Descriptor descriptor = ShippedDescriptor();
    const std::vector<PciIds> supported = {{"10df", "e200"}, {"10df", "f100"}, {"10df", "f101"}};
    const std::string none = " is a supported device, but no known model has ";
    const std::tuple<const char*, std::vector<PciDevice>, std::string> rows[] = {
        {"no device", {}, ""},
        {"16G with two functions",
         {Device("0000:03:00.0", "10df:e200"), Device("0000:03:00.1", "10df:e200")},
         "0000:03:00.0-10df-e200 fcelx_16g\n0000:03:00.1-10df-e200 fcelx_16g\n"},
        {"8G alone", {Device("0000:04:00.0", "10df:f100")}, "0000:04:00.0-10df-f100 fcelx_8g1p\n"},
        {"8G twice in one slot",
         {Device("0000:05:00.0", "10df:f100"), Device("0000:05:00.1", "10df:f100")},
         "0000:05:00.0-10df-f100 fcelx_8g2p_\n0000:05:00.1-10df-f100 fcelx_8g2p_\n"},
        {"8G in slots that differ in domain, bus or device",
         {Device("0000:06:00.0", "10df:f100"), Device("0001:06:00.1", "10df:f100"),
          Device("0000:07:00.1", "10df:f100"), Device("0000:06:01.1", "10df:f100")},
         "0000:06:00.0-10df-f100 fcelx_8g1p\n0001:06:00.1-10df-f100 fcelx_8g1p\n"
         "0000:07:00.1-10df-f100 fcelx_8g1p\n0000:06:01.1-10df-f100 fcelx_8g1p\n"},
        {"a neighbour of another class is no port and counts for none",
         {Device("0000:08:00.0", "10df:f100"), Device("0000:08:00.1", "10df:f100", 0x020000)},
         "0000:08:00.0-10df-f100 fcelx_8g1p\n"},
        {"another programming interface",
         {Device("0000:08:00.0", "10df:e200", 0x0c0401)},
         "0000:08:00.0-10df-e200 fcelx_16g\n"},
        {"another serial bus", {Device("0000:08:00.0", "10df:e200", 0x0c0300)}, ""},
        {"not on the list", {Device("0000:09:00.0", "1077:2261")}, ""},
        {"on the list, of no model",
         {Device("0000:0a:00.0", "10df:f101")},
         "? 0000:0a:00.0-10df-f101" + none + "1 such functions\n"},
        {"too many functions",
         {Device("0000:0b:00.0", "10df:f100"), Device("0000:0b:00.1", "10df:f100"),
          Device("0000:0b:00.2", "10df:e200")},
         "0000:0b:00.2-10df-e200 fcelx_16g\n? 0000:0b:00.0-10df-f100" + none +
             "3 such functions\n? 0000:0b:00.1-10df-f100" + none + "3 such functions\n"},
    };
    for (const auto& [name, devices, expected] : rows) {
        SCOPED_TRACE(name);
        const Discovery discovery = Classify(devices, supported, descriptor);
        std::string found;
        for (const DiscoveredPort& port : discovery.ports) {
            found += port.id.Text() + " " + port.model->modelKey + "\n";
        }
        for (const std::string& note : discovery.notes) {
            found += "? " + note + "\n";
        }
        EXPECT_EQ(found, expected);
    }
}

TEST(Discovery, ReadsTheListOfSupportedDevices) {
    const std::string one = "Vendor1=VEN_10DF\nDevice1=DEV_F100\n";
    const std::string two = one + "Vendor2=VEN_10DF\nDevice2=DEV_E200\n";
    const std::pair<std::string, const char*> rows[] = {
        {"[SuportDevice]\nSuportDeviceNum=2\n" + two, "10df:f100 10df:e200 "},
        {"[SuportDevice]\nSuportDeviceNum=1\n" + two, "10df:f100 "},
        {"[SuportDevice]\nSuportDeviceNum=4\nVendor1=10DF\nDevice1=DEV_F100\nVendor2=VEN_10DF\n"
         "Vendor3=VEN_10DF\nDevice3=DEV_F10\nVendor4=VEN_10DF\nDevice4=DEV_E200\n",
         "10df:e200 "},
        {"[SuportDevice]\nSuportDeviceNum=-3\n" + one, "refused"},
        {"[Other]\nSuportDeviceNum=1\n" + one, "refused"},
        {"[SuportDevice]\nSuportDeviceNum=3\n" + two, "refused"},
        {"", "refused"}};
    for (const auto& [text, expected] : rows) {
        const std::string file = NewFolder() + "/List.ini";
        WriteText(file, text);
        const auto list = ReadSupportedDevices(file);
        std::string devices = list ? "" : "refused";
        for (const PciIds& ids : list.value.value_or(std::vector<PciIds>())) {
            devices += ids.vendor + ":" + ids.device + " ";
        }
        EXPECT_EQ(devices, expected) << text;
    }
    EXPECT_FALSE(ReadSupportedDevices(NewFolder() + "/missing.ini"));
}

TEST(Discovery, MatchesByTheReportedKeyOnlyWhereItHasTheModelsForm) {
    const Descriptor descriptor = ShippedDescriptor();
    const DiscoveredPort port = {
        {ParsePciAddress("0000:05:00.1").value(), "10df", "f100"}, "10cf", "1860", nullptr};
    const std::string own = "fcelx_8g2p_10df_f100_10cf_1860";
    const std::tuple<std::size_t, const char*, std::string> rows[] = {
        {0, "fcelx_16g", "fcelx_16g"},
        {0, "", "fcelx_16g"},
        {2, "fcelx_8g2p_10df_f100_1734_11ad", "fcelx_8g2p_10df_f100_1734_11ad"},
        {2, "fcelx_8g2p_10df_f100_-p00_10cf", own},  // columns shifted by two new fields
        {2, "", own},
        {2, "fcelx_8g2p_10df_f100_10cf", own},
        {2, "fcelx_8g2p_10df_f100_10cf_1860\n", own},
        {2, "fcelx_8g2p_10df_f100-10cf_1860", own},
        {2, "fcelx_8g2p_10DF_f100_10cf_1860", own},
        {2, "fcelx_8g3p_10df_f100_10cf_1860", own},
    };
    for (const auto& [model, reported, key] : rows) {
        EXPECT_EQ(MatchKey(descriptor.models[model], port, reported), key) << reported;
    }
    const std::string line = R"(05:00.1 "0C04" "10df" "f100" -r03 "10cf" )";
    EXPECT_TRUE(HasKnownColumns(line + "\"1860\"", port));
    EXPECT_FALSE(HasKnownColumns(line + "\"1734\"", port));
    EXPECT_FALSE(HasKnownColumns(line, port));
}

}  // namespace
}  // namespace qdmctl
