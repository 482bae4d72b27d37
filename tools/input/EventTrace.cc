#include "tools/input/EventTrace.h"

#include <utility>

#include "host/KestrelStartsHints.h"
#include "tools/base/InputError.h"
#include "tools/base/Json.h"
#include "tools/base/StrictJson.h"
#include "tools/input/HostSetupFile.h"
#include "tools/input/InputKind.h"

namespace kestrel {

using nlohmann::json;

namespace {

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
            mSetup = toSetup(object);
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
