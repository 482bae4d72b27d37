#include "tools/input/InputSequence.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "tools/base/InputError.h"
#include "tools/input/HostSetupFile.h"
#include "tools/input/InputFile.h"
#include "tools/input/LiveInput.h"

namespace kestrel {

namespace {

constexpr int64_t GAP_BETWEEN_INPUTS_MS = 1000;

// A `t` moved by `shift`, or an error that tells whose `t` does not fit.
int64_t movedBy(int64_t t, int64_t shift, const std::string& name, std::size_t line) {
    int64_t moved = 0;
    if (__builtin_add_overflow(t, shift, &moved)) {
        throw InputError(name, line,
                         "\"t\" does not fit once the input has been moved behind the one before "
                         "it");
    }
    return moved;
}

// How far an input that begins at `first`, on that line, is moved behind one that ended at `last`.
int64_t shiftBehind(std::optional<int64_t> last, int64_t first, const std::string& name,
                    std::size_t line) {
    if (!last || first >= *last) {
        return 0;
    }
    const int64_t begin = movedBy(*last, GAP_BETWEEN_INPUTS_MS, name, line);
    int64_t shift = 0;
    if (__builtin_sub_overflow(begin, first, &shift)) {
        throw InputError(name, line, "\"t\" is too far before the end of the input before it");
    }
    return shift;
}

}  // namespace

InputSequence::InputSequence(const std::vector<std::string>& names,
                             const std::optional<std::string>& hostFile, InputOptions options,
                             ReadObserver* observer)
    : mOptions(std::move(options)), mObserver(observer), mHasHostFile(hostFile.has_value()) {
    open(names);
    chooseSetup(hostFile);
    checkFiles();
}

std::vector<InputSequence::Item> InputSequence::itemsOf(FoundInputs found, bool isLive) {
    std::vector<Item> items;
    for (FoundInput& input : found) {
        items.push_back({std::move(input.name), isLive, std::move(input.recognised), nullptr});
    }
    return items;
}

void InputSequence::open(const std::vector<std::string>& names) {
    if (std::ranges::count(names, LIVE_INPUT) > 1) {
        throw InputError("standard input (-) can be an input only once");
    }
    for (const std::string& name : names) {
        if (name != LIVE_INPUT) {
            std::ranges::move(itemsOf(findInputs(name, mOptions, mObserver), false),
                              std::back_inserter(mItems));
        } else if (isStandardInputAFile()) {
            std::ranges::move(itemsOf(findInStandardFile(mOptions, mObserver), false),
                              std::back_inserter(mItems));
        } else {
            mItems.push_back({name, true, nullptr, nullptr});
        }
    }
}

// Standard input can turn out to hold several inputs.
void InputSequence::findLiveAt(std::size_t index) {
    std::vector<Item> items = itemsOf(findLive(mOptions), true);
    const auto place = mItems.begin() + static_cast<std::ptrdiff_t>(index);
    *place = std::move(items.front());
    mItems.insert(std::next(place), std::move_iterator(std::next(items.begin())),
                  std::move_iterator(items.end()));
}

void InputSequence::chooseSetup(const std::optional<std::string>& hostFile) {
    if (hostFile) {
        mSetup = readSetupFile(*hostFile);
    } else {
        if (mItems.front().isLive) {
            findLiveAt(0);
        }
        mSetup = mItems.front().recognised->setup().value_or(HostSetup{});
    }
    for (const Item& item : mItems) {
        if (!item.isLive) {
            expectSameSetup(item);
        }
    }
}

// There is one host for all inputs, so none may ask for another one than it plays.
void InputSequence::expectSameSetup(const Item& item) const {
    const std::optional<HostSetup>& setup = item.recognised->setup();
    if (!mHasHostFile && setup && *setup != mSetup) {
        throw InputError(item.name + ": its host set-up differs from that of " +
                         mItems.front().name + "; give the one to play with --host");
    }
}

void InputSequence::checkFiles() {
    bool sawLive = false;
    bool sawObject = false;
    std::optional<int64_t> last;
    for (Item& item : mItems) {
        if (item.isLive) {
            sawLive = true;
            continue;
        }
        item.checked = std::move(*item.recognised).check(mSetup);
        item.recognised.reset();
        const auto span = item.checked->span();
        if (!span || sawLive) {
            continue;  // where a live input ends is not known yet
        }
        if (!std::exchange(sawObject, true)) {
            mFirstT = span->firstT;
        }
        const int64_t shift = shiftBehind(last, span->firstT, item.name, span->firstLine);
        last = movedBy(span->lastT, shift, item.name, span->lastLine);
    }
}

void InputSequence::begin(std::size_t index) {
    if (mItems[index].recognised == nullptr) {
        findLiveAt(index);
    }
    Item& item = mItems[index];
    expectSameSetup(item);
    item.checked = std::move(*item.recognised).check(mSetup);
    item.recognised.reset();
}

std::optional<TraceObject> InputSequence::next() {
    for (; mCurrent < mItems.size(); ++mCurrent, mShift.reset()) {
        if (mItems[mCurrent].checked == nullptr) {
            begin(mCurrent);
        }
        const Item& item = mItems[mCurrent];
        if (auto object = item.checked->next()) {
            moveBehindLast(*object);
            return object;
        }
        if (!item.checked->isAtEnd()) {
            break;  // the user wants no more
        }
    }
    return std::nullopt;
}

void InputSequence::moveBehindLast(TraceObject& object) {
    const std::string& name = currentName();
    if (!mShift) {
        mShift = shiftBehind(mLastT, object.t, name, object.line);
        mCalendar.add(movedBy(object.t, *mShift, name, object.line), *mShift,
                      current().checked->summary().clock);
    }
    object.t = movedBy(object.t, *mShift, name, object.line);
    mLastT = object.t;
}

bool InputSequence::isAtEnd() const {
    return std::all_of(mItems.begin() + static_cast<std::ptrdiff_t>(mCurrent), mItems.end(),
                       [](const Item& item) { return item.checked && item.checked->isAtEnd(); });
}

bool InputSequence::hasLiveInput() const {
    return std::ranges::any_of(mItems, &Item::isLive);
}

InputProgress InputSequence::progress() const {
    const Item& item = current();
    return item.checked != nullptr ? item.checked->progress() : InputProgress{};
}

std::vector<InputSummary> InputSequence::summaries() const {
    std::vector<InputSummary> summaries;
    for (const Item& item : mItems) {
        if (item.checked != nullptr) {
            summaries.push_back(item.checked->summary());
            summaries.back().name = item.name;
        }
    }
    return summaries;
}

const InputSequence::Item& InputSequence::current() const {
    return mItems[std::min(mCurrent, mItems.size() - 1)];
}

}  // namespace kestrel
