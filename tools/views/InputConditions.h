#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/linux/HostSetup.h"
#include "tools/input/InputSummary.h"

namespace kestrel {

// Something about an input that its user should know.
struct InputCondition {
    const char* key;  // in JSON
    std::size_t count;
    std::string text;  // a sentence, with the remedy where there is one; made printable
    // Only told, in a line with others; else something important, which has a line of its own.
    bool isLeftOut;
};

// What is to be known of an input: what was left out, and where something important is missing.
// REQUIRES: the summary is complete.
std::vector<InputCondition> conditionsOf(const InputSummary& summary, RemovalPolicy removals);

// The launches that have none.
std::size_t withoutFrame(const InputSummary& summary);

// What is said in place of launches where there are none: "no launches" or, where log lines were
// read, "no launch in 17 log lines".
std::string noLaunchWords(const std::vector<InputSummary>& summaries);

}  // namespace kestrel
