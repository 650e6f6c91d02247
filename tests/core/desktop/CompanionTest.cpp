#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ManualScheduler.h"
#include "TestSupport.h"
#include "desktop/Companion.h"

namespace lumenary {
namespace {

using testing::ManualScheduler;
using testing::TemporaryFolder;

Timestamp at(int hour, int minute) {
    return *LocalTime::fromCivil(CivilTime{2026, 11, 23, hour, minute, 0});
}

// A companion over a store whose archive has one greeting for 9 o'clock, on a clock at 9:00.
struct Fixture {
    TemporaryFolder folder;
    ManualScheduler scheduler{at(9, 0)};
    Store store{folder.path(), Store::Options{[](const std::string&) {}, {}}};
    CharacterAnimator animator{scheduler, [] { return 5.0; }};

    Fixture() {
        store.adopt({ChatMessage{testing::labelledId("a"), "Amma", "good morning kanna", at(9, 5)},
                     ChatMessage{testing::labelledId("b"), "Ravi", "morning amma", at(9, 6)}},
                    "Amma");
    }
};

TEST(Companion, AppearingStartsHerMovingAndGreetsOnce) {
    Fixture f;
    Companion companion(f.store, f.animator, f.scheduler, [](std::size_t) { return 0; });
    int changes = 0;
    companion.observe([&changes] { ++changes; });
    EXPECT_FALSE(companion.isOnScreen());

    companion.appear();
    EXPECT_TRUE(companion.isOnScreen());
    EXPECT_TRUE(f.animator.isRunning());
    EXPECT_EQ(companion.bubble(), std::optional<std::string>("good morning kanna"));
    EXPECT_GE(changes, 2);

    // Appearing again only brings her back; it does not greet a second time.
    companion.hush();
    companion.appear();
    EXPECT_EQ(companion.bubble(), std::nullopt);
}

TEST(Companion, TheBubbleStaysEightSecondsAfterTheLastThingSaid) {
    Fixture f;
    Companion companion(f.store, f.animator, f.scheduler);
    companion.say("first");
    f.scheduler.advance(5);
    companion.say("second");
    f.scheduler.advance(7.9);  // 12.9 s after the first, 7.9 s after the second
    EXPECT_EQ(companion.bubble(), std::optional<std::string>("second"));
    f.scheduler.advance(0.2);
    EXPECT_EQ(companion.bubble(), std::nullopt);

    // Hushed at once when the chat opens; a later say has its own full eight seconds.
    companion.say("third");
    f.scheduler.advance(3);
    companion.hush();
    EXPECT_EQ(companion.bubble(), std::nullopt);
    companion.say("fourth");
    f.scheduler.advance(7);
    EXPECT_EQ(companion.bubble(), std::optional<std::string>("fourth"));
}

TEST(Companion, HiddenForAnHourSheComesBackByHerself) {
    Fixture f;
    Companion companion(f.store, f.animator, f.scheduler);
    companion.appear();

    companion.hideForAnHour();
    EXPECT_FALSE(companion.isOnScreen());
    EXPECT_FALSE(f.animator.isRunning());
    f.scheduler.advance(Companion::awaySeconds - 1);
    EXPECT_FALSE(companion.isOnScreen());
    f.scheduler.advance(1);
    EXPECT_TRUE(companion.isOnScreen());
    EXPECT_TRUE(f.animator.isRunning());

    // "Show her" does not cancel the hour: hidden again later, she returns when the first hour
    // is up.
    companion.hideForAnHour();
    f.scheduler.advance(600);
    companion.show();
    EXPECT_TRUE(companion.isOnScreen());
    f.scheduler.advance(600);
    companion.hideForAnHour();
    f.scheduler.advance(Companion::awaySeconds - 1200);
    EXPECT_TRUE(companion.isOnScreen());
}

TEST(Companion, NoGreetingWithoutAnIndexAndNoTroubleWhenTimersOutliveHer) {
    TemporaryFolder folder;
    ManualScheduler scheduler{at(9, 0)};
    Store store{folder.path(), Store::Options{[](const std::string&) {}, {}}};
    CharacterAnimator animator{scheduler, [] { return 5.0; }};
    {
        Companion companion(store, animator, scheduler);
        companion.appear();
        EXPECT_EQ(companion.bubble(), std::nullopt);
        companion.say("hello");
        companion.hideForAnHour();
    }
    scheduler.advance(Companion::awaySeconds);
    EXPECT_FALSE(animator.isRunning());
}

}  // namespace
}  // namespace lumenary
