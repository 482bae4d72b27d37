#include "tools/base/StrictJson.h"

#include <algorithm>
#include <set>
#include <vector>

namespace kestrel {

using nlohmann::json;

namespace {

// The parser's own message without its name and number, and without its line, which the caller
// knows better; a text as long as the input's is cut.
std::string plainMessage(const json::exception& error) {
    constexpr std::size_t LONGEST = 200;
    std::string text = error.what();
    if (const auto end = text.find("] "); end != std::string::npos) {
        text.erase(0, end + 2);
    }
    if (const auto line = text.find(" at line "); line != std::string::npos) {
        if (const auto comma = text.find(", ", line); comma != std::string::npos) {
            text.replace(line, comma + 2 - line, " at ");
        }
    }
    if (text.size() > LONGEST) {
        text = text.substr(0, LONGEST) + "...";
    }
    return "not a JSON object: " + text;
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
    // The parser would take the one for the end of the text and pass over the other.
    if (const auto zero = text.find('\0'); zero != std::string_view::npos) {
        throw JsonError("not a JSON object: a zero byte at column " + std::to_string(zero + 1));
    }
    if (text.starts_with("\xef\xbb\xbf")) {
        throw JsonError("not a JSON object: a byte order mark");
    }
    try {
        json object = json::parse(text, refuseDoubleKeys);
        if (!object.is_object()) {
            throw JsonError("not a JSON object");
        }
        return object;
    } catch (const json::parse_error& error) {
        throw JsonError(plainMessage(error), error.byte);
    } catch (const json::exception& error) {  // a number that is none, say
        throw JsonError(plainMessage(error));
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
            throw JsonError("unknown key \"" + item.key().substr(0, 100) + '"');
        }
    }
}

std::string ObjectReader::toString(const json& value, const std::string& key) {
    if (!value.is_string()) {
        throw JsonError('"' + key + "\" must be a text");
    }
    auto text = value.get<std::string>();
    if (text.find('\0') != std::string::npos) {
        throw JsonError('"' + key + "\" must not hold a zero byte");
    }
    return text;
}

void ObjectReader::expectObject(const json& value, const std::string& key) {
    if (!value.is_object()) {
        throw JsonError('"' + key + "\" must be an object");
    }
}

void ObjectReader::expectArray(const json& value, const std::string& key) {
    if (!value.is_array()) {
        throw JsonError('"' + key + "\" must be a list");
    }
}

}  // namespace kestrel
