#pragma once

#include <string>
#include <vector>

/// The record of every call, two JSON lines in the state file "calls": one when it begins, one when
/// it ends. A call that is killed leaves the first alone.
class CallLog {
public:
    explicit CallLog(const std::vector<std::string>& arguments);
    void End(int status) const;
};
