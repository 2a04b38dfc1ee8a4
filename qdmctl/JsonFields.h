#pragma once

#include "qdmctl/Loaded.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace qdmctl {

/// What a text in a data file must look like.
struct TextForm {
    bool (*accepts)(const std::string& text);
    const char* description;  ///< completes "must be ..."
};

/// What is wrong with a data file, each fault with its place. Stops counting at a limit, so that a
/// hostile file yields a readable answer.
class Faults {
public:
    explicit Faults(std::string file) : file(std::move(file)) {}

    void Add(const std::string& where, const std::string& what);
    bool Any() const { return !messages.empty(); }
    std::vector<Error> AsErrors(ErrorId id, const std::string& hint) const;

private:
    std::string file;
    std::vector<std::string> messages;
};

/// Reads the keys of one JSON object strictly: what is missing or of another type or form becomes a
/// fault, and the value returned is then empty.
class JsonFields {
public:
    static constexpr std::uint64_t noDefault = std::numeric_limits<std::uint64_t>::max();

    /// The value, the faults and the keys that are asked for must outlive the object.
    JsonFields(const nlohmann::json& value, std::string where, Faults& faults);

    bool Has(const char* key) const;
    std::string Text(const char* key, const TextForm& form);
    std::uint64_t Number(const char* key, std::uint64_t least, std::uint64_t most,
                         std::uint64_t missing = noDefault);
    bool Flag(const char* key);  ///< false when missing

    /// An array of `least` to `most` elements.
    const nlohmann::json& Array(const char* key, std::size_t least, std::size_t most);
    std::vector<std::string> Texts(const char* key, const TextForm& form, std::size_t most);
    const nlohmann::json& Object(const char* key);

    /// Makes a fault of every key that has not been asked for.
    void RefuseOtherKeys();

    std::string Place(const std::string& key) const;

private:
    const nlohmann::json* Find(const char* key, bool required);

    const nlohmann::json& object;
    std::string where;
    Faults& faults;
    std::vector<std::string_view> asked;
};

/// "packages[3]"
[[nodiscard]] std::string ElementName(const std::string& array, std::size_t index);

}  // namespace qdmctl
