#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tools/input/InputSummary.h"
#include "tools/launches/FeatureSwitch.h"
#include "tools/launches/Launch.h"
#include "tools/store/Explanation.h"

namespace kestrel {

// The words for what the program shows, for people and in JSON: each stands here and nowhere else.

// A learning state in a word, or "state N"; for columns.
std::string stateWord(int32_t state);

// A learning state in words and, unless it is common, its number; "unknown" for none.
std::string stateWords(std::optional<int32_t> state);

const char* phaseWord(LaunchPhase phase);
const char* markWord(AppMark::Kind kind);
const char* boostWords(BoostKind kind);
const char* boostEndWords(BoostEnd end);
const char* nextStepWord(NextStep next);

// Why the feature is off, for all launches or for some; empty while it is on.
std::string switchWords(FeatureSwitch::State state);

// What an input is, in words and as a key in JSON, and what it consists of: "line".
struct SourceWords {
    const char* name;
    const char* key;
    const char* unit;
};
const SourceWords& sourceWords(SourceKind kind);

// As a key in JSON.
const char* clockWord(InputClock::Kind kind);

// The name of an input; "standard input" for "-".
std::string inputWords(const std::string& name);

// "1 launch", "2 launches".
std::string counted(std::size_t count, const std::string& what);

}  // namespace kestrel
