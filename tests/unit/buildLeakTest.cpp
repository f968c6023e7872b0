// Memory that runs out at any point of the tree build: nothing leaks.
#include "fileSupport.h"

#include "ZANTO.h"
#include "ZANTOconfig.h"
#include "ZANTOlookup.h"

#include <new>

namespace {

constexpr int64_t moreThanAnyBuildAllocates = 1000000;

class BuildLeak : public StartupFilesTest {
protected:
    void SetUp() override
    {
        StartupFilesTest::SetUp();
        fake.setCrate(crateOfEverything());
    }

    // The test's copy of the crate would be taken for nodes that are left over.
    void TearDown() override
    {
        fake.reset();
        StartupFilesTest::TearDown();
    }

    static FakeCrate crateOfEverything()
    {
        FakeCrate crate = smallFakeCrate();
        crate.commands.emplace_back("a name that no string keeps inside itself");
        crate.slots.pop_back();
        crate.slots[0].channels.pop_back();
        return crate;
    }

    // Runs `build` with the n-th allocation failing, for every n there is, `cleanUp` after each.
    template <typename Build, typename CleanUp>
    void expectNoLeak(const Build &build, const CleanUp &cleanUp)
    {
        int64_t failures = 0;
        cleanUp(); // what an earlier test left
        for (int64_t n = 1; n < moreThanAnyBuildAllocates; ++n) {
            beginNewLife();
            const int nodes = liveNodes();
            const int properties = liveProperties();
            const bool happened = buildsWithout(n, build);
            cleanUp();
            ASSERT_EQ(liveNodes(), nodes) << "allocation " << n;
            ASSERT_EQ(liveProperties(), properties) << "allocation " << n;
            ASSERT_EQ(fake.unreleased(), 0U) << "allocation " << n;
            if (!happened)
                break;
            ++failures;
        }
        EXPECT_GT(failures, 2);
    }

private:
    // False when the build makes fewer allocations.
    template <typename Build> static bool buildsWithout(int64_t n, const Build &build)
    {
        StdoutCapture quiet;
        const NthAllocationFailure failure(n);
        try {
            build();
        } catch (const std::bad_alloc &) {
            EXPECT_TRUE(failure.happened());
        }
        return failure.happened();
    }
};

template <typename T> void drop(const std::vector<T *> &items)
{
    for (T *item : items)
        std::unique_ptr<T>(item).reset();
}

void nothing() {}

} // namespace

TEST_F(BuildLeak, TheTreeBuildLeaksNothingWhicheverAllocationFails)
{
    const auto logouts = [this] { return fake.callsOf("DeinitSystem").size(); };
    const auto build = [&] {
        const size_t before = logouts();
        if (createSystemTree("CRATE", "10.0.0.9", "admin", "secret") != 0) {
            EXPECT_EQ(systemNode, nullptr);
            EXPECT_EQ(logouts(), before + 1);
        }
    };
    expectNoLeak(build, [] {
        NodePtr(systemNode).reset();
        systemNode = nullptr;
        ZANTOIndexTree(); // drops the index
    });
}

TEST_F(BuildLeak, TheBuildersLeakNothingWhicheverAllocationFails)
{
    using Config = ZANTOConfig;
    NodePtr board(Config::ZANTOConfigCreateNodeBoard(
        0, 2, "a model whose name is long", "a description that is long", 100, "05", "03"));
    const std::function<void()> builders[] = {
        [] { drop(Config::ZANTOConfigCreateSystemProps(crateHandle)); },
        [] { drop(Config::ZANTOConfigCreateSystemExecComm(crateHandle)); },
        [] { drop(Config::ZANTOConfigCreateSystemFurtherParams(connStatus_OK, 3)); },
        [] { drop(Config::ZANTOConfigCreateBoards(crateHandle)); },
        [&board] { drop(Config::ZANTOConfigCreateBoardInfo(board.get())); },
        [] { drop(Config::ZANTOConfigCreateBoardParams(crateHandle, 0)); },
        [] { drop(Config::ZANTOConfigCreateChannels(crateHandle, 0, 1)); },
        [] { drop(Config::ZANTOConfigCreateChannelParams(crateHandle, 2, 0, 0)); },
        [] {
            drop(Config::ZANTOConfigCreateBoardParameterProperties(crateHandle, "Temp",
                                                                   VEXAHV_PARAM_NUMERIC, 0));
        },
        [] {
            drop(Config::ZANTOConfigCreateChannelParameterProperties(crateHandle, "Pw",
                                                                     VEXAHV_PARAM_ONOFF, 0, 0));
        },
    };
    for (const auto &builder : builders) {
        SCOPED_TRACE(&builder - builders);
        expectNoLeak(builder, nothing);
    }
}
