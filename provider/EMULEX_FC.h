#pragma once

/// Entry points of the provider library, the only symbols that it exports.

/// Builds the vendor object of one adapter port. Null for an unknown class name or a null argument;
/// else a CVendor, which the caller gives back through ReleaseVendor.
extern "C" __attribute__((visibility("default"))) void* GetVendorFactory(const char* className,
                                                                         const char* deviceId);

/// Destroys a vendor object that the host has registered under the family class; any other, and
/// null, is left alone. Never throws. Hosts look this function up by its C++ symbol.
__attribute__((visibility("default"))) void ReleaseVendor(void* vendor);
