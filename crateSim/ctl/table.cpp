#include "table.h"

#include <algorithm>

namespace sim::ctl {

namespace {

constexpr std::string_view gap = "  ";

bool continuesLetter(char byte) { return (static_cast<unsigned char>(byte) & 0xc0) == 0x80; }

std::vector<size_t> widths(const Table &table)
{
    std::vector<size_t> widest;
    for (const auto &column : table.columns)
        widest.push_back(widthOf(column.title));
    for (const auto &row : table.rows)
        for (size_t index = 0; index < row.cells.size(); ++index)
            widest[index] = std::max(widest[index], widthOf(row.cells[index]));
    return widest;
}

std::string lineOf(const Table &table, const std::vector<size_t> &widths,
                   const std::vector<std::string> &cells)
{
    std::string line;
    for (size_t index = 0; index < cells.size(); ++index) {
        const std::string padding(widths[index] - widthOf(cells[index]), ' ');
        const bool isRight = table.columns[index].align == Align::Right;
        line += index > 0 ? gap : "";
        line += isRight ? padding + cells[index] : cells[index] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

} // namespace

size_t widthOf(std::string_view text)
{
    return text.size() -
           static_cast<size_t>(std::count_if(text.begin(), text.end(), continuesLetter));
}

std::string visiblePart(std::string_view text, size_t from, size_t count)
{
    const auto positionOf = [text](size_t letters, size_t begin) {
        size_t position = begin;
        while (position < text.size() && (letters > 0 || continuesLetter(text[position]))) {
            letters -= continuesLetter(text[position]) ? 0 : 1;
            ++position;
        }
        return position;
    };
    const size_t begin = positionOf(from, 0);
    return std::string(text.substr(begin, positionOf(count, begin) - begin));
}

std::vector<Line> linesOf(const Table &table)
{
    if (table.columns.empty())
        return {};
    const auto widest = widths(table);
    std::vector<std::string> titles;
    for (const auto &column : table.columns)
        titles.push_back(column.title);
    std::vector<Line> lines = {{lineOf(table, widest, titles), Tone::Heading}};
    for (const auto &row : table.rows)
        lines.push_back({lineOf(table, widest, row.cells), row.tone});
    return lines;
}

size_t clampedTop(size_t top, size_t lines, size_t height)
{
    return std::min(top, lines > height ? lines - height : 0);
}

} // namespace sim::ctl
