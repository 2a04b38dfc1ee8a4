#pragma once

#include <string>
#include <vector>

/// A fault that the lab's owner has switched on for a verb.
struct Fault {
    std::string verb;  ///< as the user writes it, or "all"
    std::string kind;
    std::string value;    ///< "-" for none
    long remaining = -1;  ///< calls that it still strikes; negative: every call

    /// The value as a number, or what is given for one that has none.
    [[nodiscard]] long Number(long fallback) const;
};

/// The faults that strike one call of the tool.
class Faults {
public:
    Faults() = default;
    explicit Faults(std::vector<Fault> list) : faults(std::move(list)) {}

    [[nodiscard]] const Fault* Find(const char* kind) const;
    [[nodiscard]] bool Has(const char* kind) const { return Find(kind) != nullptr; }

private:
    std::vector<Fault> faults;
};

/// Reads the faults of a verb and counts this call against those that strike a number of times.
[[nodiscard]] Faults TakeFaults(const std::string& verb);

[[noreturn]] void HangForever();
/// Dies as a program with a wild pointer does, without leaving a core file.
[[noreturn]] void Crash();
