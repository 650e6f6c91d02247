#include "desktop/Companion.h"

#include <random>

namespace lumenary {
namespace {

Greeting::PickIndex uniformPicks() {
    return [engine = std::mt19937_64(std::random_device{}())](std::size_t count) mutable {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(engine);
    };
}

}  // namespace

Companion::Companion(const Store& store, CharacterAnimator& animator, Scheduler& scheduler,
                     Greeting::PickIndex pick)
    : store_(store),
      animator_(animator),
      scheduler_(scheduler),
      pick_(pick ? std::move(pick) : uniformPicks()),
      alive_(std::make_shared<Companion*>(this)) {}

Companion::~Companion() {
    if (bubbleTimer_)
        scheduler_.cancel(*bubbleTimer_);
}

void Companion::appear() {
    if (appeared_) {
        hidden_ = false;
        notify();
        return;
    }
    appeared_ = true;
    hidden_ = false;
    animator_.start();
    notify();
    greet();
}

void Companion::hideForAnHour() {
    hidden_ = true;
    animator_.stop();
    notify();
    std::weak_ptr<Companion*> alive = alive_;
    scheduler_.after(awaySeconds, [alive] {
        if (auto self = alive.lock())
            (*self)->show();
    });
}

void Companion::show() {
    hidden_ = false;
    animator_.start();
    notify();
}

void Companion::greet() {
    if (auto text = Greeting::choose(store_, scheduler_.now(), pick_))
        say(std::move(*text));
}

void Companion::say(std::string text) {
    if (bubbleTimer_)
        scheduler_.cancel(*bubbleTimer_);
    bubble_ = std::move(text);
    std::weak_ptr<Companion*> alive = alive_;
    bubbleTimer_ = scheduler_.after(bubbleSeconds, [alive] {
        if (auto self = alive.lock()) {
            (*self)->bubbleTimer_.reset();
            (*self)->hush();
        }
    });
    notify();
}

void Companion::hush() {
    if (bubbleTimer_) {
        scheduler_.cancel(*bubbleTimer_);
        bubbleTimer_.reset();
    }
    if (!bubble_)
        return;
    bubble_.reset();
    notify();
}

int Companion::observe(std::function<void()> observer) {
    const int id = nextObserverId_++;
    observers_.emplace_back(id, std::move(observer));
    return id;
}

void Companion::unobserve(int id) {
    std::erase_if(observers_, [id](const auto& entry) { return entry.first == id; });
}

void Companion::notify() {
    // A copy, so an observer may unobserve while being called.
    const auto observers = observers_;
    for (const auto& [id, observer] : observers)
        observer();
}

}  // namespace lumenary
