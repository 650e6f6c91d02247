#pragma once
// The conversation as rows for a list view: a margin row at each end, then either the empty
// state or one row per transcript turn, then the typing indicator while she is "typing".
//
// Keeps its own copy of the turns, so a view that paints between a store change and the next
// sync() never reads past the end of the store's transcript.

#include <QAbstractListModel>
#include <optional>
#include <vector>

#include "conversation/ChatPresentation.h"
#include "store/Store.h"

namespace lumenary {

class ChatThreadModel : public QAbstractListModel {
public:
    enum class RowKind { margin, empty, turn, typing };

    enum Role {
        RowKindRole = Qt::UserRole + 1,  // RowKind as int
        BubbleKindRole,                  // ChatPresentation::BubbleKind as int, turn rows only
        CaptionRole,                     // "Real message · …" for her real messages
        DetailRole,                      // the empty state's second line
        IdRole,                          // the turn's id, for caches that outlive row numbers
    };

    explicit ChatThreadModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// Brings the rows in line with `transcript`: turns added at the end become new rows, any
    /// other change rebuilds them all.
    void sync(const std::vector<Store::Turn>& transcript);
    void setThinking(bool thinking);
    void setEmptyState(const ChatPresentation::EmptyState& state);

    std::size_t turnCount() const { return turns_.size(); }
    bool isThinking() const { return thinking_; }
    /// The row of turn `i`.
    int rowOfTurn(std::size_t i) const { return static_cast<int>(i) + 1; }

private:
    struct Turn {
        Store::Turn turn;
        QString text;
        QString id;
        ChatPresentation::BubbleKind kind;
        // Formatting a date is slow next to painting; done once, the first time it is shown.
        mutable std::optional<QString> caption;
    };
    static Turn rowFor(const Store::Turn& turn);
    RowKind kindOfRow(int row) const;
    const Turn* turnAt(int row) const;
    int typingRow() const;

    std::vector<Turn> turns_;
    bool thinking_ = false;
    ChatPresentation::EmptyState empty_;
};

}  // namespace lumenary
