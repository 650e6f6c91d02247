#pragma once
// The chat window's top row: her small character and name, "Clear" and the "Her words only"
// switch. Shows what it is told; the window decides what the buttons do.

#include <QWidget>
#include <functional>

#include "character/CharacterAnimator.h"
#include "store/Store.h"

class QLabel;
class QPushButton;

namespace lumenary {

class CharacterView;
class SwitchToggle;

class ChatHeader : public QWidget {
public:
    struct Actions {
        std::function<void()> clear;                // "Clear" was pressed
        std::function<void(bool)> setHerWordsOnly;  // the user flipped the switch
    };

    /// `animator` and `store` must outlive the header.
    ChatHeader(CharacterAnimator& animator, const Store& store, Actions actions,
               QWidget* parent = nullptr);

    /// Reads the name, the switch and whether there is anything to clear from the store.
    void refresh(const Store& store);
    /// The small character reads its images again.
    void setPortraitVersion(int version);

private:
    Actions actions_;
    CharacterView* character_;
    QLabel* name_;
    QPushButton* clear_;
    SwitchToggle* herWordsOnly_;
};

}  // namespace lumenary
