#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "tests/support/ProgramRun.h"

namespace kestrel {

// A record stream that answers by hand what became of its launches and boosts: for each question it
// searches the records forward from where it is asked.
class RecordStream {
 public:
    using Json = nlohmann::json;

    explicit RecordStream(const std::string& text) {
        for (const std::string& line : splitLines(text)) {
            mRecords.push_back(Json::parse(line));
        }
    }

    struct Launch {
        std::size_t at;
        int64_t t;
        std::string app;
        int state;
        Json durationMs;  // or null
        int64_t boostMs;
    };

    std::vector<Launch> launches(bool actedOn) const {
        std::vector<Launch> found;
        for (std::size_t i = 0; i < mRecords.size(); ++i) {
            if (isLaunch(i) && isActedOn(i) == actedOn) {
                const Json& event = mRecords[i];
                const std::string app = event["appName"];
                found.push_back(
                    {i, event["t"], app, stateAfter(i, app), durationOf(i), boostOf(i)});
            }
        }
        return found;
    }

    // When the boost that a record requests ends.
    int64_t endOfBoost(std::size_t request) const {
        const int64_t t = mRecords[request]["t"];
        const int64_t end = t + mRecords[request]["duration"].get<int64_t>();
        const Json& handle = mRecords[request]["handle"];
        for (std::size_t i = request + 1; i < mRecords.size(); ++i) {
            const Json& r = mRecords[i];
            if ((r["kind"] == "release" && r["handle"] == handle && r["result"] == 0) ||
                (r["kind"] == "hintAcqRel" && r["old"] == handle && r["handle"] > 0)) {
                return std::min(end, r["t"].get<int64_t>());
            }
        }
        return end;
    }

    // What was requested for a launch, in ms: "hint" of the launch boost, "hintAcqRel" of the
    // default boost; null: nothing.
    Json requested(const Launch& launch, const std::string& kind) const {
        for (std::size_t i = launch.at + 1; i < endOfEvent(launch.at); ++i) {
            if (mRecords[i]["kind"] == kind) {
                return mRecords[i]["duration"];
            }
        }
        return nullptr;
    }

    // What was decided about an app.
    Json marks(const std::string& app) const {
        Json marks = Json::array();
        for (const Json& r : mRecords) {
            if (!r.contains("app") || r["app"] != app) {
                continue;
            }
            const bool isState = r["kind"] == "state";
            if (r["kind"] == "forget") {
                marks.push_back({{"t", r["t"]}, {"kind", "removed"}});
            } else if (isState && (r["state"] == 5 || r["state"] == 99)) {
                const char* kind = r["state"] == 5 ? "relearning" : "disabled";
                marks.push_back({{"t", r["t"]}, {"kind", kind}});
            } else if (r["kind"] == "export" && (r["text"] == "Data Complete - Eval Required" ||
                                                 r["text"] == "Learning Complete - ENABLED KS")) {
                marks.push_back({{"t", r["t"]}, {"kind", "learned"}, {"durationMs", r["value"]}});
            }
        }
        return marks;
    }

    bool isBoost(std::size_t i) const {
        return (mRecords[i]["kind"] == "hint" || mRecords[i]["kind"] == "hintAcqRel") &&
               mRecords[i]["handle"] > 0;
    }
    const std::vector<Json>& records() const { return mRecords; }

 private:
    static std::string packageOf(const std::string& app) { return app.substr(0, app.find('/')); }

    bool isLaunch(std::size_t i) const {
        const Json& r = mRecords[i];
        return r["kind"] == "event" && r["hintId"] == 4225 && r["hintType"] == 1;
    }

    // The records that handling the event gave end where this says.
    std::size_t endOfEvent(std::size_t i) const {
        static const std::set<std::string> others = {"event", "query", "feedback", "stop"};
        do {
            ++i;
        } while (!others.contains(mRecords[i]["kind"]));
        return i;
    }

    bool isActedOn(std::size_t launch) const {
        for (std::size_t i = launch + 1; i < endOfEvent(launch); ++i) {
            const std::string kind = mRecords[i]["kind"];
            if (kind == "hint" || kind == "hintAcqRel" || kind == "meter") {
                return true;
            }
        }
        return false;
    }

    int stateAfter(std::size_t launch, const std::string& app) const {
        for (std::size_t i = endOfEvent(launch); i-- > 0;) {
            const Json& r = mRecords[i];
            if (r.contains("app") && r["app"] == app &&
                (r["kind"] == "state" || r["kind"] == "forget")) {
                return r.value("state", 0);
            }
        }
        return 0;
    }

    Json durationOf(std::size_t launch) const {
        const Json& event = mRecords[launch];
        for (std::size_t i = launch + 1; i < mRecords.size(); ++i) {
            const Json& r = mRecords[i];
            if ((isLaunch(i) && isActedOn(i)) || (r["kind"] == "meter" && r["hintId"] == 4098)) {
                break;
            }
            if (r["kind"] == "meter" && r["hintId"] == 4103 &&
                packageOf(r["appName"]) == packageOf(event["appName"])) {
                return r["t"].get<int64_t>() - event["t"].get<int64_t>();
            }
        }
        return nullptr;
    }

    int64_t boostOf(std::size_t launch) const {
        const int64_t t = mRecords[launch]["t"];
        int64_t end = t;
        for (std::size_t i = launch + 1; i < endOfEvent(launch); ++i) {
            if (isBoost(i)) {
                end = std::max(end, endOfBoost(i));
            }
        }
        return end - t;
    }

    std::vector<Json> mRecords;
};

}  // namespace kestrel
