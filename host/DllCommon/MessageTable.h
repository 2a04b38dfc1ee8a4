#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// Operator messages: identifiers and their numbers of inserts are compiled in, since a wrong
/// number would read past a caller's arguments; severity and text come from a catalogue.
namespace MessageTable {

struct Entry {
    const char* id;
    std::size_t inserts;
};

const std::vector<Entry>& Entries();

/// Number of inserts of a message; empty for an unknown identifier.
[[nodiscard]] std::optional<std::size_t> InsertsOf(const std::string& id);

}  // namespace MessageTable
