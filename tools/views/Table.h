#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/views/Style.h"

namespace kestrel {

// The tables for people: columns of fixed widths, so that rows can be printed as they come.
class Table {
 public:
    enum class Kind {
        name,    // loses its beginning when it is too long, which names of packages have in common
        text,    // at the left, with a gap before it
        number,  // at the right, with a blank before it however long it is
        time,    // at the right, alone at the beginning of the line
    };
    struct Column {
        std::string heading;
        Kind kind;
        std::size_t width;
    };
    struct Cell {
        Cell(std::string content) : text(std::move(content)) {}
        Cell(const char* content) : text(content) {}
        Cell(std::string content, std::optional<Emphasis> how)
            : text(std::move(content)), emphasis(how) {}

        std::string text;  // as it comes from an input; it is made printable here
        std::optional<Emphasis> emphasis = std::nullopt;
    };

    explicit Table(std::vector<Column> columns) : mColumns(std::move(columns)) {}

    // The headings, and a row, without a line end. A row may end early.
    std::string headings() const;
    std::string row(const std::vector<Cell>& cells) const;

    // Where the last column ends.
    std::size_t width() const;

 private:
    std::vector<Column> mColumns;
};

// Tables fit a line of this width.
inline constexpr std::size_t LINE_WIDTH = 80;

// Widths that tables have in common.
inline constexpr std::size_t APP_WIDTH = 30;
inline constexpr std::size_t STATE_WIDTH = 8;  // of the states that exist

// A number, or "-" for none.
std::string numberText(std::optional<int32_t> number);

// Durations in columns, in lines of their own.
std::string durationColumns(const std::vector<int>& durations);

}  // namespace kestrel
