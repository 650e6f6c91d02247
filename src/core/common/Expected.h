#pragma once
// A value or the error that prevented it, for operations whose failure the user is told about.
// No exception crosses an API that returns one of these.

#include <utility>
#include <variant>

namespace lumenary {

/// Wraps the error of a failed operation so that `Expected<T, E>` can be built from it even when
/// T and E are the same type.
template <typename E>
struct Unexpected {
    E error;
};

template <typename E>
Unexpected<E> unexpected(E error) {
    return Unexpected<E>{std::move(error)};
}

template <typename T, typename E>
class Expected {
public:
    Expected(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Expected(Unexpected<E> failure) : state_(std::in_place_index<1>, std::move(failure.error)) {}

    bool hasValue() const { return state_.index() == 0; }
    explicit operator bool() const { return hasValue(); }

    /// The value; only when hasValue().
    T& value() & { return std::get<0>(state_); }
    const T& value() const& { return std::get<0>(state_); }
    T&& value() && { return std::get<0>(std::move(state_)); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T&& operator*() && { return std::move(*this).value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    /// The error; only when !hasValue().
    const E& error() const { return std::get<1>(state_); }

private:
    std::variant<T, E> state_;
};

}  // namespace lumenary
