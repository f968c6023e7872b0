// Texts that are kept once.
#include "ZANTOsharedtext.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

TEST(SharedText, OfTheSameLettersIsTheSameText)
{
    const std::string name = "VMon";
    const ZANTOSharedText one(name);
    const ZANTOSharedText other(std::string("VM") + "on");
    EXPECT_EQ(&one.get(), &other.get());
    EXPECT_TRUE(one == other);
    EXPECT_TRUE(one != ZANTOSharedText("IMon"));
    EXPECT_EQ(one.get(), "VMon");
}

TEST(SharedText, OutlivesTheTextItWasMadeFrom)
{
    ZANTOSharedText kept;
    {
        const std::string text(100, 'x');
        kept = ZANTOSharedText(text);
    }
    EXPECT_EQ(kept.get(), std::string(100, 'x'));
}

TEST(SharedText, IsEmptyFromTheStart)
{
    EXPECT_EQ(ZANTOSharedText().get(), "");
    EXPECT_TRUE(ZANTOSharedText() == ZANTOSharedText(""));
    EXPECT_EQ(&ZANTOSharedText().get(), &ZANTOSharedText("").get());
}

TEST(SharedText, KeepsBytesOfEveryKind)
{
    const std::string bytes("a\0b\xff", 4);
    EXPECT_EQ(ZANTOSharedText(bytes).get(), bytes);
    EXPECT_TRUE(ZANTOSharedText(bytes) != ZANTOSharedText("a"));
}

// More texts than are remembered, of one beginning, so that many share a place.
TEST(SharedText, StaysTheSameHoweverManyThereAre)
{
    std::vector<ZANTOSharedText> texts;
    for (int i = 0; i < 3000; ++i)
        texts.emplace_back("a name of more than sixteen letters " + std::to_string(i));
    for (int i = 0; i < 3000; ++i) {
        const std::string expected = "a name of more than sixteen letters " + std::to_string(i);
        EXPECT_EQ(texts[static_cast<std::size_t>(i)].get(), expected);
        EXPECT_TRUE(texts[static_cast<std::size_t>(i)] == ZANTOSharedText(expected));
    }
}

TEST(SharedText, ManyThreadsGetTheSame)
{
    std::atomic<int> different{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&different] {
            for (int i = 0; i < 2000; ++i) {
                const std::string text = "thread text " + std::to_string(i % 500);
                const ZANTOSharedText one(text);
                if (one != ZANTOSharedText(text) || one.get() != text)
                    ++different;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(different, 0);
}
