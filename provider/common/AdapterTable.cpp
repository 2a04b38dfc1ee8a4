#include "provider/common/AdapterTable.h"

#include "provider/common/KeyValueLine.h"
#include "provider/common/TextFile.h"

#include <algorithm>
#include <cstring>

namespace {

using Keys = std::vector<std::string>;

// A port without a WWN shows an address of the other kind.
const Keys& KeysOf(AdapterTable::Name name) {
    static const Keys keys[] = {
        {"Port WWN", "Permanent MAC"}, {"Port Number"}, {AdapterTable::BusKey},
        {AdapterTable::FunctionKey},   {"Port Type"},   {"Serial No."}};
    return keys[name];
}

constexpr std::string_view initials = "PS";  ///< of the keys

// Most keys differ from the text in their second letter.
bool BeginsWith(std::string_view text, const std::string& key) {
    return text.size() >= key.size() && text[1] == key[1] &&
           std::memcmp(text.data(), key.data(), key.size()) == 0;
}

}  // namespace

const std::string AdapterTable::BusKey = "PCI Bus Number";
const std::string AdapterTable::FunctionKey = "PCI Function";

AdapterTable::AdapterTable(TextFile& file) {
    for (const Name name : {Address, PortNumber, Bus, Function, PortType, SerialNumber}) {
        columns.push_back({&KeysOf(name)});
    }
    while (file.SkipTo(initials)) {
        if (const auto line = file.NextInBlanks()) {
            Take(*line);
        }
    }
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
}

bool AdapterTable::FindKeys(std::string_view line, std::size_t at) {
    bool found = false;
    for (Column& column : columns) {
        found = FindKey(line, at, column) || found;
    }
    return found;
}

// Of several keys in a line the first of the list counts. Keys of one column begin with the same
// letter, so that the first place of each is met first.
bool AdapterTable::FindKey(std::string_view line, std::size_t at, Column& column) {
    for (const std::string& key : *column.keys) {
        if (column.match && column.match->key == &key) {
            return false;
        }
        if (BeginsWith(line.substr(at), key)) {
            column.match = KeyValueLine::Match{&key, at};
            return true;
        }
    }
    return false;
}

void AdapterTable::TakeValue(std::string_view line, Column& column) {
    // A line without a value gives the next one there will be.
    column.lines.push_back(column.values.size());
    if (const auto value = KeyValueLine::Value(line, *column.match, ":")) {
        column.values.push_back({column.match->key, std::string(*value)});
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
        record[*entry.key] = entry.value;
    }
    return record;
}

std::string_view AdapterTable::Value(std::size_t index, Name name) const {
    const bool complete = std::all_of(columns.begin(), columns.begin() + name + 1,
                                      [&](const Column& column) { return index < column.reach; });
    return complete ? columns[name].values[columns[name].lines[index]].value : std::string_view();
}
