#include "tools/StrictJson.h"

#include <algorithm>
#include <set>
#include <vector>

using nlohmann::json;

namespace {

// The parser's own message without its name and number.
std::string plainMessage(const json::parse_error& error) {
    const std::string text = error.what();
    const auto end = text.find("] ");
    return "not a JSON object: " + (end == std::string::npos ? text : text.substr(end + 2));
}

}  // namespace

json parseObject(std::string_view text) {
    std::vector<std::set<std::string>> keys;  // of each open object
    const auto refuseDoubleKeys = [&](int /*depth*/, json::parse_event_t event, json& parsed) {
        if (event == json::parse_event_t::object_start) {
            keys.emplace_back();
        } else if (event == json::parse_event_t::object_end) {
            keys.pop_back();
        } else if (event == json::parse_event_t::key) {
            const auto& key = parsed.get_ref<const std::string&>();
            if (!keys.back().insert(key).second) {
                throw JsonError("the key \"" + key + "\" is there twice");
            }
        }
        return true;
    };
    try {
        json object = json::parse(text, refuseDoubleKeys);
        if (!object.is_object()) {
            throw JsonError("not a JSON object");
        }
        return object;
    } catch (const json::parse_error& error) {
        throw JsonError(plainMessage(error), error.byte);
    }
}

const json& ObjectReader::required(const char* key) {
    const json* value = optional(key);
    if (value == nullptr) {
        throw JsonError("the key \"" + std::string(key) + "\" is missing");
    }
    return *value;
}

const json* ObjectReader::optional(const char* key) {
    mRead.push_back(key);
    const auto found = mObject.find(key);
    return found != mObject.end() ? &*found : nullptr;
}

void ObjectReader::expectNoOther() const {
    for (const auto& item : mObject.items()) {
        const bool known = std::any_of(mRead.begin(), mRead.end(),
                                       [&](const char* key) { return item.key() == key; });
        if (!known) {
            throw JsonError("unknown key \"" + item.key() + '"');
        }
    }
}

std::string ObjectReader::toString(const json& value, const std::string& key) {
    if (!value.is_string()) {
        throw JsonError('"' + key + "\" must be a text");
    }
    return value.get<std::string>();
}

const json& ObjectReader::toObject(const json& value, const std::string& key) {
    if (!value.is_object()) {
        throw JsonError('"' + key + "\" must be an object");
    }
    return value;
}

const json& ObjectReader::toArray(const json& value, const std::string& key) {
    if (!value.is_array()) {
        throw JsonError('"' + key + "\" must be a list");
    }
    return value;
}
