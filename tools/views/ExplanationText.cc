#include "tools/views/ExplanationText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

#include "host/KestrelStartsHints.h"
#include "learning/LearningRules.h"
#include "tools/base/TerminalText.h"
#include "tools/views/Style.h"
#include "tools/views/Table.h"
#include "tools/views/Vocabulary.h"

namespace kestrel {

namespace {

constexpr std::size_t VALUE_WIDTH = 14;  // of numbers below each other

std::string ms(int64_t value) {
    return std::to_string(value) + " ms";
}

std::string percent(float percentage) {
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%.1f %%", static_cast<double>(percentage));
    return text.data();
}

std::string launchWords(const Explanation& x) {
    const bool isGame = x.launchType == KS_LAUNCH_TYPE_GAME;
    return std::string(isGame ? "a game" : "an ordinary app") + " of class " +
           std::to_string(x.appClass);
}

// Prints one explanation, section by section.
class Printer {
 public:
    Printer(std::ostream& out, const std::string& app, const Explanation& x)
        : mOut(out), mApp(app), mX(x) {}

    void print() {
        mOut << styled(printable(mApp), Emphasis::heading) << '\n';
        say("It is " + launchWords(mX) + ". " + currentState());
        printLaunches();
        if (mX.evaluation) {
            printAverage(*mX.evaluation);
        }
        printNext();
        printBoosts();
    }

 private:
    void heading(const std::string& text) {
        mOut << '\n' << styled(text, Emphasis::heading) << '\n';
    }
    void say(const std::string& text) { mOut << wrapped("  " + text, LINE_WIDTH, 2) << '\n'; }

    std::string currentState() const {
        const std::string state =
            "Its state is " + styledState(stateWords(mX.storedState), mX.storedState);
        if (!mX.storedState) {
            return state + ": the states are not there, or damaged. It counts as learning.";
        }
        return state + (mX.state == mX.storedState
                            ? "."
                            : ". A host that starts takes it back to learning.");
    }

    void printLaunches() {
        heading("Stored launches");
        const auto zeros = std::ranges::count(mX.durations, 0);
        std::string text = storedWords();
        if (!mX.durations.empty()) {
            text += ", in ms, oldest first:";
        }
        say(text);
        mOut << durationColumns(mX.durations);
        if (zeros > 0) {
            say("A 0 is a launch of which nothing was measured. It is not averaged. There " +
                std::string(zeros == 1 ? "is 1." : "are " + std::to_string(zeros) + "."));
        }
    }

    std::string storedWords() const {
        const std::string count = std::to_string(mX.durations.size());
        const std::string needed = std::to_string(KS_LAUNCHES_TO_DECIDE);
        return mX.durations.size() > static_cast<std::size_t>(KS_LAUNCHES_TO_DECIDE)
                   ? count + " launches stored, " + needed + " are needed"
                   : count + " of " + needed + " launches stored";
    }

    void printAverage(const DurationEvaluation& e) {
        heading("Outliers");
        if (e.passes.empty()) {
            say("Fewer than three durations are averaged as they are.");
        } else {
            say("A duration that differs from the mean of the larger half by " +
                percent(KS_OUTLIER_PERCENTAGE) + " or more is removed.");
        }
        for (std::size_t i = 0; i < e.passes.size(); ++i) {
            printPass(i + 1, e.passes[i]);
        }
        heading("Result");
        printStep("average of " + std::to_string(e.kept.size()), e.average);
        if (!e.isUnusable) {
            printClamp(e);
            printStep(gameWords(e), e.result);
        }
    }

    void printPass(std::size_t number, const DurationEvaluation::Pass& pass) {
        const std::size_t half = pass.values.size() / 2;
        const std::string name = "Pass " + std::to_string(number) + ": ";
        if (pass.seen.examined.empty()) {
            say(name + std::to_string(pass.values.size()) + " durations are left" +
                (pass.values.size() > 2 ? ", and the mean of the larger half is 0: nothing can be"
                                          " compared with it."
                                        : ", too few for another pass."));
            return;
        }
        say(name + "the mean of the larger " + std::to_string(half) + " of " +
            std::to_string(pass.values.size()) + " is " + ms(pass.seen.meanMs) + ".");
        auto examined = pass.seen.examined.begin();
        for (std::size_t i = 0; i < pass.values.size(); ++i) {
            mOut << paddedLeft(ms(pass.values[i]), VALUE_WIDTH);
            if (examined != pass.seen.examined.end() && examined->index == i) {
                mOut << paddedLeft(percent(examined->percentage), VALUE_WIDTH)
                     << (examined->removed ? "  " + styled("removed", Emphasis::warning) : "");
                ++examined;
            } else {
                mOut << paddedLeft("-", VALUE_WIDTH)
                     << "  behind a removed one, left to the next pass";
            }
            mOut << '\n';
        }
    }

