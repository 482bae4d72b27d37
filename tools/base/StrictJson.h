#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kestrel {

// JSON read without guessing: every key must be known and there once, every value of its type and
// in its range. What is wrong is thrown as JsonError, in words for the user.

class JsonError : public std::runtime_error {
 public:
    JsonError(const std::string& what, std::size_t offset = 0)
        : std::runtime_error(what), mOffset(offset) {}
    std::size_t offset() const { return mOffset; }  // bytes into the text, of a syntax error

 private:
    std::size_t mOffset;
};

// Parses one JSON object.
nlohmann::json parseObject(std::string_view text);

// Reads the keys of one object; each read marks its key as known.
class ObjectReader {
 public:
    explicit ObjectReader(const nlohmann::json& object) : mObject(object) {}

    bool has(const char* key) const { return mObject.contains(key); }

    // The value of a key that must be there.
    const nlohmann::json& required(const char* key);

    // The value of a key, or null when it is not there.
    const nlohmann::json* optional(const char* key);

    template <class Int>
    void readInt(const char* key, Int& value) {
        if (const auto* found = optional(key)) {
            value = toInt<Int>(*found, key);
        }
    }

    void readString(const char* key, std::string& value) {
        if (const auto* found = optional(key)) {
            value = toString(*found, key);
        }
    }

    // Throws for a key that nobody has read.
    void expectNoOther() const;

    template <class Int>
    static Int toInt(const nlohmann::json& value, const std::string& key) {
        using Limits = std::numeric_limits<Int>;
        if (value.is_number_unsigned()) {
            if (value.get<uint64_t>() <= static_cast<uint64_t>(Limits::max())) {
                return static_cast<Int>(value.get<uint64_t>());
            }
        } else if (value.is_number_integer()) {
            const auto number = value.get<int64_t>();
            if (number >= static_cast<int64_t>(Limits::min()) &&
                (number < 0 ||
                 static_cast<uint64_t>(number) <= static_cast<uint64_t>(Limits::max()))) {
                return static_cast<Int>(number);
            }
        }
        throw JsonError('"' + key + "\" must be a whole number from " +
                        std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()));
    }
    static std::string toString(const nlohmann::json& value, const std::string& key);
    static void expectObject(const nlohmann::json& value, const std::string& key);
    static void expectArray(const nlohmann::json& value, const std::string& key);

 private:
    const nlohmann::json& mObject;
    std::vector<const char*> mRead;
};

}  // namespace kestrel
