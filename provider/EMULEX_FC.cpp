#include "provider/EMULEX_FC.h"

#include "host/ShowMessage.h"
#include "provider/CFC_EMULEX_16G_Vendor.h"
#include "provider/CFC_EMULEX_8G_1P_Vendor.h"
#include "provider/CFC_EMULEX_8G_2P_Vendor.h"

#include <string>

namespace {

struct Model {
    const std::string& className;
    const wchar_t* message;
    CVendor* (*make)(const char* deviceId);
};

template <class Vendor>
CVendor* Make(const char* deviceId) {
    return new Vendor(std::string(deviceId));
}

const Model models[] = {
    {CFC_EMULEX_8G_1P_Vendor::className, L"new CFC_EMULEX_8G_1P_Vendor",
     Make<CFC_EMULEX_8G_1P_Vendor>},
    {CFC_EMULEX_8G_2P_Vendor::className, L"new CFC_EMULEX_8G_2P_Vendor",
     Make<CFC_EMULEX_8G_2P_Vendor>},
    {CFC_EMULEX_16G_Vendor::className, L"new CFC_EMULEX_16G_Vendor", Make<CFC_EMULEX_16G_Vendor>},
};

}  // namespace

void* GetVendorFactory(const char* className, const char* deviceId) {
    ShowMessage(L"WINAPI GetVendorFactory", className);
    if (className == nullptr || deviceId == nullptr) {
        ShowMessage(L"GetFactory NULL");
        return nullptr;
    }
    for (const Model& model : models) {
        if (model.className == className) {
            ShowMessage(model.message, deviceId);
            return model.make(deviceId);
        }
    }
    return nullptr;
}

void ReleaseVendor(void* vendor) {
    try {
        auto* object = static_cast<CVendor*>(vendor);
        // Hosts register every port under the family class; a model's own name means that this
        // object is not theirs to give back.
        if (object != nullptr && object->GetVendorClassName() == CFC_EMULEX_Vendor::className) {
            delete object;
        }
    } catch (...) {
        // No exception may leave the library.
    }
}
