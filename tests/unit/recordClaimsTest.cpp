// Which nodes go without records when a name would get two record types.
#include "ZANTOrecordclaims.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// A node: whether its name holds a blank, and its records as "type name".
struct Claimant {
    bool blank;
    std::vector<std::string> records;
};

constexpr bool plain = false;
constexpr bool blank = true;

/// The positions of the nodes that are left out.
std::vector<std::size_t> leftOut(const std::vector<Claimant> &nodes)
{
    std::vector<ZANTORecordClaim> claims;
    std::vector<bool> holdsBlank;
    for (const Claimant &node : nodes) {
        for (const std::string_view record : node.records) {
            const std::size_t space = record.find(' ');
            claims.push_back(
                {holdsBlank.size(), record.substr(space + 1), record.substr(0, space)});
        }
        holdsBlank.push_back(node.blank);
    }
    const std::vector<bool> out = ZANTONodesLeftOut(claims, holdsBlank);
    EXPECT_EQ(out.size(), nodes.size());
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
    EXPECT_EQ(leftOut({{plain, {"ao A"}}, {blank, {"bi B"}}, {plain, {}}}), Positions{});
}

TEST(RecordClaims, NodesOfOneNameAndOneTypeAllStay)
{
    EXPECT_EQ(leftOut({{plain, {"ao A"}}, {plain, {"ao A"}}, {blank, {"ao A"}}}), Positions{});
}

TEST(RecordClaims, OfTwoTypesTheLaterGivesWay)
{
    EXPECT_EQ(leftOut({{plain, {"ao A"}}, {plain, {"bi A"}}}), Positions{1});
    EXPECT_EQ(leftOut({{blank, {"ao A"}}, {blank, {"bi A"}}}), Positions{1});
}

TEST(RecordClaims, TheOneWithABlankGivesWayWhereverItStands)
{
    EXPECT_EQ(leftOut({{blank, {"ao A"}}, {plain, {"bi A"}}}), Positions{0});
    EXPECT_EQ(leftOut({{plain, {"ao A"}}, {blank, {"bi A"}}}), Positions{1});
}

TEST(RecordClaims, OneRecordOfASetDecidesForTheWholeNode)
{
    const std::vector<std::string> set = {"ao A", "ai A:RBV", "ao A:Sync"};
    EXPECT_EQ(leftOut({{plain, set}, {plain, {"bi A:Sync"}}}), Positions{1});
    EXPECT_EQ(leftOut({{plain, {"bi A:Sync"}}, {plain, set}}), Positions{1});
    EXPECT_EQ(leftOut({{blank, set}, {plain, {"bi A:RBV"}}}), Positions{0});
}

TEST(RecordClaims, WhatIsLeftOutHoldsNoNameBack)
{
    const std::vector<std::string> set = {"ao A", "ai A:RBV", "ao A:Sync"};
    // The set loses "A" to the first node, so the third may have "A:RBV" of another type.
    EXPECT_EQ(leftOut({{plain, {"bi A"}}, {plain, set}, {plain, {"bi A:RBV"}}}), Positions{1});
}

TEST(RecordClaims, OfManyTheFirstWithoutABlankDecidesTheType)
{
    EXPECT_EQ(leftOut({{blank, {"ao A"}},
                       {plain, {"bi A"}},
                       {plain, {"ao A"}},
                       {blank, {"bi A"}},
                       {plain, {"bi A"}}}),
              (Positions{0, 2}));
}
