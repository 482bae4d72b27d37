#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "host/linux/HostRuntime.h"

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    va_list measuringArgs;
    va_copy(measuringArgs, args);
    const int length = std::vsnprintf(nullptr, 0, fmt, measuringArgs);
    va_end(measuringArgs);
    if (length < 0) {
        va_end(args);
        return length;
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, fmt, args);
    va_end(args);
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    HostRuntime::instance().record(record::Log{prio, tag, std::move(text)});
    return length;
}
