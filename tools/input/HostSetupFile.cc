#include "tools/input/HostSetupFile.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "tools/base/FileContent.h"
#include "tools/base/InputError.h"
#include "tools/base/Lines.h"
#include "tools/base/StrictJson.h"
#include "tools/input/InputKind.h"

namespace kestrel {

using nlohmann::json;

namespace {

std::vector<std::string> toStrings(const json& value, const std::string& key) {
    std::vector<std::string> texts;
    ObjectReader::expectArray(value, key);
    for (const json& item : value) {
        texts.push_back(ObjectReader::toString(item, key));
    }
    return texts;
}

std::set<std::string> toStringSet(const json& value, const std::string& key) {
    const std::vector<std::string> texts = toStrings(value, key);
    return {texts.begin(), texts.end()};
}

// A list of some of the words that `key` allows.
std::set<std::string> toWords(const json& value, const std::string& key,
                              std::initializer_list<const char*> allowed) {
    std::set<std::string> words = toStringSet(value, key);
    for (const std::string& word : words) {
        if (std::find(allowed.begin(), allowed.end(), word) == allowed.end()) {
            std::string text = '"' + key;
            throw JsonError(text += "\" does not know \"" + word + '"');
        }
    }
    return words;
}

std::map<std::string, std::string> toTexts(const json& value, const std::string& key) {
    std::map<std::string, std::string> texts;
    ObjectReader::expectObject(value, key);
    for (const auto& item : value.items()) {
        texts[item.key()] = ObjectReader::toString(item.value(), item.key());
    }
    return texts;
}

std::map<std::string, int32_t> toNumbers(const json& value, const std::string& key) {
    std::map<std::string, int32_t> numbers;
    ObjectReader::expectObject(value, key);
    for (const auto& item : value.items()) {
        numbers[item.key()] = ObjectReader::toInt<int32_t>(item.value(), item.key());
    }
    return numbers;
}

RemovalPolicy toRemovalPolicy(const json& value, const std::string& key) {
    const std::string text = ObjectReader::toString(value, key);
    if (text == "forget") {
        return RemovalPolicy::forget;
    }
    if (text == "keep") {
        return RemovalPolicy::keep;
    }
    if (text == "ignore") {
        return RemovalPolicy::ignore;
    }
    throw JsonError('"' + key + "\" must be \"forget\", \"keep\" or \"ignore\"");
}

HostSetup toHost(const json& value) {
    ObjectReader::expectObject(value, "host");
    ObjectReader reader(value);
    HostSetup setup;
    reader.readString("featureName", setup.featureName);
    if (const json* found = reader.optional("properties")) {
        setup.properties = toTexts(*found, "properties");
    }
    if (const json* found = reader.optional("knobs")) {
        setup.knobs.reset();
        if (!found->is_null()) {
            setup.knobs.emplace();
            ObjectReader::expectArray(*found, "knobs");
            for (const json& knob : *found) {
                setup.knobs->insert(ObjectReader::toInt<int32_t>(knob, "knobs"));
            }
        }
    }
    if (const json* found = reader.optional("disabledApps")) {
        setup.disabledApps = toStrings(*found, "disabledApps");
    }
    if (const json* found = reader.optional("ignoredApps")) {
        setup.ignoredApps = toStrings(*found, "ignoredApps");
    }
    if (const json* found = reader.optional("config")) {
        setup.config = toTexts(*found, "config");
    }
    if (const json* found = reader.optional("appClasses")) {
        setup.appClasses.reset();
        if (!found->is_null()) {
            setup.appClasses = toNumbers(*found, "appClasses");
        }
    }
    if (const json* found = reader.optional("games")) {
        setup.games = toStringSet(*found, "games");
    }
    if (const json* found = reader.optional("removals")) {
        setup.removals = toRemovalPolicy(*found, "removals");
    }
    if (const json* found = reader.optional("pids")) {
        setup.pids = toNumbers(*found, "pids");
    }
    if (const json* found = reader.optional("absent")) {
        setup.absent = toWords(*found, "absent", {"property", "hint", "hintAcqRel", "release"});
    }
    if (const json* found = reader.optional("failing")) {
        setup.failing = toWords(*found, "failing", {"hint", "hintAcqRel"});
    }
    reader.expectNoOther();
    return setup;
}

// Makes the lines that a trace would skip blank, so that the rest keeps its place. Returns the
// number of the first line that says something, or 1.
std::size_t blankSkippedLines(std::string& text) {
    std::size_t firstLine = 0;
    std::string_view rest = text;
    for (std::size_t number = 1; !rest.empty(); ++number) {
        const std::string_view line = takeLine(rest);
        if (isSkippedTraceLine(line)) {
            std::fill_n(text.data() + (line.data() - text.data()), line.size(), ' ');
        } else if (firstLine == 0) {
            firstLine = number;
        }
    }
    return std::max<std::size_t>(firstLine, 1);
}

std::size_t lineOf(const std::string& text, std::size_t offset) {
    const std::string_view before = std::string_view(text).substr(0, offset);
    return static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1;
}

}  // namespace

HostSetup toSetup(const json& object) {
    ObjectReader reader(object);
    const json& host = reader.required("host");
    reader.expectNoOther();
    return toHost(host);
}

HostSetup readSetupFile(const std::string& fileName) {
    std::string text = readFile(fileName);
    const std::size_t firstLine = blankSkippedLines(text);
    try {
        return toSetup(parseObject(text));
    } catch (const JsonError& error) {
        const std::size_t line = error.offset() > 0 ? lineOf(text, error.offset()) : firstLine;
        throw InputError(fileName, line, error.what());
    }
}

HostSetup setupOf(const std::optional<std::string>& hostFile) {
    return hostFile ? readSetupFile(*hostFile) : HostSetup{};
}

}  // namespace kestrel
