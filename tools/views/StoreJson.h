#pragma once

#include <optional>
#include <string>

#include "tools/base/Json.h"
#include "tools/store/Explanation.h"
#include "tools/store/LearningStore.h"

namespace kestrel {

// What is stored, and the explanation of an app's next decision, as the one object that `inspect`
// and `explain` print for programs; docs/kestrelhost.md lists the keys. Texts may hold bytes that
// are not UTF-8.

// `only`: this app; none: all of them.
Json storeJson(const LearningStore& store, const std::optional<std::string>& only);

Json explanationJson(const std::string& app, const Explanation& explanation,
                     const LearningStore& store);

}  // namespace kestrel
