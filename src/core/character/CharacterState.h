#pragma once
// The five faces the character can show. The drawing reads them: blink and sleeping close the
// eyes, speaking opens the mouth, listening raises the eyebrows, sleeping adds floating letters,
// idle is the resting face.

#include <array>
#include <string_view>

namespace lumenary {

/// Declared in the order the previews list them.
enum class CharacterState { idle, blink, speaking, listening, sleeping };

inline constexpr std::array<CharacterState, 5> allCharacterStates = {
    CharacterState::idle, CharacterState::blink, CharacterState::speaking,
    CharacterState::listening, CharacterState::sleeping};

/// "Idle", "Blink", "Speaking", "Listening" or "Sleeping", as the previews label them.
constexpr std::string_view displayName(CharacterState state) {
    switch (state) {
        case CharacterState::idle:
            return "Idle";
        case CharacterState::blink:
            return "Blink";
        case CharacterState::speaking:
            return "Speaking";
        case CharacterState::listening:
            return "Listening";
        case CharacterState::sleeping:
            return "Sleeping";
    }
    return "Idle";
}

}  // namespace lumenary
