#pragma once

// Lets Clang check at compile time that a member is touched only under its mutex.
#if defined(__clang__)
#define GUARDED_BY(mutex) __attribute__((guarded_by(mutex)))
#else
#define GUARDED_BY(mutex)
#endif
