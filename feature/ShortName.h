#pragma once

#include <string>

// The part of an app's name before the first "/"; all of it when there is none.
inline std::string shortName(std::string const& app) {
    return app.substr(0, app.find('/'));
}
