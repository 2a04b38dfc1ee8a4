#pragma once

#include "provider/CFC_EMULEX_Vendor.h"

#include <string>

/// A port of a 8 Gbit single-port adapter.
class CFC_EMULEX_8G_1P_Vendor : public CFC_EMULEX_Vendor {
public:
    static const std::string className;

    explicit CFC_EMULEX_8G_1P_Vendor(std::string deviceId);
    ~CFC_EMULEX_8G_1P_Vendor() override;

    void LinkDevice() override;
};
