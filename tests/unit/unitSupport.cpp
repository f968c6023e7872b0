#include "unitSupport.h"

#include "ZANTOend.h"
#include "ZANTOlife.h"
#include "ZANTOutils.h"

#include <epicsExit.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>
#include <unistd.h>

// ---- objects on the heap ----

namespace {

std::atomic<int> nodes{0};
std::atomic<int> properties{0};
std::atomic<std::size_t> failFrom{SIZE_MAX};
std::atomic<std::size_t> failTo{0};
std::atomic<int64_t> failAt{0}; // counts down to the one that fails

void countObject(std::size_t size, int change)
{
    if (size == sizeof(ZANTONode))
        nodes += change;
    if (size == sizeof(ZANTONodeProperty))
        properties += change;
}

} // namespace

int liveNodes() { return nodes; }
int liveProperties() { return properties; }

AllocationFailure::AllocationFailure(std::size_t from, std::size_t to)
{
    failTo = to;
    failFrom = from;
}

AllocationFailure::~AllocationFailure() { failFrom = SIZE_MAX; }

NthAllocationFailure::NthAllocationFailure(int64_t n) { failAt = n; }
NthAllocationFailure::~NthAllocationFailure() { failAt = 0; }
bool NthAllocationFailure::happened() const { return failAt <= 0; }

// The node's destructor is no virtual one and cannot be watched; its memory can. The size stands
// in front of each block, because not every delete is told it.
namespace {

struct alignas(std::max_align_t) BlockHeader {
    std::size_t size;
};

} // namespace

void *operator new(std::size_t size)
{
    // The access library is no C++ and keeps its own books.
    const bool ours = !FakeOperation::isUnderWay();
    const bool isNth = ours && failAt > 0 && --failAt == 0;
    const bool fail = isNth || (size >= failFrom && size <= failTo);
    void *memory = fail ? nullptr : std::malloc(sizeof(BlockHeader) + size);
    if (memory == nullptr)
        throw std::bad_alloc();
    const std::size_t counted = ours ? size : 0;
    countObject(counted, 1);
    return new (memory) BlockHeader{counted} + 1;
}

void operator delete(void *memory) noexcept
{
    if (memory == nullptr)
        return;
    BlockHeader *header = static_cast<BlockHeader *>(memory) - 1;
    countObject(header->size, -1);
    std::free(header);
}

void operator delete(void *memory, std::size_t) noexcept { ::operator delete(memory); }

// ---- fixture ----

namespace {

// As EPICS' own but for its pause.
void exitAtOnce(int status)
{
    epicsExitCallAtExits();
    std::exit(status);
}

} // namespace

void beginNewLife()
{
    ZANTOBeginLife();
    ZANTOForgetEnd();
    ZANTOOpenTree();
}

void ZantoTest::SetUp()
{
    m_nodesBefore = liveNodes();
    beginNewLife();
    ZANTOSetExit(exitAtOnce);
    fake.reset();
    DEBUG = 0;
    tcpPort = 5180;
    ZANTOUtils::SysName.clear();
}

void ZantoTest::TearDown()
{
    NodePtr(systemNode).reset();
    systemNode = nullptr;
    EXPECT_EQ(liveNodes(), m_nodesBefore) << "nodes were not deleted";
    EXPECT_EQ(fake.unreleased(), 0U) << "lists of the library were not released";
    EXPECT_EQ(fake.wrongReleases(), 0U) << "lists were released that must not be";
}

// ---- nodes ----

NodePtr makeItem(const std::string &name, nodeType type, uint32_t wrapperType,
                 nodeAccessRights access)
{
    auto node = std::make_unique<ZANTONode>();
    node->ZANTOPrepareNode(name, type, -1, -1, "", "", "");
    node->setSysName("CRATE");
    node->setSysHandle(crateHandle);
    node->setParWrapperType(wrapperType);
    node->setAccessRights(access);
    return node;
}

ZANTONode *bareNode(const std::string &name, nodeType type)
{
    auto node = std::make_unique<ZANTONode>();
    node->ZANTOPrepareNode(name, type, -1, -1, "", "", "");
    return node.release();
}

// A header is the only line that begins with its keyword; the rest is indented.
Lines recordsIn(const std::string &database)
{
    constexpr std::string_view keyword = "record(";
    Lines records;
    for (std::string_view rest = database; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const std::size_t comma = line.find(',');
        const std::size_t open = line.find('"');
        const std::size_t close = line.find('"', open == line.npos ? open : open + 1);
        if (line.substr(0, keyword.size()) == keyword && comma < open && close != line.npos) {
            const std::size_t type = line.find_first_not_of(' ', keyword.size());
            records.push_back(std::string(line.substr(type, comma - type)) + " " +
                              std::string(line.substr(open + 1, close - open - 1)));
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return records;
}

std::string repeated(const std::string &text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}
