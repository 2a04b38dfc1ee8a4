#pragma once

#include "provider/common/KeyValueLine.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class TextFile;

/// The adapter tool's list of ports, by what each port's record is made of.
///
/// It answers as if every key of every record were looked for in the file by itself: record k
/// takes from each column the k-th line that holds its key, or the next one that has a value, and
/// ends at the first key that has none.
class AdapterTable {
public:
    using Record = std::map<std::string, std::string>;

    /// What a record holds, in this order.
    enum Name { Address, PortNumber, Bus, Function, PortType, SerialNumber };

    static const std::string BusKey;
    static const std::string FunctionKey;

    /// Takes all there is in the file.
    explicit AdapterTable(TextFile& file);

    /// Number of records.
    std::size_t Size() const { return columns[Address].reach; }

    Record At(std::size_t index) const;

    /// One value of a record; empty where the record lacks it.
    std::string_view Value(std::size_t index, Name name) const;

private:
    struct Entry {
        const std::string* key;
        std::string value;
    };
    struct Column {
        const std::vector<std::string>* keys;
        std::vector<std::size_t> lines = {};  ///< for each line with a key, the value that it gives
        std::vector<Entry> values = {};
        std::size_t reach = 0;  ///< number of those lines that give one
        std::optional<KeyValueLine::Match> match = std::nullopt;  ///< in the line at hand
    };

    void Take(std::string_view line);
    bool FindKeys(std::string_view line, std::size_t at);
    static bool FindKey(std::string_view line, std::size_t at, Column& column);
    static void TakeValue(std::string_view line, Column& column);

    std::vector<Column> columns;
};
