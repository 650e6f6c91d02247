#pragma once
// Strict readers for required keys of the stored records: each throws nlohmann::json::exception
// when the key is missing or holds a value of another type, so one bad key fails the whole record.

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace lumenary::jsonfields {

using Json = nlohmann::ordered_json;

inline const Json& required(const Json& json, const char* key) {
    return json.at(key);  // out_of_range when missing, type_error when `json` is not an object
}

inline std::string text(const Json& json, const char* key) {
    return required(json, key).get<std::string>();  // type_error for anything but a string
}

inline bool flag(const Json& json, const char* key) {
    return required(json, key).get<bool>();  // type_error for anything but true or false
}

inline std::vector<std::string> texts(const Json& json, const char* key) {
    return required(json, key).get<std::vector<std::string>>();
}

/// An object whose every value is a string.
inline std::map<std::string, std::string> textMap(const Json& value, const char* key) {
    if (!value.is_object())
        throw Json::type_error::create(302, std::string(key) + " must be an object", &value);
    std::map<std::string, std::string> result;
    for (const auto& [name, entry] : value.items())
        result[name] = entry.get<std::string>();
    return result;
}

}  // namespace lumenary::jsonfields
