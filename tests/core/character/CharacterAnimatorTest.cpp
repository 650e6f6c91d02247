#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <limits>
#include <numbers>
#include <string>

#include "ManualScheduler.h"
#include "character/CharacterAnimator.h"

namespace lumenary {
namespace {

using testing::ManualScheduler;
constexpr double kFrame = 1.0 / 24;

// Blink gaps handed out in order, the last one repeated; counts how often it was asked.
struct Gaps {
    std::deque<double> seconds;
    int draws = 0;
    CharacterAnimator::BlinkGapSource source() {
        return [this] {
            ++draws;
            const double next = seconds.front();
            if (seconds.size() > 1)
                seconds.pop_front();
            return next;
        };
    }
};

// Steps `count` frames and writes one letter per frame: i(dle), b(link), s(peaking),
// l(istening), z (sleeping).
std::string frames(CharacterAnimator& animator, int count) {
    std::string out;
    for (int i = 0; i < count; ++i) {
        animator.step();
        out += "ibslz"[static_cast<int>(animator.state())];
    }
    return out;
}

double breathAt(double tick) {
    return 0.8 * std::sin(2 * std::numbers::pi * tick / 86.4) + 0.8;
}

TEST(CharacterAnimator, BreathesFromRestAndNamesItsStates) {
    ManualScheduler scheduler;
    CharacterAnimator animator(scheduler);
    EXPECT_EQ(animator.state(), CharacterState::idle);
    EXPECT_EQ(animator.breath(), 0);
    EXPECT_EQ(scheduler.pendingTimers(), 0u);
    animator.step();
    EXPECT_NEAR(animator.breath(), 0.858, 0.001);
    frames(animator, 21);
    EXPECT_NEAR(animator.breath(), 1.6, 0.001);  // a quarter of an 86.4-frame breath
    std::string names;
    for (const CharacterState state : allCharacterStates)
        names += std::string(displayName(state)) + " ";
    EXPECT_EQ(names, "Idle Blink Speaking Listening Sleeping ");
}

TEST(CharacterAnimator, BlinksForThreeFramesAtTick41ThenAfterTheDrawnGap) {
    Gaps gaps{{2.99, 2.0}};  // 71.76 frames count as 71
    ManualScheduler scheduler;
    CharacterAnimator animator(scheduler, gaps.source());
    EXPECT_EQ(frames(animator, 40), std::string(40, 'i'));
    EXPECT_EQ(frames(animator, 4), "bbbi");
    EXPECT_EQ(frames(animator, 68), std::string(68, 'i'));  // up to tick 112 = 41 + 71
    EXPECT_EQ(frames(animator, 52), "bbb" + std::string(46, 'i') + "bbb");  // 48 frames apart
    EXPECT_EQ(gaps.draws, 3);

    // A source that strays outside 2–10 s is held to it: no number gives 48 frames, a huge one 240.
    Gaps wild{{std::numeric_limits<double>::quiet_NaN(), 1e300}};
    CharacterAnimator held(scheduler, wild.source());
    EXPECT_EQ(frames(held, 92).substr(40), "bbb" + std::string(46, 'i') + "bbb");
    EXPECT_EQ(frames(held, 238), std::string(238, 'i'));
    EXPECT_EQ(frames(held, 1), "b");
}

TEST(CharacterAnimator, SpeechAlternatesByFrameAndABlinkInterruptsIt) {
    Gaps gaps{{10}};
    ManualScheduler scheduler;
    CharacterAnimator animator(scheduler, gaps.source());
    animator.setSpeaking(true);
    // Speaking on even ticks; the blink at 41 closes the eyes mid-speech.
    EXPECT_EQ(frames(animator, 46), "isisisisisisisisisisisisisisisisisisisisbbbsis");
}

TEST(CharacterAnimator, SleepOutranksEverythingAndHoldsTheBlinkSchedule) {
    Gaps gaps{{2}};
    ManualScheduler scheduler;
    CharacterAnimator animator(scheduler, gaps.source());
    animator.setSleeping(true);
    animator.setSpeaking(true);
    EXPECT_EQ(frames(animator, 60), std::string(60, 'z'));
    EXPECT_EQ(gaps.draws, 0);
    EXPECT_DOUBLE_EQ(animator.breath(), breathAt(60));  // breathing goes on in sleep
    animator.setSleeping(false);
    EXPECT_EQ(frames(animator, 4), "bbbs");  // the overdue blink comes at once on waking
    EXPECT_EQ(gaps.draws, 1);
}

TEST(CharacterAnimator, OneTimerAtTwentyFourFramesASecondThatStopsAndResumes) {
    ManualScheduler scheduler;
    CharacterAnimator animator(scheduler);
    int frameCount = 0;
    animator.observe([&] { ++frameCount; });
    animator.start();
    animator.start();
    EXPECT_EQ(scheduler.pendingTimers(), 1u);
    scheduler.advance(kFrame * 0.99);
    EXPECT_EQ(frameCount, 0);
    scheduler.advance(kFrame * 9.5);  // frames 1 to 10 have come due
    EXPECT_EQ(frameCount, 10);

    animator.stop();
    EXPECT_EQ(scheduler.pendingTimers(), 0u);
    scheduler.advance(5);
    EXPECT_EQ(frameCount, 10);
    EXPECT_DOUBLE_EQ(animator.breath(), breathAt(10));
    animator.start();
    scheduler.advance(kFrame * 1.01);
    EXPECT_EQ(frameCount, 11);
    EXPECT_DOUBLE_EQ(animator.breath(), breathAt(11));  // carries on from the same tick
}

TEST(CharacterAnimator, ObserversHearFramesAndStateWritesUntilTheyLeave) {
    ManualScheduler scheduler;
    CharacterAnimator animator(scheduler);
    std::string heard;
    int first = 0;
    first = animator.observe([&] {
        heard += '1';
        animator.unobserve(first);  // leaving while being called
    });
    const int second = animator.observe([&] { heard += '2'; });
    animator.step();
    animator.setState(CharacterState::speaking);
    EXPECT_EQ(animator.state(), CharacterState::speaking);
    animator.step();  // the next frame chooses again
    EXPECT_EQ(animator.state(), CharacterState::idle);
    animator.unobserve(second);
    animator.step();
    EXPECT_EQ(heard, "1222");
}

TEST(CharacterAnimator, DestroyedAnimatorLeavesNoTimerBehind) {
    ManualScheduler scheduler;
    {
        CharacterAnimator animator(scheduler);
        animator.start();
        scheduler.advance(kFrame * 2.5);
    }
    EXPECT_EQ(scheduler.pendingTimers(), 0u);
    scheduler.advance(1);  // would step freed memory if a timer were left
}

}  // namespace
}  // namespace lumenary
