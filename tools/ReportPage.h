#pragma once

#include <nlohmann/json.hpp>
#include <ostream>

// Writes the report: one HTML page that needs nothing else, neither files nor a network. It holds
// the data as it is and draws it itself, in a browser.
// `data` is one object: "title" and "version" (texts), "summary", "policies" and "apps", with what
// tools/report/report.html names in its data-key attributes and "series" and "marks" per app.
// Units:  durations and times ms; times show to the ms up to 2^53. Ratios 0..1. null: there is none.
// Errors: texts that are not UTF-8 get U+FFFD; a failed write is left in `out`'s state.
void writeReportPage(std::ostream& out, const nlohmann::ordered_json& data);
