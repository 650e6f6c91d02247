#include "chat/ChatBanner.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include "chat/ChatIcons.h"
#include "chat/ChatStyle.h"

namespace lumenary {

ChatBanner::ChatBanner(Symbol symbol, double groundOpacity, bool selectableDetail,
                       std::function<void()> onButton, QWidget* parent)
    : QWidget(parent), groundOpacity_(groundOpacity) {
    auto* icon = new QLabel(this);
    const QColor tint = ChatStyle::orange();
    icon->setPixmap(symbol == Symbol::key ? ChatIcons::key(16, tint)
                                          : ChatIcons::warning(15, tint));
    icon->setAlignment(Qt::AlignTop | Qt::AlignHCenter);
    icon->setFixedWidth(18);

    title_ = new QLabel(this);
    title_->setObjectName("bannerTitle");
    title_->setFont(ChatStyle::font(11.5, QFont::Medium));
    title_->setTextFormat(Qt::PlainText);
    title_->setWordWrap(true);
    // A long name or an unbroken run in an error (a URL) wraps or clips; it never widens the
    // window.
    title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    detail_ = new QLabel(this);
    detail_->setObjectName("bannerDetail");
    detail_->setFont(ChatStyle::font(10.5));
    detail_->setTextFormat(Qt::PlainText);
    detail_->setWordWrap(true);
    detail_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QPalette muted = detail_->palette();
    muted.setColor(QPalette::WindowText, ChatStyle::secondary(palette(), 1.35));
    detail_->setPalette(muted);
    if (selectableDetail) {
        detail_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        detail_->setCursor(Qt::IBeamCursor);
    }

    button_ = new QPushButton(this);
    button_->setObjectName("bannerButton");
    button_->setFont(ChatStyle::font(11));
    button_->setFocusPolicy(Qt::TabFocus);
    connect(button_, &QPushButton::clicked, this, [onButton = std::move(onButton)] {
        if (onButton)
            onButton();
    });

    auto* texts = new QVBoxLayout;
    texts->setSpacing(1);
    texts->addWidget(title_);
    texts->addWidget(detail_);

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(13, 8, 13, 8);
    row->setSpacing(9);
    row->addWidget(icon, 0, Qt::AlignTop);
    row->addLayout(texts, 1);
    row->addWidget(button_, 0, symbol == Symbol::warning ? Qt::AlignTop : Qt::AlignVCenter);
}

void ChatBanner::setTexts(const QString& title, const QString& detail, const QString& button) {
    title_->setText(title);
    detail_->setText(detail);
    button_->setText(button);
}

QString ChatBanner::title() const {
    return title_->text();
}

QString ChatBanner::detail() const {
    return detail_->text();
}

void ChatBanner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), ChatStyle::orange(groundOpacity_));
}

}  // namespace lumenary
