#include "chat/BubbleDelegate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QTextEdit>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "chat/ChatStyle.h"
#include "chat/ChatThreadModel.h"

namespace lumenary {
namespace {

using BubbleKind = ChatPresentation::BubbleKind;
using RowKind = ChatThreadModel::RowKind;

constexpr int kSide = 14;        // the thread's padding, left and right
constexpr int kMarginRow = 11;   // the margin rows; with a turn's own 3 that makes 14
constexpr int kRowGap = 6;       // between two rows: 3 below one and 3 above the next
constexpr int kBubbleMax = 300;  // widest bubble
constexpr qreal kPadX = 13;      // inside a bubble
constexpr qreal kPadY = 8;
constexpr qreal kNoticePadX = 12;
constexpr qreal kNoticePadY = 7;
constexpr qreal kCaptionGap = 3;  // between the text and the caption row
constexpr qreal kDot = 5;         // the green dot before "Real message"
constexpr qreal kDotGap = 4;
constexpr qreal kEmptyPadY = 20;
constexpr int kMostLaidOut = 256;  // layouts kept for painting; more than any screen shows

// The rounded shape with the corner a bubble points from drawn tighter.
QPainterPath bubblePath(const QRectF& r, qreal topLeft, qreal topRight, qreal bottomRight,
                        qreal bottomLeft) {
    QPainterPath path;
    path.moveTo(r.left() + topLeft, r.top());
    path.lineTo(r.right() - topRight, r.top());
    path.arcTo(QRectF(r.right() - 2 * topRight, r.top(), 2 * topRight, 2 * topRight), 90, -90);
    path.lineTo(r.right(), r.bottom() - bottomRight);
    path.arcTo(QRectF(r.right() - 2 * bottomRight, r.bottom() - 2 * bottomRight, 2 * bottomRight,
                      2 * bottomRight),
               0, -90);
    path.lineTo(r.left() + bottomLeft, r.bottom());
    path.arcTo(QRectF(r.left(), r.bottom() - 2 * bottomLeft, 2 * bottomLeft, 2 * bottomLeft), 270,
               -90);
    path.lineTo(r.left(), r.top() + topLeft);
    path.arcTo(QRectF(r.left(), r.top(), 2 * topLeft, 2 * topLeft), 180, -90);
    path.closeSubpath();
    return path;
}

QPainterPath shapeOf(BubbleKind kind, const QRectF& r) {
    // Corners shrink with the bubble, so a one-line bubble is still a clean pill.
    const qreal big = std::min<qreal>(14, std::min(r.width(), r.height()) / 2);
    const qreal small = std::min<qreal>(5, big);
    if (kind == BubbleKind::mine)
        return bubblePath(r, big, big, small, big);
    return bubblePath(r, big, big, big, small);
}

// Lays `text` out in lines no wider than `width`, then again at its own widest line, so that
// centred and right-to-left lines sit inside a bubble only as wide as they need.
QSizeF layOut(QTextLayout& layout, qreal width) {
    auto pass = [&](qreal lineWidth) {
        qreal y = 0, widest = 0;
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(lineWidth);
            line.setPosition(QPointF(0, y));
            y += line.height();
            widest = std::max(widest, line.naturalTextWidth());
        }
        layout.endLayout();
        return QSizeF(std::ceil(widest), std::ceil(y));
    };
    const QSizeF size = pass(width);
    if (size.width() < width)
        pass(std::max<qreal>(1, size.width()));
    return size;
}

// Breaking a word that is wider than the line costs Qt a scan to the word's end for every line,
// so a 100 000-letter run takes seconds. Text with such a run is broken anywhere instead; a
// word or a link shorter than this still wraps at its edges.
constexpr int kLongestWrappedWord = 1000;

QTextOption::WrapMode wrapModeFor(const QString& text) {
    int run = 0;
    for (const QChar c : text) {
        run = c.isSpace() ? 0 : run + 1;
        if (run > kLongestWrappedWord)
            return QTextOption::WrapAnywhere;
    }
    return QTextOption::WrapAtWordBoundaryOrAnywhere;
}

std::shared_ptr<QTextLayout> textLayout(QString text, const QFont& font, Qt::Alignment align) {
    // QTextLayout breaks lines only at the Unicode line separator.
    text.replace(QLatin1String("\r\n"), QString(QChar::LineSeparator));
    text.replace(QLatin1Char('\n'), QChar::LineSeparator);
    text.replace(QLatin1Char('\r'), QChar::LineSeparator);
    auto layout = std::make_shared<QTextLayout>(text, font);
    QTextOption option;
    option.setWrapMode(wrapModeFor(text));
    option.setAlignment(align);
    option.setTextDirection(Qt::LayoutDirectionAuto);  // Arabic or Hebrew reads from the right
    layout->setTextOption(option);
    layout->setCacheEnabled(true);
    return layout;
}

int wrappedHeight(const QFont& font, const QString& text, int width) {
    return QFontMetrics(font)
        .boundingRect(QRect(0, 0, std::max(1, width), 1 << 20), Qt::TextWordWrap, text)
        .height();
}

// The read-only field laid over a bubble's text while the pointer is on it. It lets the wheel
// through to the conversation, which it covers.
class BubbleText : public QTextEdit {
public:
    BubbleText(QWidget* parent, QWidget* scrolls) : QTextEdit(parent), scrolls_(scrolls) {
        setReadOnly(true);
        setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        setFrameShape(QFrame::NoFrame);
        setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setContextMenuPolicy(Qt::DefaultContextMenu);
        document()->setDocumentMargin(0);
        viewport()->setAutoFillBackground(false);
        setAutoFillBackground(false);
        viewport()->setCursor(Qt::IBeamCursor);
    }

protected:
    void wheelEvent(QWheelEvent* event) override {
        QWheelEvent forwarded(scrolls_->mapFromGlobal(event->globalPosition()),
                              event->globalPosition(), event->pixelDelta(), event->angleDelta(),
                              event->buttons(), event->modifiers(), event->phase(),
                              event->inverted(), event->source(), event->pointingDevice());
        QCoreApplication::sendEvent(scrolls_, &forwarded);
        event->accept();
    }

private:
    QWidget* scrolls_;
};

}  // namespace

