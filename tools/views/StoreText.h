#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tools/base/Json.h"
#include "tools/store/LearningStore.h"

namespace kestrel {

// What `inspect` and `explain` have in common: how stored things are told.

// A learning state in words and, unless it is common, its number; "unknown" for none.
std::string stateWords(std::optional<AppState> state);

// Durations in columns.
void printDurations(std::ostream& out, const std::vector<int>& durations);

// What becomes of an app that has several learned records.
std::string tooManyRecords(const StoredApp& stored);

// Names each damaged file on standard error.
void tellDamage(const LearningStore& store);

// Throws std::runtime_error when a file is damaged.
void expectUndamaged(const LearningStore& store);

Json filesJson(const LearningStore& store);
Json appJson(const std::string& app, const StoredApp& stored);

// Prints the one object of a command. Bytes that are not UTF-8 become U+FFFD.
void printJson(const Json& object);

}  // namespace kestrel
