#include "character/CharacterAnimator.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace lumenary {
namespace {

// A breath swings the body between 0 and twice this, once every 86.4 frames (3.6 s).
constexpr double kBreathAmplitude = 0.8;
constexpr double kBreathPeriodFrames = 86.4;
// The blink covers the frame that schedules it and the two after it.
constexpr std::int64_t kBlinkFrames = 3;
constexpr double kShortestBlinkGap = 2;
constexpr double kLongestBlinkGap = 10;

CharacterAnimator::BlinkGapSource uniformBlinkGaps() {
    // The upper bound is nudged past 10 so that 10 itself can be drawn.
    const double justPastLongest = std::nextafter(kLongestBlinkGap, kLongestBlinkGap + 1);
    return [engine = std::mt19937_64(std::random_device{}()),
            gaps = std::uniform_real_distribution<double>(
                kShortestBlinkGap, justPastLongest)]() mutable { return gaps(engine); };
}

// A source that strays outside 2–10 s (or gives no number) must not stop blinking for good or
// overflow the frame arithmetic.
double heldToRange(double seconds) {
    if (!(seconds >= kShortestBlinkGap))
        return kShortestBlinkGap;
    return std::min(seconds, kLongestBlinkGap);
}

}  // namespace

CharacterAnimator::CharacterAnimator(Scheduler& scheduler, BlinkGapSource blinkGap)
    : scheduler_(scheduler), blinkGap_(blinkGap ? std::move(blinkGap) : uniformBlinkGaps()) {}

CharacterAnimator::~CharacterAnimator() {
    stop();
}

void CharacterAnimator::start() {
    if (timer_)
        return;
    timer_ = scheduler_.every(1.0 / fps, [this] { step(); });
}

void CharacterAnimator::stop() {
    if (!timer_)
        return;
    scheduler_.cancel(*timer_);
    timer_.reset();
}

void CharacterAnimator::step() {
    ++tick_;
    breath_ = kBreathAmplitude * std::sin(2 * std::numbers::pi * static_cast<double>(tick_) /
                                          kBreathPeriodFrames) +
              kBreathAmplitude;

    if (isSleeping_) {
        // Asleep, no blink is scheduled: the schedule stays where it was until she wakes.
        state_ = CharacterState::sleeping;
    } else {
        if (nextBlink_ < tick_) {
            blinkUntil_ = tick_ + kBlinkFrames;
            nextBlink_ = tick_ + static_cast<std::int64_t>(heldToRange(blinkGap_()) * fps);
        }
        if (tick_ < blinkUntil_) {
            state_ = CharacterState::blink;
        } else if (isSpeaking_) {
            // The mouth opens and closes on alternate frames.
            state_ = tick_ % 2 == 0 ? CharacterState::speaking : CharacterState::idle;
        } else {
            state_ = CharacterState::idle;
        }
    }
    notify();
}

void CharacterAnimator::setState(CharacterState state) {
    state_ = state;
    notify();
}

int CharacterAnimator::observe(std::function<void()> observer) {
    const int id = nextObserverId_++;
    observers_.emplace_back(id, std::move(observer));
    return id;
}

void CharacterAnimator::unobserve(int id) {
    std::erase_if(observers_, [id](const auto& entry) { return entry.first == id; });
}

void CharacterAnimator::notify() {
    // Observers may add or remove observers while being called; each one registered when the
    // frame began is called once, unless it has been removed by then.
    std::vector<int> ids;
    ids.reserve(observers_.size());
    for (const auto& entry : observers_)
        ids.push_back(entry.first);
    for (const int id : ids) {
        const auto found = std::find_if(observers_.begin(), observers_.end(),
                                        [id](const auto& entry) { return entry.first == id; });
        if (found == observers_.end())
            continue;
        const std::function<void()> observer = found->second;
        observer();
    }
}

}  // namespace lumenary
