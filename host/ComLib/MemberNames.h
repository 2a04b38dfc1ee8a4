#pragma once

#include <map>
#include <string>

/// Names of an archive's members, checked one by one and against each other.
class MemberNames {
public:
    explicit MemberNames(unsigned deepest) : deepest(deepest) {}

    /// Takes a name, without a final "/" for a folder, too. Returns why it is refused; empty when
    /// it is sound.
    [[nodiscard]] std::string Add(const std::string& name, bool folder);

private:
    struct Known {
        std::string name;
        bool folder;
        bool listed;  ///< a member itself, not only a folder above one
    };

    std::string AddPart(const std::string& name, bool folder, bool listed);

    unsigned deepest;
    std::map<std::string, Known> known;  ///< by name in lower case
};
