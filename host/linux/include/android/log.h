#pragma once

// The Android log on Linux: the same call as on the device; each line goes to the host's recorder.
// Threads: any.

#ifdef __cplusplus
extern "C" {
#endif

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT,
} android_LogPriority;

__attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(
    int prio, const char* tag, const char* fmt, ...);

#ifdef __cplusplus
}
#endif
