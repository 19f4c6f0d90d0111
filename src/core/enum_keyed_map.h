#pragma once

// A dictionary keyed by an enumeration, in its stored form: a flat JSON array that
// alternates the key's raw text and the value, ["quiet",{...},"auto",{...}], rather
// than an object. Entries are kept as ordered pairs so the written order is the
// caller's.

#include "core/json_support.h"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace halvoren {

template <class E, class V>
using EnumKeyedMap = std::vector<std::pair<E, V>>;

// Throws EncodeError when a value cannot be written (a non-finite number).
template <class E, class V>
Json encodeEnumKeyedMap(const EnumKeyedMap<E, V>& entries) {
    auto array = Json::array();
    for (const auto& [key, value] : entries) {
        array.push_back(json::enumToJson(key));
        array.push_back(Json(value));
    }
    return array;
}

// Throws DecodeError on anything but an array of even length whose keys are raw values
// of E and whose values decode as V. A key given twice keeps its last value, in the
// place of its first.
template <class E, class V>
EnumKeyedMap<E, V> decodeEnumKeyedMap(const Json& array) {
    if (!array.is_array()) {
        throw DecodeError("expected an array of alternating keys and values");
    }
    if (array.size() % 2 != 0) {
        throw DecodeError("a key has no value");
    }
    EnumKeyedMap<E, V> entries;
    for (std::size_t i = 0; i < array.size(); i += 2) {
        const E key = json::enumFromJson<E>(array[i], "key");
        V value;
        try {
            value = array[i + 1].template get<V>();
        } catch (const Json::exception& error) {
            throw DecodeError(std::string("bad value: ") + error.what());
        }
        auto existing = entries.begin();
        while (existing != entries.end() && existing->first != key) {
            ++existing;
        }
        if (existing != entries.end()) {
            existing->second = std::move(value);
        } else {
            entries.emplace_back(key, std::move(value));
        }
    }
    return entries;
}

// The defaults with every stored entry in place of its default. A key missing from
// `stored` keeps its default, so a key added in a later version gets its default;
// a stored key without a default is appended.
template <class E, class V>
EnumKeyedMap<E, V> mergeOverDefaults(EnumKeyedMap<E, V> defaults, const EnumKeyedMap<E, V>& stored) {
    for (const auto& [key, value] : stored) {
        auto it = defaults.begin();
        while (it != defaults.end() && it->first != key) {
            ++it;
        }
        if (it != defaults.end()) {
            it->second = value;
        } else {
            defaults.emplace_back(key, value);
        }
    }
    return defaults;
}

// The value stored for `key`, or null.
template <class E, class V>
const V* findEntry(const EnumKeyedMap<E, V>& entries, E key) {
    for (const auto& entry : entries) {
        if (entry.first == key) {
            return &entry.second;
        }
    }
    return nullptr;
}

// Replaces the value of `key` in its place, or appends the entry.
template <class E, class V>
void setEntry(EnumKeyedMap<E, V>& entries, E key, V value) {
    for (auto& entry : entries) {
        if (entry.first == key) {
            entry.second = std::move(value);
            return;
        }
    }
    entries.emplace_back(key, std::move(value));
}

} // namespace halvoren
