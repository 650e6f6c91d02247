#include "chat/ChatComposer.h"

#include <QAbstractButton>
#include <QAbstractTextDocumentLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QTextBlock>
#include <algorithm>
#include <cmath>

#include "chat/ChatStyle.h"
#include "conversation/ChatPresentation.h"

namespace lumenary {
namespace {

constexpr int kMostLines = 4;

// "arrow.up.circle.fill": a filled circle in the accent colour with an upward arrow cut out.
class SendButton : public QAbstractButton {
public:
    explicit SendButton(QWidget* parent) : QAbstractButton(parent) {
        setCursor(Qt::PointingHandCursor);
        setFocusPolicy(Qt::TabFocus);
        setToolTip("Send");
        setAccessibleName("Send");
    }
    QSize sizeHint() const override {
        // 18 body-text units, so it keeps its proportion to the draft's letters.
        const int side = std::max(20, QFontMetrics(ChatStyle::font(18)).height());
        return {side, side};
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const qreal side = std::min(width(), height()) - 2;
        const QRectF circle((width() - side) / 2, (height() - side) / 2, side, side);
        QColor fill = palette().color(QPalette::Highlight);
        if (!isEnabled())
            fill = ChatStyle::secondary(palette(), 0.6);
        else if (isDown())
            fill = fill.darker(120);
        p.setPen(Qt::NoPen);
        p.setBrush(fill);
        p.drawEllipse(circle);

        const QPointF c = circle.center();
        const qreal s = side / 16;
        QPen arrow(palette().color(QPalette::HighlightedText), 1.7 * s, Qt::SolidLine, Qt::RoundCap,
                   Qt::RoundJoin);
        if (!isEnabled())
            arrow.setColor(palette().color(QPalette::Window));
        p.setPen(arrow);
        p.drawLine(QPointF(c.x(), c.y() + 4 * s), QPointF(c.x(), c.y() - 4 * s));
        p.drawLine(QPointF(c.x() - 3.5 * s, c.y() - 0.5 * s), QPointF(c.x(), c.y() - 4 * s));
        p.drawLine(QPointF(c.x() + 3.5 * s, c.y() - 0.5 * s), QPointF(c.x(), c.y() - 4 * s));
        if (hasFocus()) {
            p.setPen(QPen(palette().color(QPalette::Highlight), 1.2));
            p.setBrush(Qt::NoBrush);
            p.drawEllipse(circle.adjusted(-0.5, -0.5, 0.5, 0.5));
        }
    }
};

}  // namespace

ComposerEdit::ComposerEdit(QWidget* parent) : QTextEdit(parent) {
    setAcceptRichText(false);  // pasted web text arrives as plain text
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    ChatStyle::makeSlim(verticalScrollBar());
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setTabChangesFocus(true);
    document()->setDocumentMargin(2);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
}

int ComposerEdit::wantedHeight() const {
    const QFontMetrics metrics(font());
    const int margin = static_cast<int>(std::ceil(document()->documentMargin())) * 2;
    const int oneLine = metrics.lineSpacing() + margin;
    const int fourLines = metrics.lineSpacing() * kMostLines + margin;
    const int content = static_cast<int>(std::ceil(document()->size().height()));
    return std::clamp(content, oneLine, fourLines) + frameWidth() * 2;
}

QSize ComposerEdit::sizeHint() const {
    return {200, wantedHeight()};
}

QSize ComposerEdit::minimumSizeHint() const {
    return {60, wantedHeight()};
}

void ComposerEdit::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && (event->modifiers() & Qt::ShiftModifier)) {
        // A new paragraph, not the line separator QTextEdit gives Shift+Return by default, so
        // the text reads back with an ordinary line feed.
        textCursor().insertText(QStringLiteral("\n"));
        ensureCursorVisible();
        return;
    }
    if (isReturn &&
        !(event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))) {
        if (onSubmit)
            onSubmit();
        return;
    }
    QTextEdit::keyPressEvent(event);
}

ChatComposer::ChatComposer(std::function<void(const QString&)> submit, QWidget* parent)
    : QWidget(parent), submit_(std::move(submit)) {
    edit_ = new ComposerEdit(this);
    edit_->setObjectName("composer");
    edit_->setFont(ChatStyle::font(13));
    edit_->onSubmit = [this] { this->submit(); };

    send_ = new SendButton(this);
    send_->setObjectName("sendButton");
    connect(send_, &QAbstractButton::clicked, this, [this] { this->submit(); });
    connect(edit_->document(), &QTextDocument::contentsChanged, this, [this] { draftChanged(); });
    // The height follows the laid-out text, which also changes when the window is resized.
    connect(edit_->document()->documentLayout(), &QAbstractTextDocumentLayout::documentSizeChanged,
            this, [this] { fitHeight(); });

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(14, 10, 14, 10);
    row->setSpacing(8);
    row->addWidget(edit_, 1, Qt::AlignVCenter);
    row->addWidget(send_, 0, Qt::AlignBottom);
    draftChanged();
    fitHeight();
}

QString ChatComposer::draft() const {
    return edit_->toPlainText();
}

void ChatComposer::setDraft(const QString& text) {
    edit_->setPlainText(text);
}

void ChatComposer::setPlaceholder(const QString& text) {
    edit_->setPlaceholderText(text);
}

void ChatComposer::focusDraft() {
    edit_->setFocus(Qt::OtherFocusReason);
}

void ChatComposer::submit() {
    const QString taken = edit_->toPlainText();
    edit_->clear();
    if (submit_)
        submit_(taken);
}

void ChatComposer::draftChanged() {
    send_->setEnabled(ChatPresentation::canSend(edit_->toPlainText().toStdString()));
}

void ChatComposer::fitHeight() {
    const int height = edit_->wantedHeight();
    if (edit_->height() != height)
        edit_->setFixedHeight(height);
}

}  // namespace lumenary
