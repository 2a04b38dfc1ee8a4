#pragma once

/// Host console or log message. Wide characters take four bytes on this platform; `detail` may be
/// null.
void ShowMessage(const wchar_t* text, const char* detail);
void ShowMessage(const wchar_t* text, const wchar_t* detail = nullptr);
