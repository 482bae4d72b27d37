#pragma once

#include <cstdint>

// The identifiers that the feature, its host and the performance service share: of events, of boost
// requests, of queries and of the properties that switch the feature on. And the modules that begin
// the feature's log lines.

inline constexpr uint16_t KS_DATA_VERSION = 112;  // the only payload layout that is accepted

inline constexpr int32_t KS_HINT_APP_SWITCH = 4097;
inline constexpr int32_t KS_HINT_LAUNCH_END = 4098;  // only ever sent, to the meters
inline constexpr int32_t KS_HINT_APP_SWITCH_ALT = 4099;
inline constexpr int32_t KS_HINT_METER_EVENT = 4103;
inline constexpr int32_t KS_HINT_FORCE_END = 4160;
inline constexpr int32_t KS_HINT_APP_REMOVED = 4164;
inline constexpr int32_t KS_LAUNCH_HINT = 4225;

// Types of events.
inline constexpr int32_t KS_HINT_TYPE_LAUNCH = 1;
inline constexpr int32_t KS_HINT_TYPE_ATTACH = 103;

// Types of boost requests.
inline constexpr int32_t KS_HINT_TYPE_DEFAULT_BOOST = 7;
inline constexpr int32_t KS_HINT_TYPE_APP_BOOST = 8;
inline constexpr int32_t KS_HINT_TYPE_GAME_BOOST = 9;
inline constexpr int32_t KS_HINT_TYPE_ATTACH_BOOST = 104;

inline constexpr int32_t KS_LAUNCH_TYPE_GAME = 2;

// Types of feature data queries.
inline constexpr int KS_DATA_LAUNCH_DURATION = 3;
inline constexpr int KS_DATA_SECOND_METRIC = 4;
inline constexpr int KS_DATA_LEARNING_PID = 5;

// For launches of apps, and of games.
inline constexpr const char* KS_PROPERTY_APPS = "ro.vendor.perf.kap";
inline constexpr const char* KS_PROPERTY_GAMES = "ro.vendor.perf.kgm";

inline constexpr const char* KS_MODULE = "KestrelStarts";
inline constexpr const char* KS_ACTION_MODULE = "KestrelStartsAction:";  // the colon is its own

// Durations in ms.
inline constexpr int32_t KS_DEFAULT_BOOST_DURATION = 15000;  // while nothing is learned
inline constexpr int32_t KS_MAX_DEFAULT_BOOST = 2000;        // no default boost is longer

constexpr int32_t defaultBoostDuration(int32_t durationMs) {
    return durationMs < KS_MAX_DEFAULT_BOOST ? durationMs : KS_MAX_DEFAULT_BOOST;
}
