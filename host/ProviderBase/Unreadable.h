#pragma once

/// The version text with which providers say that a version cannot be read.
constexpr const char* kUnreadableVersion = "abnormal";
