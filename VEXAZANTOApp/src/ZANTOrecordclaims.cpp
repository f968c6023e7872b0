#include "ZANTOrecordclaims.h"

#include <cstddef>
#include <unordered_map>

namespace {

using Claims = std::vector<ZANTORecordClaim>;

/// The record types that a name and its two companions have got so far; empty: none yet.
struct Family {
    std::string_view main;
    std::string_view readBack;
    std::string_view sync;
};

bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool mayHave(std::string_view settled, std::string_view type)
{
    return settled.empty() || settled == type;
}

/// The record types that names have got so far. Names are kept by families, so that a set of
/// records is looked up once.
class Settlement {
public:
    // Nearly every claim has a family of its own, and hardly any has two.
    explicit Settlement(std::size_t claims) { m_families.reserve(claims); }

    /// Takes all names of the claim, or none and returns false.
    bool accept(const ZANTORecordClaim &claim)
    {
        std::string_view &type = typeOf(claim.name);
        Family *const set = claim.isSet() ? &m_families[claim.name] : nullptr;
        if (!mayHave(type, claim.type))
            return false;
        if (set != nullptr && !(mayHave(set->readBack, claim.readBackType) &&
                                mayHave(set->sync, claim.type)))
            return false;
        type = claim.type;
        if (set != nullptr) {
            set->readBack = claim.readBackType;
            set->sync = claim.type;
        }
        return true;
    }

private:
    // A node may be called as another's companion.
    std::string_view &typeOf(std::string_view name)
    {
        constexpr std::string_view readBack = ":RBV";
        constexpr std::string_view sync = ":Sync";
        if (endsWith(name, readBack))
            return m_families[name.substr(0, name.size() - readBack.size())].readBack;
        if (endsWith(name, sync))
            return m_families[name.substr(0, name.size() - sync.size())].sync;
        return m_families[name].main;
    }

    std::unordered_map<std::string_view, Family> m_families;
};

} // namespace

std::vector<bool> ZANTONodesLeftOut(const Claims &claims)
{
    Settlement settlement(claims.size());
    std::vector<bool> leftOut(claims.size(), false);
    for (const bool blank : {false, true}) {
        for (std::size_t node = 0; node < claims.size(); ++node) {
            if (claims[node].holdsBlank == blank)
                leftOut[node] = !settlement.accept(claims[node]);
        }
    }
    return leftOut;
}
