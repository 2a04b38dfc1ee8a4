#pragma once

#include <string>

#include "lab/hbacmd/Fault.h"
#include "lab/hbacmd/Reply.h"

/// Flashes an image to the adapter of a port, for all its ports. Throws Refusal, with nothing
/// changed, when port and image do not fit.
void Download(const std::string& wwpn, const std::string& imageFile, const Faults& faults,
              Reply& reply);

/// Resets the adapter of a port: what is flashed runs.
void ResetAdapter(const std::string& wwpn, Reply& reply);
