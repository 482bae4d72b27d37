#include "tools/input/perfetto/LaunchRules.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace kestrel {

namespace {

using Kind = LaunchMark::Kind;

LaunchEvent eventOf(const LaunchMark& mark, LaunchEvent::Kind kind) {
    return {kind, mark.bootNs, mark.line, mark.package};
}

// ---- From API level 33 on: a launch has a number, and its outcome names the package.

struct NumberedLaunch {
    int64_t beganNs = 0;
    std::size_t line = 0;
    std::optional<int64_t> endNs = std::nullopt;
    Kind outcome = Kind::failed;
    std::string package = {};
};

class NumberedLaunches {
 public:
    void add(const LaunchMark& mark);
    RuledLaunches take() &&;

 private:
    void addOutcome(const LaunchMark& mark);
    NumberedLaunch* find(const LaunchMark& mark);

    RuledLaunches mRuled;
    std::vector<NumberedLaunch> mLaunches;
    std::map<std::pair<int32_t, int64_t>, std::size_t> mLatest;  // by process and number
};

NumberedLaunch* NumberedLaunches::find(const LaunchMark& mark) {
    const auto found = mLatest.find({mark.pid, mark.number});
    return found == mLatest.end() ? nullptr : &mLaunches[found->second];
}

void NumberedLaunches::addOutcome(const LaunchMark& mark) {
    NumberedLaunch* const launch = find(mark);
    if (launch != nullptr) {
        launch->outcome = mark.kind;
        launch->package = mark.package;
    } else if (mark.kind == Kind::completed) {
        ++mRuled.cutOff;
    }
}

void NumberedLaunches::add(const LaunchMark& mark) {
    switch (mark.kind) {
        case Kind::launchBegan:
            ++mRuled.starts;
            mLatest[{mark.pid, mark.number}] = mLaunches.size();
            mLaunches.push_back({mark.bootNs, mark.line});
            break;
        case Kind::launchEnded:
            if (NumberedLaunch* const launch = find(mark)) {
                launch->endNs = mark.bootNs;
            }
            break;
        case Kind::completed:
        case Kind::cancelled:
            addOutcome(mark);
            break;
        case Kind::failed:
            ++mRuled.failedStarts;
            break;
        case Kind::sameProcess:
            mRuled.events.push_back(eventOf(mark, LaunchEvent::Kind::appSwitch));
            break;
        default:
            break;
    }
}

RuledLaunches NumberedLaunches::take() && {
    using Event = LaunchEvent::Kind;
    for (const NumberedLaunch& l : mLaunches) {
        if (l.outcome == Kind::cancelled) {
            mRuled.events.push_back({Event::cancelledLaunch, l.beganNs, l.line, l.package});
        } else if (l.outcome == Kind::completed && !l.endNs) {
            ++mRuled.framesNotHeld;
        } else if (l.outcome == Kind::completed) {
            mRuled.events.push_back({Event::launch, l.beganNs, l.line, l.package});
            mRuled.events.push_back({Event::frame, *l.endNs, l.line, l.package});
        }
    }
    return std::move(mRuled);
}

// ---- API levels 29 to 32: requests cut the trace into spans, and a span counts when exactly one
// package's launch begins in it, ends in it, and is told to be finished.

class RequestSpans {
 public:
    void add(const LaunchMark& mark);
    RuledLaunches take() &&;

 private:
    struct Span {
        LaunchMark request = {};
        std::size_t begun = 0;
        LaunchMark slice = {};  // the latest that began
        std::optional<int64_t> endNs = std::nullopt;
        bool isFinished = false;
    };

    void closeSpan();
    void addToSpan(const LaunchMark& mark);

    RuledLaunches mRuled;
    std::optional<Span> mSpan;
};

void RequestSpans::closeSpan() {
    if (mSpan && mSpan->begun == 1 && mSpan->endNs && mSpan->isFinished) {
        const LaunchMark& request = mSpan->request;
        const std::string& package = mSpan->slice.package;
        mRuled.events.push_back({LaunchEvent::Kind::launch, request.bootNs, request.line, package});
        mRuled.events.push_back({LaunchEvent::Kind::frame, *mSpan->endNs, request.line, package});
    }
    mSpan.reset();
}

void RequestSpans::addToSpan(const LaunchMark& mark) {
    const auto idOf = [](const LaunchMark& m) { return std::tie(m.pid, m.number, m.package); };
    if (mark.kind == Kind::packageBegan) {
        ++mSpan->begun;
        mSpan->slice = mark;
    } else if (mark.kind == Kind::packageEnded && mSpan->begun == 1 &&
               idOf(mark) == idOf(mSpan->slice)) {
        mSpan->endNs = mark.bootNs;
    } else if (mark.kind == Kind::requestFinished) {
        mSpan->isFinished = true;
    }
}

void RequestSpans::add(const LaunchMark& mark) {
    if (mark.kind == Kind::requested) {
        closeSpan();
        mSpan = Span{.request = mark};
        ++mRuled.starts;
    } else if (mark.kind == Kind::requestGivenUp) {
        ++mRuled.failedStarts;
    } else if (mSpan) {
        addToSpan(mark);
    }
}

RuledLaunches RequestSpans::take() && {
    closeSpan();
    return std::move(mRuled);
}

// ---- Up to API level 28: every launch of a package counts. One without an end is still going on
// where the trace ends.

class PackageSlices {
 public:
    void add(const LaunchMark& mark);
    RuledLaunches take() && { return std::move(mRuled); }

 private:
    RuledLaunches mRuled;
    std::map<std::tuple<int32_t, int64_t, std::string>, std::size_t> mOpen;  // and their lines
};

void PackageSlices::add(const LaunchMark& mark) {
    if (mark.kind == Kind::packageBegan) {
        mRuled.events.push_back(eventOf(mark, LaunchEvent::Kind::launch));
        mOpen[{mark.pid, mark.number, mark.package}] = mark.line;
        ++mRuled.starts;
    } else if (mark.kind == Kind::packageEnded) {
        const auto open = mOpen.find({mark.pid, mark.number, mark.package});
        if (open == mOpen.end()) {
            ++mRuled.cutOff;
            return;
        }
        mRuled.events.push_back(
            {LaunchEvent::Kind::frame, mark.bootNs, open->second, mark.package});
        mOpen.erase(open);
    }
}

template <typename Rule>
RuledLaunches ruledBy(Rule rule, const std::vector<LaunchMark>& marks) {
    for (const LaunchMark& mark : marks) {
        rule.add(mark);
    }
    return std::move(rule).take();
}

// The kinds are in groups, the newest version's first.
int apiLevelOf(const std::vector<LaunchMark>& marks) {
    int level = 28;
    for (const LaunchMark& mark : marks) {
        if (mark.kind <= Kind::failed) {
            return 33;
        }
        if (mark.kind <= Kind::requestGivenUp) {
            level = 29;
        }
    }
    return level;
}

}  // namespace

RuledLaunches ruledLaunches(const std::vector<LaunchMark>& marks, std::optional<int> apiLevel) {
    const int level = apiLevel ? *apiLevel : apiLevelOf(marks);
    RuledLaunches ruled = level >= 33   ? ruledBy(NumberedLaunches(), marks)
                          : level >= 29 ? ruledBy(RequestSpans(), marks)
                                        : ruledBy(PackageSlices(), marks);
    for (const LaunchMark& mark : marks) {
        if (mark.kind == Kind::cameToFront) {
            ruled.events.push_back(eventOf(mark, LaunchEvent::Kind::appSwitch));
        }
    }
    return ruled;
}

}  // namespace kestrel
