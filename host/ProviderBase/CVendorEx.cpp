#include "host/CVendorEx.h"

CVendorEx::CVendorEx(std::string deviceId) : CVendor(std::move(deviceId)) {}

CVendorEx::~CVendorEx() = default;
