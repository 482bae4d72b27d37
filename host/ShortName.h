#pragma once

#include <string_view>

// The part of an app's name before the first "/"; all of it when there is none. Borrows the name.
constexpr std::string_view shortName(std::string_view app) {
    return app.substr(0, app.find('/'));
}
