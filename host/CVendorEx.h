#pragma once

#include "host/CVendor.h"

#include <string>

/// Vendor base that providers derive from.
class CVendorEx : public CVendor {
public:
    explicit CVendorEx(std::string deviceId);
    ~CVendorEx() override;
};
