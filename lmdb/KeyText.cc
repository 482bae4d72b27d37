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
    const auto append = [&] {
        std::string values;
        // Appends the column's name, and returns where its value goes.
        const auto column = [&](const char* name) -> std::string& {
            query += values.empty() ? "WHERE (" : ",";
            query += name;
            values += values.empty() ? "" : ",";
            return values;
        };
        if (!key.appName.empty()) {
            appendQuoted(key.appName, column("appName"));
        }
        if (!key.rsvdName.empty()) {
            appendQuoted(key.rsvdName, column("rsvdName"));
        }
        if (key.intcol1 != LMDB_UNSET_INT) {
            column("intcol1") += std::to_string(key.intcol1);
        }
        if (!values.empty()) {
            query += ") = (";
            query += values;
            query += ") ";
        }
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
