#include "textDiff.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace {

constexpr size_t context = 2;
constexpr size_t mostLines = 60;

using Lines = std::vector<std::string>;

Lines linesOf(const std::string &text)
{
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    if (!text.empty() && text.back() != '\n')
        lines.back() += " (no line end)";
    return lines;
}

// lengths[i][j]: how many lines the rests from i and from j have in common, in order.
std::vector<std::vector<unsigned>> commonLengths(const Lines &a, const Lines &b)
{
    std::vector<std::vector<unsigned>> lengths(a.size() + 1, std::vector<unsigned>(b.size() + 1));
    for (size_t i = a.size(); i-- > 0;) {
        for (size_t j = b.size(); j-- > 0;)
            lengths[i][j] = a[i] == b[j] ? lengths[i + 1][j + 1] + 1
                                         : std::max(lengths[i + 1][j], lengths[i][j + 1]);
    }
    return lengths;
}

Lines marked(const Lines &a, const Lines &b)
{
    const auto lengths = commonLengths(a, b);
    Lines all;
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() || j < b.size()) {
        if (i < a.size() && j < b.size() && a[i] == b[j]) {
            all.push_back("  " + a[i]);
            ++i;
            ++j;
        } else if (j == b.size() || (i < a.size() && lengths[i + 1][j] >= lengths[i][j + 1])) {
            all.push_back("- " + a[i++]);
        } else {
            all.push_back("+ " + b[j++]);
        }
    }
    return all;
}

bool isChanged(const std::string &line) { return line[0] != ' '; }

bool isNearChange(const Lines &lines, size_t at)
{
    const size_t begin = at < context ? 0 : at - context;
    const size_t end = std::min(lines.size(), at + context + 1);
    return std::any_of(lines.begin() + static_cast<std::ptrdiff_t>(begin),
                       lines.begin() + static_cast<std::ptrdiff_t>(end), isChanged);
}

} // namespace

std::string textDiff(const std::string &before, const std::string &after)
{
    const Lines lines = marked(linesOf(before), linesOf(after));
    std::string text;
    size_t shown = 0;
    for (size_t i = 0; i < lines.size() && shown < mostLines; ++i) {
        if (!isNearChange(lines, i))
            continue;
        if (i > 0 && !isNearChange(lines, i - 1))
            text += "  ...\n";
        text += lines[i] + "\n";
        ++shown;
    }
    return shown < mostLines ? text : text + "  and more\n";
}
