#include "lmdb/KeyText.h"

#include <string_view>

#include "lmdb/LMLog.h"
#include "lmdb/LMStatement.h"

namespace lmstore {

namespace {

std::string quoted(std::string_view text) {
    std::string result = "'";
    for (const char c : text) {
        if (c == '\'') {
            result += '\'';
        }
        result += c;
    }
    return result += '\'';
}

void appendColumn(std::string& names, std::string& values, std::string_view name,
                  const std::string& value) {
    if (!names.empty()) {
        names += ',';
        values += ',';
    }
    names += name;
    values += value;
}

const char* columnName(lmdbOrderByCol column) {
    switch (column) {
        case lmdbOrderByCol::rowid:
            return "rowid";
        case lmdbOrderByCol::intcol1:
            return "intcol1";
        case lmdbOrderByCol::appName:
            return "appName";
        case lmdbOrderByCol::rsvdName:
            return "rsvdName";
        case lmdbOrderByCol::none:
            break;
    }
    return "";
}

}  // namespace

void appendWhereClause(const LMDBDataRowKey& key, std::string& query) {
    const auto append = [&] {
        std::string names;
        std::string values;
        if (!key.appName.empty()) {
            appendColumn(names, values, "appName", quoted(key.appName));
        }
        if (!key.rsvdName.empty()) {
            appendColumn(names, values, "rsvdName", quoted(key.rsvdName));
        }
        if (key.intcol1 != LMDB_UNSET_INT) {
            appendColumn(names, values, "intcol1", std::to_string(key.intcol1));
        }
        if (!names.empty()) {
            query += "WHERE (" + names + ") = (" + values + ") ";
        }
    };
    guarded(append, [](const char* what) {
        constexpr const char* FUNCTION = "build_query_for_where_clause";
        if (what != nullptr) {
            LM_LOG("LMDB", FUNCTION, 796, "Caught exception: %s", what);
        } else {
            LM_LOG("LMDB", FUNCTION, 798, "%s", UNKNOWN_STRING_EXCEPTION);
        }
    });
}

std::string orderByClause(lmdbOrderByCol column, lmdbOrderByDir direction) {
    if (column == lmdbOrderByCol::none) {
        return {};
    }
    return std::string("ORDER BY ") + columnName(column) +
           (direction == lmdbOrderByDir::descending ? " DESC" : " ASC");
}

}  // namespace lmstore
