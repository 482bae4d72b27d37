#pragma once

#include <cstdint>
#include <string>

namespace kestrel {

// Makes an event trace, a line per event. App names stand in it as they are given, so that JSON's
// escapes are the caller's.
class Trace {
 public:
    // `more` is further keys, with a comma before each.
    Trace& event(const std::string& app, int64_t t, int32_t hintId, int32_t hintType = 0,
                 const std::string& more = "") {
        mText += "{\"t\":" + std::to_string(t) + ",\"hintId\":" + std::to_string(hintId) +
                 ",\"hintType\":" + std::to_string(hintType) + ",\"appName\":\"" + app + '"' +
                 more + "}\n";
        return *this;
    }
    Trace& launch(const std::string& app, int64_t t) { return event(app, t, 4225, 1); }
    Trace& frame(const std::string& app, int64_t t) { return event(app, t, 4103); }
    Trace& leave(int64_t t) { return event("com.home", t, 4097); }
    Trace& query(const std::string& app, int64_t t) {
        mText += "{\"t\":" + std::to_string(t) + ",\"query\":3,\"appName\":\"" + app + "\"}\n";
        return *this;
    }

    // Launches from `t` on, a minute apart, each left after 50 s.
    Trace& launches(const std::string& app, int count, int64_t t, int64_t durationMs) {
        for (const int64_t end = t + count * MINUTE; t < end; t += MINUTE) {
            launch(app, t).frame(app, t + durationMs).leave(t + 50000);
        }
        return *this;
    }

    const std::string& str() const { return mText; }

    static constexpr int64_t MINUTE = 60000;  // in ms

 private:
    std::string mText;
};

}  // namespace kestrel
