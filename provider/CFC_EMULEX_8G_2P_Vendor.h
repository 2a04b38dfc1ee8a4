#pragma once

#include "provider/CFC_EMULEX_Vendor.h"

#include <string>

/// A port of an 8 Gbit dual-port adapter. Its model key ends in the adapter's PCI identifiers, for
/// example "fcelx_8g2p_10df_f100_10df_f100"; in nothing when they cannot be read.
class CFC_EMULEX_8G_2P_Vendor : public CFC_EMULEX_Vendor {
public:
    static const std::string className;

    explicit CFC_EMULEX_8G_2P_Vendor(std::string deviceId);
    ~CFC_EMULEX_8G_2P_Vendor() override;

    void LinkDevice() override;

    /// The identifiers that `file` holds, four of them joined by "_" and the rest cut off; a
    /// shorter text as it stands; empty when the file cannot be read.
    static std::string ReadIdentifiers(const std::string& file);
};
