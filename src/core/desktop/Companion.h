#pragma once
// Her life on the desktop apart from the drawing: whether she is on screen, the hour she spends
// away when the user asks for it, and the speech bubble that greets the user with one of her
// messages. The desktop shell shows what this decides.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "character/CharacterAnimator.h"
#include "common/Scheduler.h"
#include "conversation/Greeting.h"
#include "store/Store.h"

namespace lumenary {

/// Lives on the scheduler's owner thread (the GUI thread), like the store and the animator.
class Companion {
public:
    static constexpr double bubbleSeconds = 8;
    static constexpr double awaySeconds = 3600;

    /// `store`, `animator` and `scheduler` must outlive the companion. Without `pick`, greetings
    /// are chosen by a privately seeded uniform generator.
    Companion(const Store& store, CharacterAnimator& animator, Scheduler& scheduler,
              Greeting::PickIndex pick = {});
    /// Cancels the bubble's timer. The hour's timer finds the companion gone and does nothing.
    ~Companion();
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;

    /// She comes on screen: the first time, she starts moving and greets the user; later calls
    /// only bring her back to the screen.
    void appear();
    /// "Hide her for an hour": off the screen and still, and back by herself an hour later, even
    /// if "Show her" brought her back (and she was hidden again) in between.
    void hideForAnHour();
    /// "Show her": back on the screen, if she has appeared at all, and moving in any case.
    void show();
    /// She has appeared and is not hidden.
    bool isOnScreen() const { return appeared_ && !hidden_; }

    /// Says one of her messages from around this hour, if there is one (see Greeting::choose).
    void greet();
    /// Shows `text` in the bubble until 8 s after the last say().
    void say(std::string text);
    /// Takes the bubble away now (the chat window opened).
    void hush();
    /// The bubble's text; nothing while it is hidden.
    const std::optional<std::string>& bubble() const { return bubble_; }

    /// Calls `observer` after every change of isOnScreen() or bubble(); gives an id for
    /// unobserve(). An observer may unobserve while being called.
    int observe(std::function<void()> observer);
    void unobserve(int id);

private:
    void notify();

    const Store& store_;
    CharacterAnimator& animator_;
    Scheduler& scheduler_;
    Greeting::PickIndex pick_;

    bool appeared_ = false;
    bool hidden_ = false;
    std::optional<std::string> bubble_;
    std::optional<Scheduler::TimerId> bubbleTimer_;

    int nextObserverId_ = 1;
    std::vector<std::pair<int, std::function<void()>>> observers_;

    // The hour's timer holds this weakly, since it is never cancelled.
    std::shared_ptr<Companion*> alive_;
};

}  // namespace lumenary
