#pragma once

#include <string>

namespace kestrel {

// The version of Android that has an API level, as people call it: "12L". Empty: not known.
std::string androidReleaseOf(int apiLevel);

}  // namespace kestrel
