#include "tools/views/CalendarJson.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace kestrel {

namespace {

constexpr int64_t DAY_MS = 86'400'000;
constexpr int64_t MAX_DAYS = 4000;  // of one input; ten years and more
constexpr int64_t EXACT = int64_t{1} << 53;

bool isExact(int64_t t) {
    return -EXACT < t && t < EXACT;
}

bool hasDates(InputClock::Kind kind) {
    return kind == InputClock::Kind::yearless || kind == InputClock::Kind::year ||
           kind == InputClock::Kind::epoch;
}

// When the day of `t` began that the input prints then.
int64_t midnightOf(const Calendar::Input& input) {
    const int64_t intoDay = (input.firstT - input.shift) % DAY_MS;
    return input.firstT - (intoDay < 0 ? intoDay + DAY_MS : intoDay);
}

Json toJson(const Calendar::Input& input, int64_t endT) {
    Json entry = {{"t", input.firstT}, {"midnight", input.shift}, {"dates", Json::array()}};
    if (!hasDates(input.clock.kind) || !isExact(input.firstT) || !isExact(input.shift) ||
        !isExact(endT)) {
        return entry;
    }
    const int64_t midnight = midnightOf(input);
    entry["midnight"] = midnight;
    const int64_t days = std::clamp((endT - midnight) / DAY_MS + 1, int64_t{1}, MAX_DAYS);
    for (int64_t day = 0; day < days; ++day) {
        const std::string time = calendarText(midnight + day * DAY_MS - input.shift, input.clock);
        entry["dates"].push_back(time.substr(0, time.find(' ')));
    }
    return entry;
}

}  // namespace

Json toJson(const Calendar& calendar, int64_t lastT) {
    Json list = Json::array();
    const std::vector<Calendar::Input>& inputs = calendar.inputs();
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        list.push_back(toJson(inputs[i], i + 1 < inputs.size() ? inputs[i + 1].firstT : lastT));
    }
    return list;
}

}  // namespace kestrel