BubbleDelegate::BubbleDelegate(QAbstractItemView* view)
    : QStyledItemDelegate(view),
      view_(view),
      textFont_(ChatStyle::font(13)),
      captionFont_(ChatStyle::font(9.5)),
      noticeFont_(ChatStyle::font(11)),
      typingFont_(ChatStyle::font(15)),
      emptyTitleFont_(ChatStyle::font(15)),
      emptyDetailFont_(ChatStyle::font(11.5)) {}

int BubbleDelegate::rowWidth() const {
    return view_->viewport()->width();
}

int BubbleDelegate::wrapWidth(ChatPresentation::BubbleKind kind) const {
    const int content = std::max(0, rowWidth() - 2 * kSide);
    if (kind == BubbleKind::notice)
        return std::max(20, content - 2 * static_cast<int>(kNoticePadX));
    return std::max(20, std::min(kBubbleMax, content) - 2 * static_cast<int>(kPadX));
}

void BubbleDelegate::forget() {
    heights_.clear();
    laid_.clear();
}

BubbleDelegate::Laid BubbleDelegate::laidOut(const QModelIndex& index, bool forPainting) const {
    const auto kind = static_cast<BubbleKind>(index.data(ChatThreadModel::BubbleKindRole).toInt());
    const int wrap = wrapWidth(kind);
    const QString id = index.data(ChatThreadModel::IdRole).toString();
    Laid laid;
    const auto cached = laid_.constFind(id);
    if (cached != laid_.constEnd() && cached->wrap == wrap) {
        laid.text = cached->layout;
    } else {
        const bool notice = kind == BubbleKind::notice;
        laid.text = textLayout(index.data().toString(), notice ? noticeFont_ : textFont_,
                               notice ? Qt::AlignHCenter : Qt::AlignLeading);
        layOut(*laid.text, wrap);
        if (laid_.size() >= kMostLaidOut)
            laid_.clear();
        laid_.insert(id, LaidText{wrap, laid.text});
    }
    qreal widest = 0;
    for (int i = 0; i < laid.text->lineCount(); ++i)
        widest = std::max(widest, laid.text->lineAt(i).naturalTextWidth());
    laid.textSize = QSizeF(std::ceil(widest), std::ceil(laid.text->boundingRect().height()));

    if (kind == BubbleKind::herReal) {
        const QFontMetricsF metrics(captionFont_);
        // Rounded up and given a pixel to spare, so that the date is never shortened for want of
        // a fraction of a pixel when it is drawn.
        const qreal width = forPainting
                                ? std::ceil(metrics.horizontalAdvance(
                                      index.data(ChatThreadModel::CaptionRole).toString())) +
                                      1
                                : 1;
        laid.captionSize = QSizeF(kDot + kDotGap + width, metrics.height());
    }
    return laid;
}

