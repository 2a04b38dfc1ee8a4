#pragma once

#include <string>

#include "lab/hbacmd/Fault.h"

/// What the tool prints. It is held until it is flushed, or until the end when a fault spoils the
/// output as a whole.
class Reply {
public:
    explicit Reply(const Faults& callFaults);

    void Line(const std::string& text);
    /// A line "name : value", the colon in the given column.
    void Field(const std::string& name, size_t colonColumn, const std::string& value);
    void Flush();
    void Error(int code, const std::string& text);
    /// Drops what has not been printed yet.
    void Discard() { held.clear(); }
    /// Prints what is left, spoilt as the faults want it. Returns the exit status: a failure when
    /// the output could not be written. Does not return for faults that never end.
    [[nodiscard]] int Finish(int status);

private:
    void Print();
    void Spoil();
    [[noreturn]] void PrintForever();

    const Faults& faults;
    bool holding = false;
    bool failed = false;
    std::string held;
};
