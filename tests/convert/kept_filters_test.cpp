// kept_filters_test.cpp: which filters of resamplers are kept, and when they are released.
#include "convert/soxr/resampler_memory.h"

#include <atomic>
#include <gtest/gtest.h>
#include <new>
#include <string>
#include <thread>
#include <vector>

extern "C" {
void *tonekit_soxr_take_filters(const void *key, size_t bytes, void *(*make)(void *), void *argument,
                                void (*drop)(void *));
void tonekit_soxr_give_back_filters(void *filters, void (*drop)(void *));
}

namespace tonekit {
namespace {

constexpr int kKept = 8; // that stay at most

std::atomic<int> made, dropped;

void *Make(void *)
{
    ++made;
    return new int;
}

void Drop(void *filters)
{
    ++dropped;
    delete static_cast<int *>(filters);
}

void *Refuse(void *)
{
    return nullptr;
}

void *RunOut(void *)
{
    throw std::bad_alloc();
}

void *Take(const std::string &key, void *(*make)(void *) = Make)
{
    NewResamplerBlocks blocks;
    void *const filters = tonekit_soxr_take_filters(key.data(), key.size(), make, nullptr, Drop);
    blocks.Keep();
    return filters;
}

void GiveBack(void *filters)
{
    tonekit_soxr_give_back_filters(filters, Drop);
}

// The tests share the process's places; each begins with places that hold other filters, made by none.
class KeptFiltersTest : public testing::Test {
protected:
    void SetUp() override
    {
        for (int i = 0; i < kKept; ++i)
            GiveBack(Take("before " + std::to_string(i)));
        made = dropped = 0;
    }
};

TEST_F(KeptFiltersTest, AreMadeOnceForAllOfOneKey)
{
    void *const first = Take("a");
    void *const second = Take("a");
    EXPECT_EQ(first, second);
    GiveBack(first);
    GiveBack(second);
    EXPECT_EQ(Take("a"), first) << "nobody used them for a while";
    GiveBack(first);
    EXPECT_EQ(made, 1);
}

TEST_F(KeptFiltersTest, AreOthersForAnotherKey)
{
    void *const first = Take("a");
    void *const longer = Take("ab");
    void *const other = Take("b");
    EXPECT_NE(first, longer);
    EXPECT_NE(first, other);
    EXPECT_EQ(made, 3);
    for (void *const filters : {first, longer, other})
        GiveBack(filters);
}

TEST_F(KeptFiltersTest, AreDroppedInTheOrderOfTheirLastUse)
{
    for (int i = 0; i < kKept; ++i)
        GiveBack(Take(std::to_string(i)));
    EXPECT_EQ(made, kKept);
    EXPECT_EQ(dropped, kKept) << "those from before";
    GiveBack(Take("0"));
    GiveBack(Take("new")); // drops 1
    GiveBack(Take("0"));
    EXPECT_EQ(made, kKept + 1);
    EXPECT_EQ(dropped, kKept + 1);
    GiveBack(Take("1")); // drops 2
    EXPECT_EQ(made, kKept + 2);
    for (int i = 3; i < kKept; ++i)
        GiveBack(Take(std::to_string(i)));
    EXPECT_EQ(made, kKept + 2) << "the others stayed";
}

TEST_F(KeptFiltersTest, StayWhileTheyAreInUseAndNoLongerThanThatWithoutAPlace)
{
    std::vector<void *> used;
    for (int i = 0; i < kKept + 2; ++i)
        used.push_back(Take(std::to_string(i)));
    EXPECT_EQ(dropped, kKept);
    EXPECT_EQ(made, kKept + 2);
    GiveBack(used[kKept]);
    GiveBack(used[kKept + 1]);
    EXPECT_EQ(dropped, kKept + 2) << "no place was free";
    for (int i = 0; i < kKept; ++i)
        GiveBack(used[static_cast<size_t>(i)]);
    EXPECT_EQ(dropped, kKept + 2);
}

TEST_F(KeptFiltersTest, WithAKeyThatIsTooLongAreTheirUsersAlone)
{
    const std::string key(1000, 'k');
    void *const first = Take(key);
    void *const second = Take(key);
    EXPECT_NE(first, second);
    GiveBack(first);
    GiveBack(second);
    EXPECT_EQ(made, 2);
    EXPECT_EQ(dropped, 2);
}

TEST_F(KeptFiltersTest, ThatAreRefusedAreAskedForAgain)
{
    EXPECT_EQ(Take("a", Refuse), nullptr);
    void *const filters = Take("a");
    EXPECT_NE(filters, nullptr);
    GiveBack(filters);
    EXPECT_EQ(made, 1);
}

TEST_F(KeptFiltersTest, ThatMemoryDidNotSufficeForAreAskedForAgain)
{
    EXPECT_THROW(Take("a", RunOut), std::bad_alloc);
    EXPECT_EQ(NewResamplerBlocks::OfThisThread(), nullptr);
    GiveBack(Take("a"));
    EXPECT_EQ(made, 1);
}

// A resampler that can't be made releases what it took.
TEST_F(KeptFiltersTest, OfAResamplerThatWasNotKeptAreIdle)
{
    {
        NewResamplerBlocks blocks;
        tonekit_soxr_take_filters("a", 1, Make, nullptr, Drop);
    }
    for (int i = 0; i < kKept; ++i)
        GiveBack(Take(std::to_string(i)));
    EXPECT_EQ(dropped, kKept + 1) << "all from before, and a";
}

TEST_F(KeptFiltersTest, ThatWereGivenBackAreNotGivenBackAgain)
{
    void *filters = nullptr;
    {
        NewResamplerBlocks blocks;
        filters = tonekit_soxr_take_filters("a", 1, Make, nullptr, Drop);
        ASSERT_EQ(Take("a"), filters);
        GiveBack(filters);
    }
    for (int i = 0; i < kKept; ++i)
        GiveBack(Take(std::to_string(i)));
    EXPECT_EQ(Take("a"), filters) << "they are in use still";
    EXPECT_EQ(made, kKept + 1);
    GiveBack(filters);
    GiveBack(filters);
}

TEST_F(KeptFiltersTest, ServeManyThreads)
{
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 3000; ++i) {
                void *const one = Take(std::to_string((i + t) % 11));
                void *const other = Take(std::to_string((i * 7 + t) % 13));
                GiveBack(one);
                GiveBack(other);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(made - dropped + kKept, kKept) << "eight from before, eight now";
}

} // namespace
} // namespace tonekit
