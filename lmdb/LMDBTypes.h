#pragma once

#include <cstdint>

// What the store's open, close and flush operations report.
enum lmdbError : int32_t {
    LMDB_SUCCESS = 0,
    LMDB_FAILURE = -1,
};

// The column a read is ordered by; `none` leaves the order to SQLite (ascending rowid).
enum class lmdbOrderByCol { none, rowid, intcol1, appName, rsvdName };

enum class lmdbOrderByDir { ascending, descending };

// An `intcol1` of this value is unset: stored as NULL, and not part of a key.
inline constexpr int32_t LMDB_UNSET_INT = 2147483647;

// The most rows that one getRow call makes, and that one read returns.
inline constexpr unsigned long LMDB_MAX_NEW_ROWS = 100;
inline constexpr unsigned long LMDB_MAX_READ_ROWS = 10000;

// Where databases are, on the device.
inline constexpr const char* LMDB_DIRECTORY = "/data/vendor/lm/";
