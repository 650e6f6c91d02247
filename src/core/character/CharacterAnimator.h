#pragma once
// Decides, twenty-four times a second, which face the character shows and how far its body is
// lifted by breathing, from two switches the rest of the application sets: speaking and asleep.

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "character/CharacterState.h"
#include "common/Scheduler.h"

namespace lumenary {

/// One per character on screen (the companion panel's, and a preview's in onboarding and
/// settings). Not thread-safe: every call, and every frame, happens on the scheduler's owner
/// thread. Not copyable or movable, since its frame timer refers to it.
class CharacterAnimator {
public:
    static constexpr double fps = 24;

    /// Gives the seconds until the next blink, uniformly from 2 to 10. A value outside that range
    /// (or not a number) is held to it.
    using BlinkGapSource = std::function<double()>;

    /// Starts idle with no breath and no timer. `scheduler` must outlive the animator. Without a
    /// `blinkGap` source a privately seeded uniform generator is used.
    explicit CharacterAnimator(Scheduler& scheduler, BlinkGapSource blinkGap = {});
    /// Cancels the frame timer, so the scheduler never steps a destroyed animator.
    ~CharacterAnimator();
    CharacterAnimator(const CharacterAnimator&) = delete;
    CharacterAnimator& operator=(const CharacterAnimator&) = delete;

    /// Starts stepping every 1/24 s; does nothing while already running.
    void start();
    /// Stops stepping. The frame count, the blink schedule, the state and the breath are kept, so
    /// a later `start()` carries on from where this left off.
    void stop();
    bool isRunning() const { return timer_.has_value(); }

    /// One frame: advances the frame count, the breath and the blink schedule, chooses the state
    /// (sleeping, else blinking, else speaking on even frames while speaking, else idle) and
    /// notifies the observers. The timer calls it; tests and previews may call it directly.
    void step();

    CharacterState state() const { return state_; }
    /// The body's lift in design units, 0 to 1.6, one breath every 3.6 s.
    double breath() const { return breath_; }
    /// Overrides the state until the next frame chooses again (the conversation's return to idle
    /// when a reply ends). Notifies the observers.
    void setState(CharacterState state);

    /// The two switches; they take effect at the next frame.
    bool isSpeaking() const { return isSpeaking_; }
    void setSpeaking(bool speaking) { isSpeaking_ = speaking; }
    bool isSleeping() const { return isSleeping_; }
    void setSleeping(bool sleeping) { isSleeping_ = sleeping; }

    /// Calls `observer` after every frame and every `setState`, until `unobserve` with the
    /// returned id. An observer may unobserve itself or others while being called.
    int observe(std::function<void()> observer);
    void unobserve(int id);

private:
    void notify();

    Scheduler& scheduler_;
    BlinkGapSource blinkGap_;
    std::optional<Scheduler::TimerId> timer_;

    CharacterState state_ = CharacterState::idle;
    double breath_ = 0;
    bool isSpeaking_ = false;
    bool isSleeping_ = false;
    std::int64_t tick_ = 0;         // frames since the animator was made
    std::int64_t nextBlink_ = 40;   // the frame after which the next blink starts
    std::int64_t blinkUntil_ = -1;  // the first frame no longer part of the current blink

    int nextObserverId_ = 1;
    std::vector<std::pair<int, std::function<void()>>> observers_;
};

}  // namespace lumenary
