#pragma once

#include "provider/common/KeyValueLine.h"
#include "provider/common/TextFile.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

    /// The file is read as far as the records that are asked for.
    explicit AdapterTable(const std::string& path) : file(path) {}

    /// Whether the file could be opened.
    explicit operator bool() const { return static_cast<bool>(file); }

    /// Whether there are so many records and one more. To be asked before one is looked at.
    bool Has(std::size_t index);

    Record At(std::size_t index) const;

    /// Reads all that there is and closes the file; false where a part of it could not be read.
    [[nodiscard]] bool ReadAll();

    /// Of the file, while it is open.
    std::optional<FileStamp> Stamp() const { return file.Stamp(); }

    /// One value of a record, with a NUL behind it; empty where the record lacks it.
    std::string_view Value(std::size_t index, Name name) const;

private:
    struct Entry {
        const std::string* key;
        std::size_t begin;  ///< of the value in `text`, where a NUL ends it
        std::size_t size;
    };
    struct Column {
        std::vector<std::size_t> lines = {};  ///< for each line with a key, the value that it gives
        std::vector<Entry> values = {};
        std::size_t reach = 0;        ///< number of those lines that give one
        std::size_t commonReach = 0;  ///< the least of this column and those before it
        std::optional<KeyValueLine::Match> match = std::nullopt;  ///< in the line at hand
    };

    bool ReadOn();
    void Take(std::string_view line);
    bool FindKeys(std::string_view line, std::size_t at);
    void TakeValue(std::string_view line, Column& column);
    void UpdateReach();
    std::string_view ValueOf(const Entry& entry) const { return {&text[entry.begin], entry.size}; }

    TextFile file;
    std::array<Column, SerialNumber + 1> columns;
    std::string text;  ///< all values
};
