#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/KestrelStartsHints.h"
#include "host/ShortName.h"
#include "host/linux/Elapsed.h"

namespace kestrel {

// One run of the launch meter, by its rule: the first frame of the launched package counts, up to
// the launch's end, the next launch or the end of the input. Times in ms.
class LaunchRun {
 public:
    LaunchRun(std::string app, int64_t beganT) : mApp(std::move(app)), mBeganT(beganT) {}

    // Whether an event begins a run.
    static bool begins(int32_t hintId, int32_t hintType) {
        return hintId == KS_LAUNCH_HINT && hintType == KS_HINT_TYPE_LAUNCH;
    }

    // An event that reaches the meter. False: it means nothing to this run, or the run has ended.
    bool take(int32_t hintId, std::string_view app, int64_t t) {
        if (mEndT) {
            return false;
        }
        if (hintId == KS_HINT_LAUNCH_END) {
            mEndT = t;
            return true;
        }
        if (hintId != KS_HINT_METER_EVENT) {
            return false;
        }
        if (!mFrameT && shortName(app) == shortName(mApp)) {
            mFrameT = t;
        }
        return true;
    }

    const std::string& app() const { return mApp; }
    int64_t beganT() const { return mBeganT; }
    std::optional<int64_t> endT() const { return mEndT; }      // none: not by a launch end
    std::optional<int64_t> frameT() const { return mFrameT; }  // none: no first frame so far

    // To the first frame; none without one.
    std::optional<int32_t> durationMs() const {
        return mFrameT ? std::optional(elapsedMs(mBeganT, *mFrameT)) : std::nullopt;
    }

 private:
    std::string mApp;
    int64_t mBeganT;
    std::optional<int64_t> mFrameT;
    std::optional<int64_t> mEndT;
};

}  // namespace kestrel
