#include "editdistance.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace sim::control {

namespace {

bool isSameLetter(char one, char other)
{
    const auto lower = [](char letter) { return std::tolower(static_cast<unsigned char>(letter)); };
    return lower(one) == lower(other);
}

} // namespace

size_t editDistance(std::string_view one, std::string_view other)
{
    std::vector<size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < one.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < other.size(); ++j) {
            const size_t replaced = diagonal + (isSameLetter(one[i], other[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

std::string closestName(std::string_view name, const std::vector<std::string_view> &candidates)
{
    const size_t farthest = std::max<size_t>(2, name.size() / 3);
    std::string_view nearest;
    size_t best = farthest + 1;
    for (const auto candidate : candidates) {
        const size_t distance = editDistance(name, candidate);
        if (distance < best && distance < std::max(name.size(), candidate.size())) {
            best = distance;
            nearest = candidate;
        }
    }
    return std::string(nearest);
}

std::string suggestion(std::string_view name, const std::vector<std::string_view> &candidates)
{
    const std::string nearest = closestName(name, candidates);
    return nearest.empty() ? nearest : "; did you mean \"" + nearest + "\"?";
}

} // namespace sim::control
