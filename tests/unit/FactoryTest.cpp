#include "provider/EMULEX_FC.h"

#include "provider/CFC_EMULEX_16G_Vendor.h"
#include "tests/unit/PortTest.h"

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
    host.run = [](const HostCommand&) { return Ran{"", 1}; };
    for (const auto& row : rows) {
        const std::string name = row.name == nullptr ? "" : row.name;
        SCOPED_TRACE("'" + name + "'");
        Forget();
        const std::unique_ptr<CVendor> vendor(
            static_cast<CVendor*>(GetVendorFactory(row.name, row.device)));
        Lines shown = row.shown;
        shown.insert(shown.begin(), "WINAPI GetVendorFactory|" + name);
        EXPECT_EQ(host.shown, shown);
        EXPECT_EQ(vendor ? vendor->GetDeviceInfo() + vendor->GetVendorClassName() : "",
                  row.modelKey.empty() ? "" : "emulex " + row.modelKey + " d" + name);
    }
}

struct Witness : CFC_EMULEX_16G_Vendor {
    explicit Witness(bool& gone) : CFC_EMULEX_16G_Vendor("d"), gone(gone) {}
    ~Witness() override { gone = true; }
    bool& gone;
};

TEST_F(FactoryTest, ReleasesOnlyWhatIsRegisteredUnderTheFamilyClass) {
    for (const char* registered :
         {"CFC_EMULEX_Vendor", "CFC_EMULEX_16G_Vendor", "CFC_EMULEX_Vendor ", ""}) {
        bool gone = false;
        CVendor* vendor = new Witness(gone);
        vendor->SetOwnerProvider("libqdmp_EMULEX_FC.so", registered);
        ReleaseVendor(vendor);
        EXPECT_EQ(gone, std::string(registered) == "CFC_EMULEX_Vendor") << registered;
        if (!gone) {
            delete vendor;  // left behind by design
        }
    }
    ReleaseVendor(nullptr);
}

}  // namespace
