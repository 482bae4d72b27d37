#pragma once
#include "tools/input/EventTrace.h"
namespace kestrel {
inline HostSetup setupOf(const std::optional<std::string>& f) {
    return f ? readSetupFile(*f) : HostSetup{};
}
}  // namespace kestrel
