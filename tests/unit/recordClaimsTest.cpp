// Which nodes go without records when a name would get two record types.
#include "ZANTOrecordclaims.h"

#include <gtest/gtest.h>

namespace {

constexpr bool plain = false;
constexpr bool blank = true;

ZANTORecordClaim one(bool holdsBlank, std::string_view type, std::string_view name)
{
    return {name, type, "", holdsBlank};
}

// An "ao" with its companions.
ZANTORecordClaim set(bool holdsBlank, std::string_view name)
{
    return {name, "ao", "ai", holdsBlank};
}

// The positions of the nodes that are left out.
std::vector<std::size_t> leftOut(const std::vector<ZANTORecordClaim> &claims)
{
    const std::vector<bool> out = ZANTONodesLeftOut(claims);
    EXPECT_EQ(out.size(), claims.size());
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (out[i])
            positions.push_back(i);
    }
    return positions;
}

using Positions = std::vector<std::size_t>;

} // namespace

TEST(RecordClaims, NodesOfDifferentNamesAllStay)
{
    EXPECT_EQ(leftOut({}), Positions{});
    EXPECT_EQ(leftOut({one(plain, "ao", "A"), one(blank, "bi", "B"), set(plain, "C")}),
              Positions{});
}

TEST(RecordClaims, NodesOfOneNameAndOneTypeAllStay)
{
    EXPECT_EQ(leftOut({one(plain, "ao", "A"), one(plain, "ao", "A"), one(blank, "ao", "A")}),
              Positions{});
    EXPECT_EQ(leftOut({set(plain, "A"), set(blank, "A"), one(plain, "ao", "A"),
                       one(plain, "ai", "A:RBV"), one(plain, "ao", "A:Sync")}),
              Positions{});
}

TEST(RecordClaims, OfTwoTypesTheLaterGivesWay)
{
    EXPECT_EQ(leftOut({one(plain, "ao", "A"), one(plain, "bi", "A")}), Positions{1});
    EXPECT_EQ(leftOut({one(blank, "ao", "A"), one(blank, "bi", "A")}), Positions{1});
}

TEST(RecordClaims, TheOneWithABlankGivesWayWhereverItStands)
{
    EXPECT_EQ(leftOut({one(blank, "ao", "A"), one(plain, "bi", "A")}), Positions{0});
    EXPECT_EQ(leftOut({one(plain, "ao", "A"), one(blank, "bi", "A")}), Positions{1});
}

TEST(RecordClaims, OneRecordOfASetDecidesForTheWholeNode)
{
    for (const char *name : {"A", "A:RBV", "A:Sync"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(leftOut({set(plain, "A"), one(plain, "bi", name)}), Positions{1});
        EXPECT_EQ(leftOut({one(plain, "bi", name), set(plain, "A")}), Positions{1});
        EXPECT_EQ(leftOut({set(blank, "A"), one(plain, "bi", name)}), Positions{0});
    }
}

TEST(RecordClaims, ASetMayBeCalledAsACompanion)
{
    // "A:RBV" of the second node is no "ai", and its companions are nobody else's.
    EXPECT_EQ(leftOut({set(plain, "A"), set(plain, "A:RBV"), one(plain, "bi", "A:RBV:RBV")}),
              Positions{1});
    EXPECT_EQ(leftOut({set(plain, "A"), set(plain, "A:Sync"), one(plain, "bi", "A:Sync:RBV")}),
              Positions{2});
    EXPECT_EQ(leftOut({set(plain, "A:Sync"), set(plain, "A"), one(plain, "bi", "A:Sync:Sync")}),
              Positions{2});
}

TEST(RecordClaims, ANameOfNothingButACompanionsEndIsAName)
{
    EXPECT_EQ(leftOut({one(plain, "ao", ":RBV"), one(plain, "ao", ":Sync"),
                       one(plain, "bi", ":RBV"), one(plain, "ao", ":Sync")}),
              Positions{2});
}

TEST(RecordClaims, WhatIsLeftOutHoldsNoNameBack)
{
    // The set loses "A" to the first node, so the third may have "A:RBV" of another type.
    EXPECT_EQ(leftOut({one(plain, "bi", "A"), set(plain, "A"), one(plain, "bi", "A:RBV")}),
              Positions{1});
    EXPECT_EQ(leftOut({one(plain, "bi", "A:Sync"), set(plain, "A"), one(plain, "bi", "A")}),
              Positions{1});
}

TEST(RecordClaims, OfManyTheFirstWithoutABlankDecidesTheType)
{
    EXPECT_EQ(leftOut({one(blank, "ao", "A"), one(plain, "bi", "A"), one(plain, "ao", "A"),
                       one(blank, "bi", "A"), one(plain, "bi", "A")}),
              (Positions{0, 2}));
}
