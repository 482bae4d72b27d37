#include "tools/input/Calendar.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <limits>

namespace kestrel {

namespace {

constexpr int64_t DAY_MS = 86'400'000;
constexpr int64_t UNPRINTED_YEAR_DAYS = 366;
// The Gregorian calendar begins anew after so many years.
constexpr int64_t CYCLE_YEARS = 400;
constexpr int64_t CYCLE_DAYS = 146'097;
constexpr int ANY_LEAP_YEAR = 2000;

// Rounded down, and what is left, which is never negative.
struct Division {
    int64_t quotient;
    int64_t rest;

    Division(int64_t number, int64_t divisor) : quotient(number / divisor), rest(number % divisor) {
        if (rest < 0) {
            rest += divisor;
            --quotient;
        }
    }
};

struct Date {
    int64_t year;
    int month;
    int day;
};

// `day` days behind the start of a year that is small enough for chrono.
Date dateOf(int64_t year, int64_t day) {
    using namespace std::chrono;
    const sys_days start = std::chrono::year(static_cast<int>(year)) / January / 1;
    const year_month_day date = start + days(static_cast<int>(day));
    return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day()))};
}

// The same for any year and any number of days.
Date gregorian(int year, int64_t day) {
    const Division years(year, CYCLE_YEARS);
    const Division days(day, CYCLE_DAYS);
    Date date = dateOf(years.rest, days.rest);
    date.year += (years.quotient + days.quotient) * CYCLE_YEARS;
    return date;
}

Date inUnprintedYears(int year, int64_t day) {
    const Division turns(day, UNPRINTED_YEAR_DAYS);
    Date date = dateOf(ANY_LEAP_YEAR, turns.rest);
    date.year = year + turns.quotient;
    return date;
}

template <class... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string timeOfDay(int64_t ms) {
    return formatted("%02d:%02d:%02d.%03d", static_cast<int>(ms / 3'600'000),
                     static_cast<int>(ms / 60'000 % 60), static_cast<int>(ms / 1000 % 60),
                     static_cast<int>(ms % 1000));
}

std::string withoutDate(int64_t t) {
    if (t < 0) {
        return std::to_string(t) + " ms";
    }
    const std::string time = timeOfDay(t % DAY_MS);
    return t < DAY_MS ? time : std::to_string(t / DAY_MS) + "d " + time;
}

std::string monthAndDay(const Date& date) {
    return formatted("%02d-%02d ", date.month, date.day);
}

std::string wholeDate(const Date& date) {
    return formatted("%04lld-", static_cast<long long>(date.year)) + monthAndDay(date);
}

}  // namespace

std::string Calendar::text(int64_t t) const {
    const auto behind = std::ranges::upper_bound(mInputs, t, {}, &Input::firstT);
    if (mInputs.empty()) {
        return calendarText(t, {});
    }
    const Input& input = behind == mInputs.begin() ? mInputs.front() : *(behind - 1);
    int64_t own = 0;
    if (__builtin_sub_overflow(t, input.shift, &own)) {
        own = std::numeric_limits<int64_t>::min();  // no input is moved backwards
    }
    return calendarText(own, input.clock);
}

std::string calendarText(int64_t t, InputClock clock) {
    const Division days(t, DAY_MS);
    const std::string time = timeOfDay(days.rest);
    switch (clock.kind) {
        case InputClock::Kind::yearless: {
            const Date date = inUnprintedYears(clock.year, days.quotient);
            return (clock.year == 0 ? monthAndDay(date) : wholeDate(date)) + time;
        }
        case InputClock::Kind::year:
            return wholeDate(gregorian(clock.year, days.quotient)) + time;
        case InputClock::Kind::epoch:
            return wholeDate(gregorian(1970, days.quotient)) + time;
        case InputClock::Kind::none:
        case InputClock::Kind::uptime:
        case InputClock::Kind::timeOfDay:
            break;
    }
    return withoutDate(t);
}

}  // namespace kestrel
