#pragma once

#include "provider/CFC_EMULEX_Vendor.h"

#include <string>

/// A port of a 16 Gbit adapter.
class CFC_EMULEX_16G_Vendor : public CFC_EMULEX_Vendor {
public:
    static const std::string className;

    explicit CFC_EMULEX_16G_Vendor(std::string deviceId);
    ~CFC_EMULEX_16G_Vendor() override;

    void LinkDevice() override;
};
