#pragma once

/// INI files. Copies the value, or `fallback` where section or key is missing, into `buffer`
/// (always ended by a NUL) and returns the number of characters copied.
unsigned int GetPrivateProfileStringA(const char* section, const char* key, const char* fallback,
                                      char* buffer, unsigned int size, const char* file);

/// The value as a decimal number; `fallback` where it is missing, 0 where it is no number.
int GetPrivateProfileIntA(const char* section, const char* key, int fallback, const char* file);
