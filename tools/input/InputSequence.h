#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/linux/HostSetup.h"
#include "tools/base/ReadObserver.h"
#include "tools/input/Calendar.h"
#include "tools/input/FoundInput.h"
#include "tools/input/Input.h"
#include "tools/input/InputKind.h"
#include "tools/input/InputSummary.h"
#include "tools/input/TraceObject.h"

namespace kestrel {

// Several inputs, played one after the other on one clock: one that begins before the last `t` of
// what came before is moved as a whole, to begin 1000 ms after it. "-" names standard input.
// Errors: every operation throws InputError, with file and line where there is one.
class InputSequence {
 public:
    // Opens all and finds the one set-up for them: that of `hostFile` if it is given, else what the
    // first input brings; others must agree. Then checks all files. Standard input is not waited
    // for, unless it comes first and its set-up is needed.
    // `observer` is told of the reading, if there is one; borrowed.
    // REQUIRES: at least one name.
    InputSequence(const std::vector<std::string>& names, const std::optional<std::string>& hostFile,
                  InputOptions options, ReadObserver* observer = nullptr);

    const HostSetup& setup() const { return mSetup; }

    // The first `t` of all, as far as the files tell it; 0 when there is none, or when it has yet
    // to arrive.
    int64_t firstT() const { return mFirstT; }

    // The next object, with its `t` on the common clock; none at the end, or when the user wants no
    // more.
    std::optional<TraceObject> next();

    // Whether everything has been delivered. A live input knows once its end has been met.
    bool isAtEnd() const;

    // The input that the next object comes from, as far as one can know; at the end the last one.
    const std::string& currentName() const { return current().name; }
    bool currentIsLive() const { return current().isLive; }

    bool hasLiveInput() const;

    // Of the current input.
    InputProgress progress() const;

    // Of the inputs that have begun to deliver.
    const Calendar& calendar() const { return mCalendar; }

    // Of all inputs that have begun, in their order; complete at the end.
    std::vector<InputSummary> summaries() const;

 private:
    // A file is recognised and checked at the beginning, a live input when its turn comes: until
    // then it is neither.
    struct Item {
        std::string name;
        bool isLive;
        std::unique_ptr<RecognisedInput> recognised;
        std::unique_ptr<CheckedInput> checked;
    };

    void open(const std::vector<std::string>& names);
    void chooseSetup(const std::optional<std::string>& hostFile);
    void expectSameSetup(const Item& item) const;
    void checkFiles();
    void findLiveAt(std::size_t index);
    void begin(std::size_t index);
    static std::vector<Item> itemsOf(FoundInputs found, bool isLive);
    void moveBehindLast(TraceObject& object);
    const Item& current() const;

    InputOptions mOptions;
    ReadObserver* mObserver;  // null: nobody asked
    std::vector<Item> mItems;
    bool mHasHostFile;
    HostSetup mSetup;
    int64_t mFirstT = 0;
    std::size_t mCurrent = 0;       // the items before it have ended
    std::optional<int64_t> mLastT;  // on the common clock
    std::optional<int64_t> mShift;  // of the current input, once its first object is known
    Calendar mCalendar;
};

}  // namespace kestrel
