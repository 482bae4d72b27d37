#pragma once

#include <android/log.h>

#include <exception>
#include <utility>

// The log lines of the service, written in one way: tag, priority and prefix here; text, function
// name and number at the call. The number belongs to the text that tools search for; it is not the
// line of the source.

#define LM_LOG_TAG "ANDR-PERF-LM"

// "MODULE: FUNCTION() NUMBER: TEXT"; `format` is a string literal.
#define LM_LOG(module, function, line, format, ...)                                              \
    static_cast<void>(__android_log_print(ANDROID_LOG_ERROR, LM_LOG_TAG, "%s: %s() %d: " format, \
                                          module, function, line __VA_OPT__(, ) __VA_ARGS__))

// "FUNCTION() NUMBER: TEXT": the shorter form of the store's SQL errors.
#define LM_LOG_SQL(function, line, format, ...)                                              \
    static_cast<void>(__android_log_print(ANDROID_LOG_ERROR, LM_LOG_TAG, "%s() %d: " format, \
                                          function, line __VA_OPT__(, ) __VA_ARGS__))

// Runs `body` and lets no exception out: `onException` gets the text of a std::exception, or null
// for anything else. Returns true when `body` ended normally.
template <class Body, class OnException>
bool guarded(Body&& body, OnException&& onException) {
    try {
        std::forward<Body>(body)();
        return true;
    } catch (const std::exception& e) {
        std::forward<OnException>(onException)(e.what());
    } catch (...) {
        std::forward<OnException>(onException)(nullptr);
    }
    return false;
}

// The lines of an operation that must not let an exception out: `line` for a std::exception,
// `unknownLine` for anything else.
struct ExceptionLog {
    const char* module;
    const char* function;
    int line;
    int unknownLine;

    void operator()(const char* what) const {
        if (what != nullptr) {
            LM_LOG(module, function, line, "exception %s\n", what);
        } else {
            LM_LOG(module, function, unknownLine, "unknown exception\n");
        }
    }
};
