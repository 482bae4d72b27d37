#include "tools/base/JsonStream.h"

#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/base/InputError.h"

namespace kestrel {

namespace {

// The characters of a source, one after the other.
class Characters {
 public:
    explicit Characters(ByteSource& source) : mSource(source) {}

    bool isAtEnd() {
        if (mBlock.empty()) {
            mBlock = mSource.read();
        }
        return mBlock.empty();
    }

    // REQUIRES: not at the end.
    char current() const { return mBlock.front(); }

    void advance() {
        // The line of a line end is the one before it: the parser looks at it to end a number.
        mLine += mWasLineEnd ? 1 : 0;
        mWasLineEnd = mBlock.front() == '\n';
        if (mBlock.front() == '\0') {  // which the parser would take for the end
            throw error("not JSON: a zero byte");
        }
        if (++mValueSize > KS_MAX_JSON_VALUE) {
            throw error("a value of more than " + std::to_string(KS_MAX_JSON_VALUE) + " bytes");
        }
        mBlock.remove_prefix(1);
    }

    void endValue() { mValueSize = 0; }

    std::size_t line() const { return mLine; }

    InputError error(const std::string& what) const { return {mSource.name(), mLine, what}; }

 private:
    ByteSource& mSource;
    std::string_view mBlock;     // what has not been taken
    std::size_t mValueSize = 0;  // since the value before
    std::size_t mLine = 1;
    bool mWasLineEnd = false;  // the character before
};

// For the parser. All copies share one place; none is the end.
class CharacterIterator {
 public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = char;

    CharacterIterator() = default;
    explicit CharacterIterator(Characters& characters) : mCharacters(&characters) {}

    char operator*() const { return mCharacters->current(); }
    CharacterIterator& operator++() {
        mCharacters->advance();
        return *this;
    }
    friend bool operator==(const CharacterIterator& a, const CharacterIterator& b) {
        return a.isAtEnd() == b.isAtEnd();
    }

 private:
    bool isAtEnd() const { return mCharacters == nullptr || mCharacters->isAtEnd(); }

    Characters* mCharacters = nullptr;
};

// What the parser tells, told on with its places. The names are the parser's.
class PlaceFinder {
 public:
    PlaceFinder(std::span<const JsonStep> steps, JsonListener& listener, Characters& characters)
        : mSteps(steps), mListener(listener), mCharacters(characters) {}

    bool null() { return scalar({}); }
    bool boolean(bool /*value*/) { return scalar({}); }
    bool number_integer(std::int64_t value) { return scalar(value); }
    bool number_unsigned(std::uint64_t value) {
        constexpr std::uint64_t KS_LARGEST = std::numeric_limits<std::int64_t>::max();
        return value <= KS_LARGEST ? scalar(static_cast<std::int64_t>(value))
                                   : scalar(static_cast<double>(value));
    }
    bool number_float(double value, const std::string& /*text*/) { return scalar(value); }
    bool string(const std::string& value) { return scalar(std::string_view(value)); }
    bool binary(const std::vector<std::uint8_t>& /*value*/) { return false; }  // not in a text

    bool start_object(std::size_t /*size*/) { return begin(false); }
    bool end_object() { return end(); }
    bool start_array(std::size_t /*size*/) { return begin(true); }
    bool end_array() { return end(); }
    bool key(const std::string& name) {
        mCharacters.endValue();
        mOpen.back().inside = stepTo(mOpen.back().place, name);
        return true;
    }

    bool parse_error(std::size_t offset, const std::string& /*last*/,
                     const nlohmann::json::exception& /*error*/) {
        throw mCharacters.error("not JSON, from byte " + std::to_string(offset) + " on");
    }

 private:
    static constexpr int KS_ELSEWHERE = -1;

    struct Open {
        int place;
        int inside;  // the place of the next value in it
    };

    int placeOfNext() const { return mOpen.empty() ? JsonListener::KS_ROOT : mOpen.back().inside; }

    int stepTo(int from, std::optional<std::string_view> key) const {
        for (const JsonStep& step : mSteps) {
            if (step.from == from && step.key == key) {
                return step.to;
            }
        }
        return KS_ELSEWHERE;
    }

    bool scalar(const JsonScalar& value) {
        mCharacters.endValue();
        if (placeOfNext() != KS_ELSEWHERE) {
            mListener.scalar(placeOfNext(), value, mCharacters.line());
        }
        return true;
    }

    bool begin(bool isList) {
        mCharacters.endValue();
        if (mOpen.size() == KS_MAX_JSON_DEPTH) {
            throw mCharacters.error("JSON that is nested too deeply");
        }
        const int place = placeOfNext();
        mOpen.push_back({place, isList ? stepTo(place, std::nullopt) : KS_ELSEWHERE});
        if (place != KS_ELSEWHERE) {
            mListener.begin(place);
        }
        return true;
    }

    bool end() {
        mCharacters.endValue();
        const int place = mOpen.back().place;
        mOpen.pop_back();
        if (place != KS_ELSEWHERE) {
            mListener.end(place);
        }
        return true;
    }

    std::span<const JsonStep> mSteps;
    JsonListener& mListener;
    Characters& mCharacters;
    std::vector<Open> mOpen;
};

}  // namespace

void readJson(ByteSource& source, std::span<const JsonStep> steps, JsonListener& listener) {
    Characters characters(source);
    PlaceFinder finder(steps, listener, characters);
    nlohmann::json::sax_parse(CharacterIterator(characters), CharacterIterator(), &finder);
}

}  // namespace kestrel