    void printStep(const std::string& what, int32_t result) {
        mOut << "  " << padded(what, 60) << paddedLeft(ms(result), VALUE_WIDTH) << '\n';
    }

    void printClamp(const DurationEvaluation& e) {
        const bool hasLimit = e.range.upperMs != std::numeric_limits<int32_t>::max();
        std::string range = hasLimit
                                ? std::to_string(e.range.lowerMs) + " to " + ms(e.range.upperMs)
                                : "at least " + ms(e.range.lowerMs);
        printStep("clamp of " + launchWords(mX) + ": " + range +
                      (e.clamped == e.average  ? ", kept"
                       : e.clamped > e.average ? ", raised"
                                               : ", lowered"),
                  e.clamped);
    }

    std::string gameWords(const DurationEvaluation& e) const {
        if (e.isScaled) {
            return "game factor: a fifth longer";
        }
        return mX.launchType == KS_LAUNCH_TYPE_GAME ? "game factor: not after a clamp"
                                                    : "game factor: not for ordinary apps";
    }

    void printNext() {
        heading("Next launch");
        say(nextWords());
    }

    std::string nextWords() const {
        switch (mX.next) {
            case NextStep::waits:
                return "Nothing is decided: " + storedWords() + ".";
            case NextStep::learns:
                return learnsWords();
            case NextStep::disables:
                return "The app will be disabled: " + std::to_string(mX.durations.size()) +
                       " launches are stored, " + std::to_string(KS_LAUNCHES_TO_DISABLE) +
                       " or more, and they have no average above 0.";
            case NextStep::dropsRecords:
                return "The store is damaged: the app has " + std::to_string(mX.recordCount) +
                       " learned records instead of one. All of them will be deleted, and nothing"
                       " is decided.";
            case NextStep::counts:
                return countsWords();
            case NextStep::relearns:
                return "It is counted as number " + std::to_string(mX.recordAfter->launchCount) +
                       " of " + std::to_string(KS_LAUNCHES_TO_RELEARN) +
                       " since the app was learned, so that the app goes back to learning. What was"
                       " learned stays in use until the next decision.";
            case NextStep::passes:
                return passesWords();
        }
        return {};
    }

    std::string learnsWords() const {
        if (!mX.recordAfter) {
            return "The app's state will be learned, but the record that this state says is there"
                   " is missing: the result is lost.";
        }
        return "The app will be learned, with " + ms(mX.recordAfter->launchDuration) +
               ". The stored launches are deleted.";
    }

    std::string countsWords() const {
        const std::string total = std::to_string(KS_LAUNCHES_TO_RELEARN);
        std::string text;
        if (!mX.record) {
            text = "The app has no learned record, so that one is begun that says 0 ms. ";
        }
        if (mX.recordAfter->retriggered == 1) {
            return text +
                   "It is not counted: the record says that relearning was triggered, with " +
                   std::to_string(mX.recordAfter->launchCount) + " of " + total + " launches.";
        }
        return text + "It is counted as number " + std::to_string(mX.recordAfter->launchCount) +
               " of " + total + " since the app was learned, after which it is learned anew.";
    }

    std::string passesWords() const {
        if (mX.state != APP_STATE_DISABLED) {
            return "This state is none that the feature knows: the app is boosted, and neither"
                   " measured nor decided on.";
        }
        const std::string text =
            "The app is disabled: it is boosted, but neither measured nor"
            " decided on. ";
        if (mX.isConfigured) {
            return text + "The feature's configuration asks for that.";
        }
        return text + "Either its launches gave no duration when " +
               std::to_string(KS_LAUNCHES_TO_DISABLE) +
               " or more were stored, or the feature's configuration asks for that; the databases"
               " do not say which.";
    }

    void printBoosts() {
        if (mX.launchBoostMs) {
            say("Its default boost lasts " + ms(*mX.defaultBoostMs) + ", its launch boost " +
                ms(*mX.launchBoostMs) + ".");
        } else {
            say("It is not boosted.");
        }
        say(mX.isMeasured ? "It is measured." : "It is not measured.");
    }

    std::ostream& mOut;
    const std::string& mApp;
    const Explanation& mX;
};

}  // namespace

void printExplanation(std::ostream& out, const std::string& app, const Explanation& explanation) {
    Printer(out, app, explanation).print();
}

}  // namespace kestrel
