#pragma once

#include <ostream>

#include "tools/base/Json.h"

namespace kestrel {

// Writes the report: one HTML page that needs nothing else, neither files nor a network. It holds
// the data and draws them itself, in a browser.
//
// `data` is an object of
//   title, version   texts: the inputs, and the version of the feature that was replayed
//   inputs           array, as docs/kestrelhost.md says
//   calendar         how times are printed, as toJson of a Calendar gives it
//   interrupted      null, or input, percent, events: how far a replay came that was not completed
//   featureOff       null, or a text: why the feature was off
//   summary          apps, launches, measured, passedOver, learnedApps, disabledApps, firstT, lastT
//   policies         array of id, name, and a policy's numbers: launches, fullyCovered, boostedMs,
//                    coverage of p10, p50, mean, and wastedMs of p50, p90, mean. The ids "kestrel"
//                    and "fixed5000" are there; "kestrelLearning", "kestrelLearned" and "ideal"
//                    look different
//   apps             array, by name, of app, state, learnedMs, launches, measured, kestrel and
//                    fixed5000 (a policy's numbers), series and marks
//     series         array of t, durationMs (to the first frame), boostMs (held), requestedMs and
//                    defaultMs (asked for), phase: "learning", "learned" or "disabled"; not empty
//     marks          array of t, kind: "learned" (with durationMs), "relearning", "disabled" or
//                    "removed"
// Units:  durations and times ms, exact up to 2^53; coverage 0..1. null: there is none.
// Errors: texts that are not UTF-8 get U+FFFD; a failed write is left in `out`'s state.
void writeReportPage(std::ostream& out, const Json& data);

}  // namespace kestrel
