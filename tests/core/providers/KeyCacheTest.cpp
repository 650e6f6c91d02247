#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>

#include "ManualScheduler.h"
#include "providers/KeyCache.h"

namespace lumenary {
namespace {

using testing::ManualScheduler;

TEST(KeyCache, KnowsTheKeysOnlyOnceTheWorkerHasReadThem) {
    ManualScheduler scheduler;
    std::map<Provider, std::string> keyring{{Provider::gemini, "g-key"}};
    std::atomic<int> reads = 0;
    KeyCache cache(scheduler, [&](Provider provider) -> std::optional<std::string> {
        ++reads;
        const auto found = keyring.find(provider);
        return found == keyring.end() ? std::nullopt : std::optional(found->second);
    });
    int answers = 0;
    cache.observe([&answers] { ++answers; });
    const KeyLookup lookup = cache.lookup();

    cache.refresh();
    // Nothing is read on the caller's thread, and nothing is known before the answer.
    EXPECT_EQ(reads, 0);
    EXPECT_FALSE(cache.hasAny());
    scheduler.runBackground();
    EXPECT_EQ(reads, 3);
    EXPECT_FALSE(cache.hasAny());
    scheduler.runDue();
    EXPECT_TRUE(cache.hasAny());
    EXPECT_EQ(lookup(Provider::gemini), std::optional<std::string>("g-key"));
    EXPECT_EQ(lookup(Provider::claude), std::nullopt);
    EXPECT_EQ(answers, 1);

    // A key removed elsewhere is gone after the next refresh.
    keyring.clear();
    cache.refresh();
    scheduler.runBackground();
    scheduler.runDue();
    EXPECT_FALSE(cache.hasAny());
    EXPECT_EQ(lookup(Provider::gemini), std::nullopt);
}

TEST(KeyCache, AnAnswerAfterTheCacheIsGoneIsDropped) {
    ManualScheduler scheduler;
    KeyLookup lookup;
    {
        KeyCache cache(scheduler, [](Provider) { return std::optional<std::string>("k"); });
        lookup = cache.lookup();
        cache.refresh();
        scheduler.runBackground();
    }
    scheduler.runDue();
    EXPECT_EQ(lookup(Provider::claude), std::nullopt);
}

}  // namespace
}  // namespace lumenary
