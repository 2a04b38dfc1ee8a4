#include "provider/EMULEX_FC.h"

#include "provider/CFC_EMULEX_16G_Vendor.h"
#include "provider/common/CEmulexCommon.h"
#include "tests/unit/PortTest.h"

#include <filesystem>
#include <memory>

namespace {

class FactoryTest : public PortTest {};

TEST_F(FactoryTest, BuildsExactlyTheThreeModels) {
    const struct {
        const char *name, *device;
        std::string modelKey;  ///< empty: null is returned
        Lines shown;
    } rows[] = {
        {"CFC_EMULEX_8G_1P_Vendor", "d", "fcelx_8g1p", {"new CFC_EMULEX_8G_1P_Vendor|d"}},
        {"CFC_EMULEX_8G_2P_Vendor", "d", "fcelx_8g2p_", {"new CFC_EMULEX_8G_2P_Vendor|d"}},
        {"CFC_EMULEX_16G_Vendor", "d", "fcelx_16g", {"new CFC_EMULEX_16G_Vendor|d"}},
        {"CFC_EMULEX_Vendor", "d", "", {}},
        {"cfc_emulex_16g_vendor", "d", "", {}},
        {"CFC_EMULEX_16G_Vendor ", "d", "", {}},
        {"CFC_EMULEX_16G_Vendo", "d", "", {}},
        {"CFC_EMULEX_16G_Vendor", nullptr, "", {"GetFactory NULL|"}},
        {nullptr, "d", "", {"GetFactory NULL|"}},
    };
    for (const auto& row : rows) {
        const std::string name = row.name == nullptr ? "" : row.name;
        SCOPED_TRACE("'" + name + "'");
        Forget();
        host.run = [](const HostCommand&) { return Ran{"", 1}; };
        const std::unique_ptr<CVendor> vendor(
            static_cast<CVendor*>(GetVendorFactory(row.name, row.device)));
        Lines shown = row.shown;
        shown.insert(shown.begin(), "WINAPI GetVendorFactory|" + name);
        EXPECT_EQ(host.shown, shown);
        ASSERT_EQ(vendor != nullptr, !row.modelKey.empty());
        if (vendor != nullptr) {
            EXPECT_EQ(vendor->GetDeviceInfo(), "emulex " + row.modelKey + " d");
            EXPECT_EQ(vendor->GetVendorClassName(), name);
        }
    }
}

struct Witness : CFC_EMULEX_16G_Vendor {
    explicit Witness(bool& gone) : CFC_EMULEX_16G_Vendor("d"), gone(gone) {}
    ~Witness() override { gone = true; }
    bool& gone;
};

TEST_F(FactoryTest, ReleasesOnlyWhatIsRegisteredUnderTheFamilyClass) {
    const std::pair<const char*, bool> rows[] = {{"CFC_EMULEX_Vendor", true},
                                                 {"CFC_EMULEX_16G_Vendor", false},
                                                 {"CFC_EMULEX_Vendor ", false},
                                                 {"", false}};
    for (const auto& [registered, released] : rows) {
        SCOPED_TRACE(registered);
        bool gone = false;
        CVendor* vendor = new Witness(gone);
        vendor->SetOwnerProvider("libqdmp_EMULEX_FC.so", registered);
        ReleaseVendor(vendor);
        EXPECT_EQ(gone, released);
        if (!gone) {
            delete vendor;  // left behind by design
        }
    }
    ReleaseVendor(nullptr);
}

TEST_F(FactoryTest, ShippedListsNameTheSupportedAdapters) {
    const std::filesystem::path data =
        std::filesystem::path(__FILE__).parent_path() / "../../provider/data";
    for (const char* name : {"FcVCFac.ini", "CnaVCFac.ini"}) {
        std::filesystem::copy(data / name, host.Root());
    }
    using Ids = std::list<std::string>;
    Ids converged, fc;
    EXPECT_TRUE(CEmulexCommon::GetVenDevIdList("FcVCFac.ini", &converged, nullptr, nullptr, &fc));
    EXPECT_TRUE(CEmulexCommon::GetVenDevIdList("CnaVCFac.ini", &converged, nullptr, nullptr, &fc));
    EXPECT_EQ(fc, (Ids{"PCI\\VEN_10DF&DEV_F100", "PCI\\VEN_10DF&DEV_E200"}));
    EXPECT_EQ(converged,
              (Ids{"PCI\\VEN_19A2&DEV_0700", "PCI\\VEN_19A2&DEV_0710", "PCI\\VEN_10DF&DEV_0720",
                   "PCI\\VEN_10DF&DEV_E220", "PCI\\VEN_10DF&DEV_E260"}));
}

}  // namespace
