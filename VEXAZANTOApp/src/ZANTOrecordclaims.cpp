#include "ZANTOrecordclaims.h"

#include <algorithm>
#include <numeric>

namespace {

using Claims = std::vector<ZANTORecordClaim>;

// For each claim a number that equal names share.
std::vector<std::size_t> numberNames(const Claims &claims)
{
    std::vector<std::size_t> byName(claims.size());
    std::iota(byName.begin(), byName.end(), std::size_t{0});
    std::sort(byName.begin(), byName.end(), [&claims](std::size_t a, std::size_t b) {
        return claims[a].name < claims[b].name;
    });
    std::vector<std::size_t> numbers(claims.size());
    std::size_t number = 0;
    for (std::size_t i = 0; i < byName.size(); ++i) {
        if (i > 0 && claims[byName[i]].name != claims[byName[i - 1]].name)
            ++number;
        numbers[byName[i]] = number;
    }
    return numbers;
}

/// The record types that names have got so far.
class Settlement {
public:
    explicit Settlement(const Claims &claims)
        : m_claims(claims), m_numbers(numberNames(claims)), m_types(claims.size())
    {
    }

    /// Takes all claims from `begin` to `end`, or none and returns false.
    bool accept(std::size_t begin, std::size_t end)
    {
        for (std::size_t i = begin; i < end; ++i) {
            const std::string_view settled = m_types[m_numbers[i]];
            if (!settled.empty() && settled != m_claims[i].type)
                return false;
        }
        for (std::size_t i = begin; i < end; ++i)
            m_types[m_numbers[i]] = m_claims[i].type;
        return true;
    }

private:
    const Claims &m_claims;
    const std::vector<std::size_t> m_numbers;
    std::vector<std::string_view> m_types; // by the number of the name
};

} // namespace

std::vector<bool> ZANTONodesLeftOut(const Claims &claims, const std::vector<bool> &holdsBlank)
{
    Settlement settlement(claims);
    std::vector<bool> leftOut(holdsBlank.size(), false);
    for (const bool blank : {false, true}) {
        std::size_t end = 0;
        for (std::size_t begin = 0; begin < claims.size(); begin = end) {
            const std::size_t node = claims[begin].node;
            while (end < claims.size() && claims[end].node == node)
                ++end;
            if (holdsBlank[node] == blank)
                leftOut[node] = !settlement.accept(begin, end);
        }
    }
    return leftOut;
}
