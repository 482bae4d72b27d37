#include "tools/input/EventTrace.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "host/KestrelStartsHints.h"
#include "tools/base/FileContent.h"
#include "tools/base/InputError.h"
#include "tools/base/Json.h"
#include "tools/base/StrictJson.h"

namespace kestrel {

using nlohmann::json;

namespace {

std::string_view withoutLeadingBlanks(std::string_view line) {
    const auto begin = line.find_first_not_of(" \t\r\n");
    return begin == std::string_view::npos ? std::string_view() : line.substr(begin);
}

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

HostSetup toSetup(const json& value) {
    ObjectReader::expectObject(value, "host");
    ObjectReader reader(value);
    HostSetup setup;
    reader.readString("featureName", setup.featureName);
    if (setup.featureName.find('\0') != std::string::npos) {
        throw JsonError("\"featureName\" must not hold a zero byte: it names files");
    }
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

HostSetup toSetupObject(const json& object) {
    ObjectReader reader(object);
    const json& host = reader.required("host");
    reader.expectNoOther();
    return toSetup(host);
}

HintEvent toHintEvent(ObjectReader& reader) {
    HintEvent event;
    event.hintId = ObjectReader::toInt<int32_t>(reader.required("hintId"), "hintId");
    reader.readInt("hintType", event.hintType);
    reader.readString("appName", event.appName);
    reader.readInt("hintArg", event.hintArg);
    reader.readInt("launchType", event.launchType);
    reader.readInt("launchArg", event.launchArg);
    reader.readInt("featureVersion", event.featureVersion);
    reader.readInt("dataVersion", event.dataVersion);
    return event;
}

DataQuery toDataQuery(ObjectReader& reader) {
    return {ObjectReader::toInt<int32_t>(reader.required("query"), "query"),
            ObjectReader::toString(reader.required("appName"), "appName")};
}

FeedbackCall toFeedbackCall(ObjectReader& reader) {
    const json& feedback = reader.required("feedback");
    ObjectReader::expectObject(feedback, "feedback");
    ObjectReader fields(feedback);
    FeedbackCall call;
    call.hintId = ObjectReader::toInt<int32_t>(fields.required("hintId"), "hintId");
    call.hintType = ObjectReader::toInt<int32_t>(fields.required("hintType"), "hintType");
    call.appName = ObjectReader::toString(fields.required("appName"), "appName");
    fields.expectNoOther();
    return call;
}

}  // namespace

bool isSkippedTraceLine(std::string_view line) {
    return withoutLeadingBlanks(line).empty() || line.starts_with('#');
}

bool looksLikeTrace(std::string_view line) {
    return withoutLeadingBlanks(line).starts_with('{');
}

std::optional<TraceObject> EventTraceReader::readLine(std::string_view line, std::size_t number) {
    if (isSkippedTraceLine(line)) {
        return std::nullopt;
    }
    try {
        const json object = parseObject(line);
        const bool isFirst = !std::exchange(mSawObject, true);
        if (object.contains("host")) {
            if (!isFirst) {
                throw JsonError("the host's set-up must be the first object");
            }
            mSetup = toSetupObject(object);
            return std::nullopt;
        }
        TraceObject result = toTraceObject(object);
        result.line = number;
        if (mLastT && result.t < *mLastT) {
            throw JsonError("\"t\" goes back from " + std::to_string(*mLastT) + " to " +
                            std::to_string(result.t));
        }
        mLastT = result.t;
        return result;
    } catch (const JsonError& error) {
        throw InputError(mFileName, number, error.what());
    }
}

TraceObject EventTraceReader::toTraceObject(const json& object) {
    ObjectReader reader(object);
    TraceObject result;
    result.t = ObjectReader::toInt<int64_t>(reader.required("t"), "t");
    if (reader.has("query")) {
        result.what = toDataQuery(reader);
    } else if (reader.has("feedback")) {
        result.what = toFeedbackCall(reader);
    } else {
        result.what = toHintEvent(reader);
    }
    reader.expectNoOther();
    return result;
}

HostSetup readSetupFile(const std::string& fileName) {
    std::string content = readFile(fileName);
    // Skipped lines become blank ones, so that the rest keeps its place.
    std::size_t firstLine = 0;
    std::size_t number = 0;
    for (std::size_t begin = 0; begin < content.size(); ++number) {
        const std::size_t end = std::min(content.find('\n', begin), content.size());
        const std::string_view line(content.data() + begin, end - begin);
        if (isSkippedTraceLine(line)) {
            std::fill(content.begin() + static_cast<std::ptrdiff_t>(begin),
                      content.begin() + static_cast<std::ptrdiff_t>(end), ' ');
        } else if (firstLine == 0) {
            firstLine = number + 1;
        }
        begin = end + 1;
    }
    try {
        return toSetupObject(parseObject(content));
    } catch (const JsonError& error) {
        std::size_t line = std::max<std::size_t>(firstLine, 1);
        if (error.offset() > 0) {
            const auto end = content.begin() +
                             static_cast<std::ptrdiff_t>(std::min(error.offset(), content.size()));
            line = static_cast<std::size_t>(std::count(content.begin(), end, '\n')) + 1;
        }
        throw InputError(fileName, line, error.what());
    }
}

std::string toTraceLine(const TraceObject& object) {
    const auto& event = std::get<HintEvent>(object.what);
    Json line = {{"t", object.t}, {"hintId", event.hintId}};
    if (event.hintType != 0) {
        line["hintType"] = event.hintType;
    }
    line["appName"] = event.appName;
    if (event.hintId == KS_LAUNCH_HINT) {
        line["launchType"] = event.launchType;
    }
    return toText(line);
}

}  // namespace kestrel
