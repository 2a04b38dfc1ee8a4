#pragma once

#include <memory>
#include <string>

#include "host/ComLib/archive/ArchiveReader.h"

/// A reader of the zip archive that `descriptor` is open on; null, with the reason in `*reason`,
/// when the reader's library cannot be loaded.
[[nodiscard]] std::unique_ptr<ArchiveReader> OpenArchiveReader(int descriptor, std::string* reason);
