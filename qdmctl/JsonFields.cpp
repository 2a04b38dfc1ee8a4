#include "qdmctl/JsonFields.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

using Json = nlohmann::json;

constexpr std::size_t mostFaults = 10;

const Json& EmptyArray() {
    static const Json empty = Json::array();
    return empty;
}

const Json& EmptyObject() {
    static const Json empty = Json::object();
    return empty;
}

std::string Range(std::uint64_t least, std::uint64_t most) {
    return std::to_string(least) + " to " + std::to_string(most);
}

}  // namespace

void Faults::Add(const std::string& where, const std::string& what) {
    if (messages.size() < mostFaults) {
        messages.push_back(file + ": " + (where.empty() ? "" : where + ": ") + what);
    }
}

std::vector<Error> Faults::AsErrors(ErrorId id, const std::string& hint) const {
    std::vector<Error> errors;
    for (const std::string& message : messages) {
        Error error;
        error.id = id;
        error.message = message;
        error.hint = hint;
        errors.push_back(error);
    }
    return errors;
}

JsonFields::JsonFields(const Json& value, std::string where, Faults& faults)
    : object(value.is_object() ? value : EmptyObject()), where(std::move(where)), faults(faults) {
    asked.reserve(object.size());
    if (!value.is_object()) {
        faults.Add(this->where, "must be an object");
    }
}

std::string JsonFields::Place(const std::string& key) const {
    return where.empty() ? key : where + "." + key;
}

bool JsonFields::Has(const char* key) const {
    return object.contains(key);
}

const Json* JsonFields::Find(const char* key, bool required) {
    asked.push_back(key);
    const auto found = object.find(key);
    if (found != object.end()) {
        return &*found;
    }
    if (required) {
        faults.Add(Place(key), "is missing");
    }
    return nullptr;
}

std::string JsonFields::Text(const char* key, const TextForm& form) {
    const Json* value = Find(key, true);
    if (value == nullptr) {
        return {};
    }
    if (!value->is_string() || !form.accepts(value->get_ref<const std::string&>())) {
        faults.Add(Place(key), std::string("must be ") + form.description);
        return {};
    }
    return value->get<std::string>();
}

std::uint64_t JsonFields::Number(const char* key, std::uint64_t least, std::uint64_t most,
                                 std::uint64_t missing) {
    const Json* value = Find(key, missing == noDefault);
    if (value == nullptr) {
        return missing == noDefault ? 0 : missing;
    }
    const std::uint64_t number = value->is_number_unsigned() ? value->get<std::uint64_t>() : 0;
    if (!value->is_number_unsigned() || number < least || number > most) {
        faults.Add(Place(key), "must be a whole number, " + Range(least, most));
        return 0;
    }
    return number;
}

bool JsonFields::Flag(const char* key) {
    const Json* value = Find(key, false);
    if (value != nullptr && !value->is_boolean()) {
        faults.Add(Place(key), "must be true or false");
        return false;
    }
    return value != nullptr && value->get<bool>();
}

const Json& JsonFields::Array(const char* key, std::size_t least, std::size_t most) {
    const Json* value = Find(key, true);
    if (value == nullptr) {
        return EmptyArray();
    }
    if (!value->is_array() || value->size() < least || value->size() > most) {
        faults.Add(Place(key), "must be an array of " + Range(least, most) + " elements");
        return EmptyArray();
    }
    return *value;
}

std::vector<std::string> JsonFields::Texts(const char* key, const TextForm& form,
                                           std::size_t most) {
    std::vector<std::string> texts;
    for (const Json& element : Array(key, 1, most)) {
        if (element.is_string() && form.accepts(element.get_ref<const std::string&>())) {
            texts.push_back(element.get<std::string>());
        } else {
            faults.Add(Place(key), std::string("each must be ") + form.description);
        }
    }
    return texts;
}

const Json& JsonFields::Object(const char* key) {
    const Json* value = Find(key, true);
    if (value == nullptr || !value->is_object()) {
        if (value != nullptr) {
            faults.Add(Place(key), "must be an object");
        }
        return EmptyObject();
    }
    return *value;
}

void JsonFields::RefuseOtherKeys() {
    for (const auto& [key, value] : object.items()) {
        if (std::find(asked.begin(), asked.end(), key) == asked.end()) {
            faults.Add(Place(key), "is no known key");
        }
    }
}

std::string ElementName(const std::string& array, std::size_t index) {
    return array + "[" + std::to_string(index) + "]";
}

}  // namespace qdmctl
