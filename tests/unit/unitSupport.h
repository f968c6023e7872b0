// What the server's unit tests share.
#pragma once

#include "FakeAccessLibrary.h"
#include "StdoutCapture.h"
#include "ZANTOnode.h"
#include "ZANTOtypes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using NodePtr = std::unique_ptr<ZANTONode>;
using Lines = std::vector<std::string>;

constexpr int32_t crateHandle = FakeAccessLibrary::handle;

// How many ZANTONode or ZANTONodeProperty objects live on the heap, told by their size: right
// as a difference around code that makes and deletes them.
int liveNodes();
int liveProperties();

// Allocations of `from` to `to` bytes fail, for a scope.
class AllocationFailure {
public:
    AllocationFailure(std::size_t from, std::size_t to);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure &) = delete;
    AllocationFailure &operator=(const AllocationFailure &) = delete;
};

// The `n`-th allocation from here on fails, whoever makes it but the fake library, for a scope.
class NthAllocationFailure {
public:
    explicit NthAllocationFailure(int64_t n);
    ~NthAllocationFailure();
    NthAllocationFailure(const NthAllocationFailure &) = delete;
    NthAllocationFailure &operator=(const NthAllocationFailure &) = delete;

    bool happened() const;
};

// The process as at its start, whatever has ended before.
void beginNewLife();

// The fake library with an empty crate, no tree, no debug output. Afterwards every buffer of
// the library must have been released once and every node been deleted.
class ZantoTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    FakeAccessLibrary &fake = FakeAccessLibrary::instance();

private:
    int m_nodesBefore = 0;
};

// Nodes or properties as the builders return them: owned from here on.
template <typename T> std::vector<std::unique_ptr<T>> owned(const std::vector<T *> &items)
{
    return std::vector<std::unique_ptr<T>>(items.begin(), items.end());
}

template <typename T> variant variantOf(const T &value)
{
    variant v;
    v.setValue(value);
    return v;
}

// A node with what makes a record of it: name, kind, library type code and access.
NodePtr makeItem(const std::string &name, nodeType type, uint32_t wrapperType,
                 nodeAccessRights access);
// A node without anything but name and kind, to be given to a parent.
ZANTONode *bareNode(const std::string &name, nodeType type);

// "type name" of each record that a database text defines.
Lines recordsIn(const std::string &database);

// `text` repeated as it stands, for long names and texts.
std::string repeated(const std::string &text, int times);
