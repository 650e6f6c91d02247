#pragma once
// Draws the rows of the conversation: the user's bubbles on the right, hers on the left (green
// with a dated caption when it is one of her real messages), the application's notices centred
// and muted, the typing indicator and the empty state.
//
// Heights are remembered, so a conversation of ten thousand turns is measured once, and only the
// rows on screen are ever laid out for painting.

#include <QHash>
#include <QStyledItemDelegate>
#include <QTextLayout>
#include <memory>

#include "conversation/ChatPresentation.h"

class QAbstractItemView;

namespace lumenary {

class BubbleDelegate : public QStyledItemDelegate {
public:
    /// Bubbles are measured against the width of `view`'s viewport.
    explicit BubbleDelegate(QAbstractItemView* view);

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;

    /// A read-only text field over a bubble's text, so the user can select and copy it.
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget*, QAbstractItemModel*, const QModelIndex&) const override {}
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

    /// Forgets every measurement (the transcript was replaced).
    void forget();

private:
    // A turn's text laid out at its bubble's width, with its size.
    struct Laid {
        std::shared_ptr<QTextLayout> text;
        QSizeF textSize;
        QSizeF captionSize;  // empty without a caption
    };
    // Where the parts of one row go, relative to the row's top left corner.
    struct Geometry {
        QRectF bubble;
        QRectF text;
        QRectF caption;  // the dot and the caption text
        int height = 0;
    };

    // What a turn's height depends on. Keyed by content rather than by turn, since short
    // messages ("ok", "❤️") come back again and again, and colour emoji are slow to measure:
    // Qt 6.4's FreeType engine never reuses the cached advance of a colour glyph (it expects a
    // monochrome one), so every layout decodes the emoji's bitmap again.
    struct Measure {
        QString text;
        int kind;  // a real message has a caption line
        int wrap;  // the width the text wraps at
        friend bool operator==(const Measure&, const Measure&) = default;
        friend size_t qHash(const Measure& m, size_t seed) {
            return qHashMulti(seed, m.text, m.kind, m.wrap);
        }
    };
    struct LaidText {
        int wrap;
        std::shared_ptr<QTextLayout> layout;
    };

    int rowWidth() const;
    int wrapWidth(ChatPresentation::BubbleKind kind) const;
    /// `forPainting` also measures the caption's width, which needs the date formatted.
    Laid laidOut(const QModelIndex& index, bool forPainting) const;
    Geometry geometry(const QModelIndex& index, const Laid& laid) const;

    QAbstractItemView* view_;
    QFont textFont_, captionFont_, noticeFont_, typingFont_, emptyTitleFont_, emptyDetailFont_;
    mutable QHash<Measure, int> heights_;    // every turn's height
    mutable QHash<QString, LaidText> laid_;  // by turn id, the rows last painted
};

}  // namespace lumenary
