#include "tools/input/Calendar.h"

#include <gtest/gtest.h>

#include <limits>

#include "tools/views/CalendarJson.h"

namespace kestrel {
namespace {

using Kind = InputClock::Kind;
using Limits = std::numeric_limits<int64_t>;

constexpr int64_t DAY_MS = 86'400'000;

TEST(CalendarTest, SaysATimeAsItsInputPrintsIt) {
    const struct {
        const char* name;
        InputClock clock;
        int64_t t;
        const char* text;
    } CASES[] = {
        {"yearless", {Kind::yearless}, 326 * DAY_MS + 49'508'388, "11-22 13:45:08.388"},
        {"29 February", {Kind::yearless}, 59 * DAY_MS, "02-29 00:00:00.000"},
        {"last day", {Kind::yearless}, 366 * DAY_MS - 1, "12-31 23:59:59.999"},
        {"turn of the year", {Kind::yearless}, 366 * DAY_MS, "01-01 00:00:00.000"},
        {"before the year", {Kind::yearless}, -1, "12-31 23:59:59.999"},
        {"year told", {Kind::yearless, 2023}, 60 * DAY_MS, "2023-03-01 00:00:00.000"},
        {"year told, turn", {Kind::yearless, 2023}, 366 * DAY_MS, "2024-01-01 00:00:00.000"},
        {"common year", {Kind::year, 2023}, 59 * DAY_MS, "2023-03-01 00:00:00.000"},
        {"leap year", {Kind::year, 2024}, 59 * DAY_MS, "2024-02-29 00:00:00.000"},
        {"next year", {Kind::year, 2023}, 365 * DAY_MS, "2024-01-01 00:00:00.000"},
        {"year before", {Kind::year, 2023}, -1, "2022-12-31 23:59:59.999"},
        {"epoch", {Kind::epoch}, 19'890 * DAY_MS + 61, "2024-06-16 00:00:00.061"},
        {"before the epoch", {Kind::epoch}, -DAY_MS, "1969-12-31 00:00:00.000"},
        {"time of day", {Kind::timeOfDay}, 86'399'999, "23:59:59.999"},
        {"its next day", {Kind::timeOfDay}, DAY_MS + 7250, "1d 00:00:07.250"},
        {"uptime", {Kind::uptime}, 12 * DAY_MS + 3'600'000, "12d 01:00:00.000"},
        {"counted", {}, 1000, "00:00:01.000"},
        {"counted, before 0", {}, -5, "-5 ms"},
        {"largest", {Kind::epoch}, Limits::max(), "292278994-08-17 07:12:55.807"},
        {"largest, yearless", {Kind::yearless}, Limits::max(), "01-06 07:12:55.807"},
        {"smallest", {Kind::epoch}, Limits::min(), "-292275055-05-16 16:47:04.192"},
        {"year beyond chrono's", {Kind::year, 2'000'000'400}, 0, "2000000400-01-01 00:00:00.000"},
        {"smallest, counted", {}, Limits::min(), "-9223372036854775808 ms"},
    };
    for (const auto& c : CASES) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(calendarText(c.t, c.clock), c.text);
    }
}

TEST(CalendarTest, TakesEachTimeFromTheInputThatItBelongsTo) {
    Calendar calendar;
    EXPECT_EQ(calendar.text(0), "00:00:00.000");
    calendar.add(500, 0, {Kind::yearless});
    calendar.add(5'000, 4'000, {Kind::timeOfDay});
    calendar.add(9'000, Limits::max(), {});
    EXPECT_EQ(calendar.text(-1000), "12-31 23:59:59.000");
    EXPECT_EQ(calendar.text(4999), "01-01 00:00:04.999");
    EXPECT_EQ(calendar.text(5000), "00:00:01.000");
    EXPECT_EQ(calendar.text(9000), "-9223372036854766807 ms");

    Calendar moved;
    moved.add(0, 4'000, {});
    EXPECT_EQ(moved.text(Limits::min()), "-9223372036854775808 ms");
}

TEST(CalendarTest, APageGetsTheDatesThatItNeeds) {
    Calendar calendar;
    calendar.add(DAY_MS + 5, 0, {Kind::yearless});
    calendar.add(3 * DAY_MS + 1, 5, {});
    calendar.add(4 * DAY_MS, 3 * DAY_MS - 7, {Kind::year, 2023});
    EXPECT_EQ(toText(toJson(calendar, 4 * DAY_MS)),
              R"([{"t":86400005,"midnight":86400000,"dates":["01-02","01-03","01-04"]},)"
              R"({"t":259200001,"midnight":5,"dates":[]},)"
              R"({"t":345600000,"midnight":345599993,"dates":["2023-01-02"]}])");
    Calendar endless;
    endless.add(-1, 0, {Kind::epoch});
    EXPECT_EQ(toJson(endless, int64_t{1} << 50)[0]["dates"].size(), 4000U);
    EXPECT_EQ(toJson(endless, Limits::max())[0]["dates"].size(), 0U);
    EXPECT_EQ(toJson(endless, -1)[0]["dates"].dump(), R"(["1969-12-31"])");
}

}  // namespace
}  // namespace kestrel
