#include "tools/views/Table.h"

#include <algorithm>

#include "tools/base/TerminalText.h"

namespace kestrel {

namespace {

constexpr std::string_view GAP = "  ";

// A cell's text in its column; `isFirst`: of the line.
std::string placed(const std::string& text, const Table::Column& column, bool isFirst) {
    const std::string gap(isFirst ? "" : GAP);
    switch (column.kind) {
        case Table::Kind::name:
            return gap + padded(endWithin(text, column.width), column.width);
        case Table::Kind::text:
            return gap + padded(text, column.width);
        case Table::Kind::number:
            return ' ' + paddedLeft(text, column.width - 1);
        case Table::Kind::time:
            break;
    }
    return paddedLeft(text, column.width);
}

}  // namespace

std::string Table::headings() const {
    std::string line;
    for (const Column& column : mColumns) {
        line += placed(column.heading, column, line.empty());
    }
    return line;
}

std::string Table::row(const std::vector<Cell>& cells) const {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string text = placed(printable(cells[i].text), mColumns[i], i == 0);
        line += cells[i].emphasis ? styled(text, *cells[i].emphasis) : text;
    }
    return line;
}

std::size_t Table::width() const {
    return headings().size();
}

std::string numberText(std::optional<int32_t> number) {
    return number ? std::to_string(*number) : "-";
}

std::string durationColumns(const std::vector<int>& durations) {
    constexpr std::size_t COLUMN_WIDTH = 12;  // fits every duration
    constexpr std::size_t COLUMNS = 6;
    std::string text;
    for (std::size_t i = 0; i < durations.size(); ++i) {
        const bool endsLine = i % COLUMNS == COLUMNS - 1 || i + 1 == durations.size();
        text += paddedLeft(std::to_string(durations[i]), COLUMN_WIDTH) + (endsLine ? "\n" : "");
    }
    return text;
}

}  // namespace kestrel
