#include "chat/ChatHeader.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>

#include "character/CharacterView.h"
#include "chat/ChatIcons.h"
#include "chat/ChatStyle.h"
#include "chat/SwitchToggle.h"
#include "conversation/ChatPresentation.h"

namespace lumenary {

ChatHeader::ChatHeader(CharacterAnimator& animator, const Store& store, Actions actions,
                       QWidget* parent)
    : QWidget(parent), actions_(std::move(actions)) {
    using ChatStyle::qstr;
    character_ = new CharacterView(animator, store, this);
    character_->setFixedSize(24, 30);

    name_ = new QLabel(this);
    name_->setObjectName("herName");
    name_->setFont(ChatStyle::font(13, QFont::DemiBold));
    name_->setTextFormat(Qt::PlainText);
    // A very long name must not push the buttons out of the window.
    name_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    clear_ = new QPushButton(qstr(ChatPresentation::clearTitle), this);
    clear_->setObjectName("clearButton");
    clear_->setFont(ChatStyle::font(11));
    clear_->setIcon(ChatIcons::trash(12, ChatStyle::secondary(palette(), 1.6)));
    clear_->setToolTip(qstr(ChatPresentation::clearHelp));
    clear_->setFocusPolicy(Qt::TabFocus);
    connect(clear_, &QPushButton::clicked, this, [this] {
        if (actions_.clear)
            actions_.clear();
    });

    herWordsOnly_ = new SwitchToggle(qstr(ChatPresentation::herWordsOnlyTitle), this);
    herWordsOnly_->setObjectName("herWordsOnly");
    herWordsOnly_->setFont(ChatStyle::font(10.5));
    herWordsOnly_->setToolTip(qstr(ChatPresentation::herWordsOnlyHelp));
    connect(herWordsOnly_, &SwitchToggle::toggled, this, [this](bool on) {
        if (actions_.setHerWordsOnly)
            actions_.setHerWordsOnly(on);
    });

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(14, 9, 14, 9);
    row->setSpacing(8);
    row->addWidget(character_);
    row->addWidget(name_, 1);
    row->addWidget(clear_);
    row->addSpacing(4);
    row->addWidget(herWordsOnly_);

    refresh(store);
}

void ChatHeader::refresh(const Store& store) {
    name_->setText(ChatStyle::qstr(store.persona().name));
    clear_->setEnabled(ChatPresentation::canClear(store.transcript()));
    // Showing the stored value is not the user flipping the switch.
    const QSignalBlocker quiet(herWordsOnly_);
    herWordsOnly_->setChecked(store.persona().herWordsOnly);
    character_->update();
}

void ChatHeader::setPortraitVersion(int version) {
    character_->setPortraitVersion(version);
}

}  // namespace lumenary
