#include "ZANTOrecordclaims.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace {

using Claims = std::vector<ZANTORecordClaim>;

// ---- names ----

enum Role : uint8_t { mainRecord, readBack, sync };

// A name as that of a node's record or of its companion.
struct Name {
    std::string_view node;
    Role role;
};

bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// A node may be called as another's companion.
Name split(std::string_view name)
{
    constexpr std::string_view ends[] = {"", ":RBV", ":Sync"};
    for (const Role role : {readBack, sync}) {
        if (endsWith(name, ends[role]))
            return {name.substr(0, name.size() - ends[role].size()), role};
    }
    return {name, mainRecord};
}

// ---- families ----

// The record types that a name and its companions have got so far; empty: none yet.
struct Family {
    std::string_view name;
    std::string_view types[3]; // by role
};

// Families by their names: a table of places, of which at least half are free, and the families
// in a row. A place keeps the hash, so that hardly any name is looked at in vain.
class Families {
public:
    explicit Families(std::size_t most)
    {
        std::size_t places = 1;
        while (places < 2 * most)
            places *= 2;
        m_places.resize(places);
        m_families.reserve(most); // so that none ever moves
    }

    Family &of(std::string_view name)
    {
        const auto hash = static_cast<uint32_t>(std::hash<std::string_view>()(name));
        for (std::size_t at = hash;; ++at) {
            Place &place = m_places[at & (m_places.size() - 1)];
            if (place.number == 0) {
                m_families.push_back({name, {}});
                place = {hash, static_cast<uint32_t>(m_families.size())};
                return m_families.back();
            }
            Family &family = m_families[place.number - 1];
            if (place.hash == hash && family.name == name)
                return family;
        }
    }

private:
    struct Place {
        uint32_t hash = 0;
        uint32_t number = 0; // of the family, from 1 on; 0: free
    };

    std::vector<Place> m_places;
    std::vector<Family> m_families;
};

// A set that is called as a companion belongs to one family and begins another.
std::size_t mostFamilies(const Claims &claims)
{
    const auto two = std::count_if(claims.begin(), claims.end(), [](const auto &claim) {
        return claim.isSet() && split(claim.name).role != mainRecord;
    });
    return claims.size() + static_cast<std::size_t>(two);
}

// ---- settlement ----

bool mayHave(std::string_view settled, std::string_view type)
{
    return settled.empty() || settled == type;
}

// Takes all names of the claim, or none and returns false.
bool accept(const ZANTORecordClaim &claim, Families &families)
{
    const Name name = split(claim.name);
    Family &family = families.of(name.node);
    std::string_view &type = family.types[name.role];
    if (!mayHave(type, claim.type))
        return false;
    if (claim.isSet()) {
        Family &set = name.role == mainRecord ? family : families.of(claim.name);
        if (!mayHave(set.types[readBack], claim.readBackType) ||
            !mayHave(set.types[sync], claim.type))
            return false;
        set.types[readBack] = claim.readBackType;
        set.types[sync] = claim.type;
    }
    type = claim.type;
    return true;
}

} // namespace

std::vector<bool> ZANTONodesLeftOut(const Claims &claims)
{
    Families families(mostFamilies(claims));
    std::vector<bool> leftOut(claims.size(), false);
    for (const bool blank : {false, true}) {
        for (std::size_t node = 0; node < claims.size(); ++node) {
            if (claims[node].holdsBlank == blank)
                leftOut[node] = !accept(claims[node], families);
        }
    }
    return leftOut;
}
