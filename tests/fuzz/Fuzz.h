#pragma once

#include <string>
#include <vector>

/// A target is a function `void Fuzz::NAME(const std::string&)` that hands any text at all to
/// readers of text that others wrote. A crash, a sanitizer's report, a time-out or an unmet
/// `Require` is a finding.
namespace Fuzz {

/// A private folder, which is the install root, too; gone at the end of a sound run.
const std::string& Folder();

/// Writes a file below the private folder and returns its path.
std::string Put(const std::string& name, const std::string& text);

/// Ends the run as a finding unless the condition holds.
void Require(bool condition, const char* what);

/// Several texts in one input, "---" alone on a line between them.
std::vector<std::string> Parts(std::string text);

}  // namespace Fuzz
