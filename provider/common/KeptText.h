#pragma once

#include "provider/common/FileStamp.h"

#include <memory>
#include <string>

/// Texts of the small files that every look-up of a version reads, so that each is read once as
/// long as it does not change.
namespace KeptText {

/// The text of the file, the stamp of which has been taken just now. Null where it is a large one,
/// or was written so recently that it could change and keep its stamp, or is another one by now.
std::shared_ptr<const std::string> Of(const std::string& path, const FileStamp& stamp);

}  // namespace KeptText
