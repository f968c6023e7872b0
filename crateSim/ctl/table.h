// Tables as lines of text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sim::ctl {

// What a line is about, for colours.
enum class Tone : uint8_t { Plain, Heading, Absent, On, Ramping, Tripped };

struct Line {
    std::string text;
    Tone tone = Tone::Plain;
};

enum class Align : uint8_t { Left, Right };

struct Column {
    std::string title;
    Align align = Align::Left;
};

struct Row {
    std::vector<std::string> cells; // as many as there are columns
    Tone tone = Tone::Plain;
};

struct Table {
    std::vector<Column> columns;
    std::vector<Row> rows;
};

// Letters of a UTF-8 text, each taken to be one column wide.
size_t widthOf(std::string_view text);

// The columns of a UTF-8 text from one on, at most so many.
std::string visiblePart(std::string_view text, size_t from, size_t count);

// The heading, then the rows, in columns; no blanks at the ends of lines. Nothing of a table
// without columns.
std::vector<Line> linesOf(const Table &table);

// The first line to show so that the lines fill the height as far as they go.
size_t clampedTop(size_t top, size_t lines, size_t height);

} // namespace sim::ctl