BubbleDelegate::Geometry BubbleDelegate::geometry(const QModelIndex& index,
                                                  const Laid& laid) const {
    const auto kind = static_cast<BubbleKind>(index.data(ChatThreadModel::BubbleKindRole).toInt());
    const int width = rowWidth();
    const qreal content = std::max(0, width - 2 * kSide);
    const qreal top = kRowGap / 2;
    Geometry g;
    if (kind == BubbleKind::notice) {
        const QSizeF text = laid.textSize;
        g.bubble = QRectF(kSide, top, content, text.height() + 2 * kNoticePadY);
        g.text = QRectF(kSide + (content - text.width()) / 2, top + kNoticePadY, text.width(),
                        text.height());
    } else {
        const qreal inner = std::max(laid.textSize.width(), laid.captionSize.width());
        const qreal captionHeight =
            laid.captionSize.isEmpty() ? 0 : kCaptionGap + laid.captionSize.height();
        const qreal bubbleWidth =
            std::min<qreal>(inner + 2 * kPadX, std::min<qreal>(kBubbleMax, content));
        const qreal left = kind == BubbleKind::mine ? width - kSide - bubbleWidth : kSide;
        g.bubble =
            QRectF(left, top, bubbleWidth, laid.textSize.height() + captionHeight + 2 * kPadY);
        g.text = QRectF(left + kPadX, top + kPadY, laid.textSize.width(), laid.textSize.height());
        if (!laid.captionSize.isEmpty()) {
            g.caption = QRectF(left + kPadX, g.text.bottom() + kCaptionGap,
                               laid.captionSize.width(), laid.captionSize.height());
        }
    }
    g.height = static_cast<int>(std::ceil(g.bubble.bottom())) + kRowGap / 2;
    return g;
}

QSize BubbleDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const {
    const int width = rowWidth();
    const int content = std::max(0, width - 2 * kSide);
    switch (static_cast<RowKind>(index.data(ChatThreadModel::RowKindRole).toInt())) {
        case RowKind::margin:
            return {width, kMarginRow};
        case RowKind::typing:
            return {width, QFontMetrics(typingFont_).height() + 2 * 7 + kRowGap};
        case RowKind::empty: {
            const int title = wrappedHeight(emptyTitleFont_, index.data().toString(), content);
            const int detail = wrappedHeight(
                emptyDetailFont_, index.data(ChatThreadModel::DetailRole).toString(), content);
            return {width, static_cast<int>(2 * kEmptyPadY) + title + 4 + detail};
        }
        case RowKind::turn:
            break;
    }
    // A bubble's height depends only on the width its text wraps at, which stays the same while
    // the window is wider than the widest bubble; only notices span the window.
    const int kind = index.data(ChatThreadModel::BubbleKindRole).toInt();
    const Measure measure{index.data().toString(), kind, wrapWidth(static_cast<BubbleKind>(kind))};
    const auto known = heights_.constFind(measure);
    if (known != heights_.constEnd())
        return {width, *known};
    const int height = geometry(index, laidOut(index, false)).height;
    heights_.insert(measure, height);
    return {width, height};
}

void BubbleDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const {
    // The view's own colours: margins, the indicator and the empty state are not enabled items,
    // and the option's palette would grey them out.
    const QPalette& palette = view_->palette();
    const int content = std::max(0, rowWidth() - 2 * kSide);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(option.rect.topLeft());

    switch (static_cast<RowKind>(index.data(ChatThreadModel::RowKindRole).toInt())) {
        case RowKind::margin:
            break;
        case RowKind::typing: {
            const QFontMetrics metrics(typingFont_);
            const QString dots = index.data().toString();
            const QRectF bubble(kSide, kRowGap / 2, metrics.horizontalAdvance(dots) + 2 * kPadX,
                                metrics.height() + 2 * 7);
            painter->setPen(Qt::NoPen);
            painter->setBrush(ChatStyle::orange(0.1));
            painter->drawPath(shapeOf(BubbleKind::hers, bubble));
            painter->setFont(typingFont_);
            painter->setPen(ChatStyle::secondary(palette));
            painter->drawText(bubble, Qt::AlignCenter, dots);
            break;
        }
        case RowKind::empty: {
            const int title = wrappedHeight(emptyTitleFont_, index.data().toString(), content);
            painter->setFont(emptyTitleFont_);
            painter->setPen(palette.color(QPalette::WindowText));
            painter->drawText(QRectF(kSide, kEmptyPadY, content, title), Qt::TextWordWrap,
                              index.data().toString());
            painter->setFont(emptyDetailFont_);
            painter->setPen(ChatStyle::secondary(palette, 1.3));
            painter->drawText(QRectF(kSide, kEmptyPadY + title + 4, content, 1 << 20),
                              Qt::TextWordWrap, index.data(ChatThreadModel::DetailRole).toString());
            break;
        }
        case RowKind::turn: {
            const auto kind =
                static_cast<BubbleKind>(index.data(ChatThreadModel::BubbleKindRole).toInt());
            const Laid laid = laidOut(index, true);
            const Geometry g = geometry(index, laid);
            if (kind == BubbleKind::mine) {
                painter->setPen(Qt::NoPen);
                painter->setBrush(ChatStyle::secondary(palette, 0.2));
                painter->drawPath(shapeOf(kind, g.bubble));
            } else if (kind == BubbleKind::hers) {
                painter->setPen(Qt::NoPen);
                painter->setBrush(ChatStyle::orange(0.13));
                painter->drawPath(shapeOf(kind, g.bubble));
            } else if (kind == BubbleKind::herReal) {
                painter->setBrush(ChatStyle::green(0.13));
                painter->setPen(QPen(ChatStyle::green(0.35), 1));
                // The border is drawn inside the bubble's shape.
                painter->drawPath(shapeOf(kind, g.bubble.adjusted(0.5, 0.5, -0.5, -0.5)));
            }

            // Only the lines inside the viewport are drawn: a 100 000-character message is
            // thousands of lines tall.
            const QRectF visible =
                QRectF(view_->viewport()->rect()).translated(-QPointF(option.rect.topLeft()));
            const bool covered = view_->isPersistentEditorOpen(index);
            if (!covered) {
                painter->setPen(kind == BubbleKind::notice ? ChatStyle::secondary(palette, 1.3)
                                                           : palette.color(QPalette::WindowText));
                laid.text->draw(painter, g.text.topLeft(), {}, visible);
            }
            if (!g.caption.isEmpty()) {
                const QFontMetricsF metrics(captionFont_);
                const qreal dotY = g.caption.top() + (metrics.height() - kDot) / 2;
                painter->setPen(Qt::NoPen);
                painter->setBrush(ChatStyle::green());
                painter->drawEllipse(QRectF(g.caption.left(), dotY, kDot, kDot));
                painter->setFont(captionFont_);
                painter->setPen(ChatStyle::secondary(palette, 1.3));
                // A long localised date in a narrow window is shortened rather than drawn past
                // the bubble's edge.
                const QRectF room(g.caption.left() + kDot + kDotGap, g.caption.top(),
                                  g.bubble.right() - kPadX - g.caption.left() - kDot - kDotGap,
                                  g.caption.height());
                const QString caption =
                    QFontMetricsF(captionFont_)
                        .elidedText(index.data(ChatThreadModel::CaptionRole).toString(),
                                    Qt::ElideRight, room.width());
                painter->drawText(room, Qt::AlignLeft | Qt::AlignVCenter, caption);
            }
            break;
        }
    }
    painter->restore();
}

QWidget* BubbleDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                      const QModelIndex& index) const {
    const auto kind = static_cast<BubbleKind>(index.data(ChatThreadModel::BubbleKindRole).toInt());
    auto* editor = new BubbleText(parent, view_->viewport());
    editor->setFont(kind == BubbleKind::notice ? noticeFont_ : textFont_);
    QPalette palette = editor->palette();
    palette.setColor(QPalette::Text, kind == BubbleKind::notice
                                         ? ChatStyle::secondary(view_->palette(), 1.3)
                                         : view_->palette().color(QPalette::WindowText));
    palette.setColor(QPalette::Base, Qt::transparent);
    editor->setPalette(palette);
    return editor;
}

void BubbleDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    auto* text = static_cast<QTextEdit*>(editor);
    const auto kind = static_cast<BubbleKind>(index.data(ChatThreadModel::BubbleKindRole).toInt());
    // QTextEdit imposes its own wrap mode on the document, so it is told the same one.
    text->setWordWrapMode(wrapModeFor(index.data().toString()));
    QTextOption option = text->document()->defaultTextOption();
    option.setWrapMode(text->wordWrapMode());
    option.setAlignment(kind == BubbleKind::notice ? Qt::AlignHCenter : Qt::AlignLeading);
    option.setTextDirection(Qt::LayoutDirectionAuto);
    text->document()->setDefaultTextOption(option);
    text->setPlainText(index.data().toString());
}

void BubbleDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                          const QModelIndex& index) const {
    const Geometry g = geometry(index, laidOut(index, true));
    // One pixel of slack on the right keeps the field from wrapping a line the bubble did not.
    editor->setGeometry(
        g.text.translated(option.rect.topLeft()).toAlignedRect().adjusted(0, 0, 1, 0));
}

}  // namespace lumenary
