#include "provider/common/AdapterTable.h"

#include "provider/common/KeyValueLine.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

struct Key {
    std::string name;
    AdapterTable::Name column;
};

// Of two keys of one column the first counts: a port without a WWN shows an address of the other
// kind.
const std::array<Key, 7>& Keys() {
    using T = AdapterTable;
    static const std::array<Key, 7> keys = {{{"Port WWN", T::Address},
                                             {"Permanent MAC", T::Address},
                                             {"Port Number", T::PortNumber},
                                             {T::BusKey, T::Bus},
                                             {T::FunctionKey, T::Function},
                                             {"Port Type", T::PortType},
                                             {"Serial No.", T::SerialNumber}}};
    return keys;
}

constexpr std::string_view initials = "PS";  ///< of the keys

// The keys differ more at their end than at their beginning.
bool BeginsWith(std::string_view text, const std::string& key) {
    return text.size() >= key.size() && text[key.size() - 1] == key.back() &&
           std::memcmp(text.data(), key.data(), key.size()) == 0;
}

}  // namespace

const std::string AdapterTable::BusKey = "PCI Bus Number";
const std::string AdapterTable::FunctionKey = "PCI Function";

bool AdapterTable::Has(std::size_t index) {
    while (index >= columns.back().commonReach && ReadOn()) {
    }
    return index < columns[Address].reach;
}

bool AdapterTable::ReadAll() {
    while (ReadOn()) {
    }
    const bool whole = file.IsWhole();
    file.Close();
    return whole;
}

bool AdapterTable::ReadOn() {
    if (!file.SkipTo(initials)) {
        return false;
    }
    if (const auto line = file.NextInBlanks()) {
        Take(*line);
    }
    return true;
}

// One look at each place where a key may begin, in place of a search for every key: the list is as
// long as a server has ports, and it is read for each of them.
void AdapterTable::Take(std::string_view line) {
    bool found = false;
    for (const char initial : initials) {
        for (std::size_t at = line.find(initial); at != std::string_view::npos;
             at = line.find(initial, at + 1)) {
            found = FindKeys(line, at) || found;
        }
    }
    for (Column& column : columns) {
        if (found && column.match) {
            TakeValue(line, column);
        }
    }
    if (found) {
        UpdateReach();
    }
}

void AdapterTable::UpdateReach() {
    std::size_t least = columns.front().reach;
    for (Column& column : columns) {
        least = std::min(least, column.reach);
        column.commonReach = least;
    }
}

// Keys of one column begin with the same letter, so that the first place of each is met first.
bool AdapterTable::FindKeys(std::string_view line, std::size_t at) {
    const std::string_view rest = line.substr(at);
    for (const Key& key : Keys()) {
        std::optional<KeyValueLine::Match>& match = columns[key.column].match;
        if (BeginsWith(rest, key.name) && (!match || &key.name < match->key)) {
            match = KeyValueLine::Match{&key.name, at};
            return true;  // no other begins here
        }
    }
    return false;
}

void AdapterTable::TakeValue(std::string_view line, Column& column) {
    // A line without a value gives the next one there will be.
    column.lines.push_back(column.values.size());
    if (const auto value = KeyValueLine::Value(line, *column.match, ":")) {
        column.values.push_back({column.match->key, text.size(), value->size()});
        text.append(*value).push_back('\0');
        column.reach = column.lines.size();
    }
    column.match.reset();
}

AdapterTable::Record AdapterTable::At(std::size_t index) const {
    Record record;
    for (const Column& column : columns) {
        if (index >= column.reach) {
            break;
        }
        const Entry& entry = column.values[column.lines[index]];
        record[*entry.key] = ValueOf(entry);
    }
    return record;
}

std::string_view AdapterTable::Value(std::size_t index, Name name) const {
    const Column& column = columns[name];
    return index < column.commonReach ? ValueOf(column.values[column.lines[index]])
                                      : std::string_view();
}
