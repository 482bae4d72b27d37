#pragma once

#include <cstdint>

#include "tools/base/Json.h"
#include "tools/input/Calendar.h"

namespace kestrel {

// What a page needs to say every time up to `lastT` as the calendar does, without knowing
// calendars: a list of one object for each input, in order, of
//   t         from when on it holds
//   midnight  when its first day began, or its clock was 0
//   dates     of its days from then on, as they are printed; empty: it has no dates
Json toJson(const Calendar& calendar, int64_t lastT);

}  // namespace kestrel
