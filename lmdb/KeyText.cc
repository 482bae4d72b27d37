#include "lmdb/KeyText.h"

#include <string_view>

#include "lmdb/LMLog.h"

namespace lmstore {

namespace {

// Appends "'TEXT'", with the single quotes in it doubled.
void appendQuoted(std::string_view text, std::string& query) {
    query += '\'';
    for (std::size_t quote = text.find('\''); quote != std::string_view::npos;
         quote = text.find('\'')) {
        query += text.substr(0, quote + 1);
        query += '\'';
        text.remove_prefix(quote + 1);
    }
    query += text;
    query += '\'';
}

// Calls `append` for each column that is set, in their fixed order, with a "," between them.
template <class Append>
void forEachSetColumn(const LMDBDataRowKey& key, std::string& query, Append append) {
    bool isFirst = true;
    const auto next = [&](const char* name, const std::string* text) {
        if (!isFirst) {
            query += ',';
        }
        isFirst = false;
        append(name, text);
    };
    if (!key.appName.empty()) {
        next("appName", &key.appName);
    }
    if (!key.rsvdName.empty()) {
        next("rsvdName", &key.rsvdName);
    }
    if (key.intcol1 != LMDB_UNSET_INT) {
        next("intcol1", nullptr);
    }
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

bool appendWhereClause(const LMDBDataRowKey& key, std::string& query) {
    if (key.appName.empty() && key.rsvdName.empty() && key.intcol1 == LMDB_UNSET_INT) {
        return true;
    }
    const auto append = [&] {
        query += "WHERE (";
        forEachSetColumn(key, query, [&](const char* name, const std::string*) { query += name; });
        query += ") = (";
        forEachSetColumn(key, query, [&](const char*, const std::string* text) {
            if (text != nullptr) {
                appendQuoted(*text, query);
            } else {
                query += std::to_string(key.intcol1);
            }
        });
        query += ") ";
    };
    return guarded(append, [](const char* what) {
        constexpr const char* FUNCTION = "build_query_for_where_clause";
        if (what != nullptr) {
            LM_LOG("LMDB", FUNCTION, 796, "Caught exception: %s", what);
        } else {
            LM_LOG("LMDB", FUNCTION, 798, "Error in std::string operations");
        }
    });
}

std::string selectText(const char* operation, const std::string& table, const LMDBDataRowKey& key) {
    constexpr std::size_t REST = 80;  // what surrounds the names, so that the text grows once
    std::string query;
    query.reserve(REST + table.size() + key.appName.size() + key.rsvdName.size());
    query += operation;
    query += " FROM ";
    query += table;
    query += ' ';
    if (!appendWhereClause(key, query)) {
        query.back() = '(';
    }
    return query;
}

std::string orderByClause(lmdbOrderByCol column, lmdbOrderByDir direction) {
    if (column == lmdbOrderByCol::none) {
        return {};
    }
    return std::string("ORDER BY ") + columnName(column) +
           (direction == lmdbOrderByDir::descending ? " DESC" : " ASC");
}

}  // namespace lmstore
