#pragma once

#include <string>

/// Operator messages that several classes send alike.
namespace OperatorMessage {

// Who speaks: the first insert of every message.
inline constexpr const char* VendorWord = "vendor";
inline constexpr const char* FirmwareWord = "firm";
inline constexpr const char* DriverWord = "driv";

inline constexpr const char* UtilityName = "One Command Manager";

/// A message whose one further insert is the last error.
void WithLastError(const char* messageId, const char* moduleWord);

/// The adapter tool could not be found; `adapterKind` is the adapters' name in the message. The
/// second form is for the configuration report.
void ToolMissing(const char* moduleWord, const char* adapterKind);
void ToolMissingForReport(const char* moduleWord, const char* adapterKind);

/// After an update the operating version is not that of the update; with a trace line.
void Mismatch(const char* messageId, const char* moduleWord, const std::string& operating,
              const std::string& update);

}  // namespace OperatorMessage
