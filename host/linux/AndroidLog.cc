#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "host/linux/HostRuntime.h"
#include "lmdb/LMLog.h"

using namespace kestrel;

namespace {

void print(int priority, const char* tag, const char* format, va_list args, va_list sameArgs) {
    const int length = std::vsnprintf(nullptr, 0, format, args);
    if (length < 0) {
        return;
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, sameArgs);
    if (text.ends_with('\n')) {
        text.pop_back();
    }
    HostRuntime::instance().record(record::Log{priority, tag, std::move(text)});
}

}  // namespace

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    va_list sameArgs;
    va_copy(sameArgs, args);
    // As on the device, logging throws nothing: a line for which there is no memory is lost.
    const bool printed =
        guarded([&] { print(prio, tag, fmt, args, sameArgs); }, [](const char*) {});
    va_end(sameArgs);
    va_end(args);
    return printed ? 1 : -1;
}
