#include "chat/ChatThreadModel.h"

#include "chat/ChatStyle.h"

namespace lumenary {

ChatThreadModel::ChatThreadModel(QObject* parent) : QAbstractListModel(parent) {}

int ChatThreadModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid())
        return 0;
    const int body = turns_.empty() ? 1 : static_cast<int>(turns_.size());
    return 2 + body + (thinking_ ? 1 : 0);
}

ChatThreadModel::RowKind ChatThreadModel::kindOfRow(int row) const {
    if (row <= 0 || row >= rowCount() - 1)
        return RowKind::margin;
    if (thinking_ && row == typingRow())
        return RowKind::typing;
    return turns_.empty() ? RowKind::empty : RowKind::turn;
}

const ChatThreadModel::Turn* ChatThreadModel::turnAt(int row) const {
    if (kindOfRow(row) != RowKind::turn)
        return nullptr;
    return &turns_[static_cast<std::size_t>(row - 1)];
}

int ChatThreadModel::typingRow() const {
    return 1 + (turns_.empty() ? 1 : static_cast<int>(turns_.size()));
}

QVariant ChatThreadModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const RowKind kind = kindOfRow(index.row());
    if (role == RowKindRole)
        return static_cast<int>(kind);

    switch (kind) {
        case RowKind::margin:
            return {};
        case RowKind::empty:
            if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
                return ChatStyle::qstr(empty_.title);
            if (role == DetailRole)
                return ChatStyle::qstr(empty_.detail);
            return {};
        case RowKind::typing:
            if (role == Qt::DisplayRole)
                return ChatStyle::qstr(ChatPresentation::typingIndicator);
            return {};
        case RowKind::turn:
            break;
    }

    const Turn& row = *turnAt(index.row());
    switch (role) {
        case Qt::DisplayRole:
            return row.text;
        case BubbleKindRole:
            return static_cast<int>(row.kind);
        case IdRole:
            return row.id;
        case CaptionRole: {
            if (!row.caption) {
                const auto caption = ChatPresentation::realMessageCaption(row.turn);
                row.caption = caption ? ChatStyle::qstr(*caption) : QString();
            }
            return row.caption->isEmpty() ? QVariant() : QVariant(*row.caption);
        }
        case Qt::AccessibleTextRole: {
            const QVariant caption = data(index, CaptionRole);
            return caption.isValid() ? row.text + "\n" + caption.toString() : row.text;
        }
        default:
            return {};
    }
}

Qt::ItemFlags ChatThreadModel::flags(const QModelIndex& index) const {
    // Only turns take part in the view's hover and editing; margins and the indicator are inert.
    if (kindOfRow(index.row()) == RowKind::turn)
        return Qt::ItemIsEnabled | Qt::ItemIsEditable;
    return Qt::NoItemFlags;
}

ChatThreadModel::Turn ChatThreadModel::rowFor(const Store::Turn& turn) {
    return Turn{turn, ChatStyle::qstr(turn.text), ChatStyle::qstr(turn.id.text()),
                ChatPresentation::bubbleKind(turn), std::nullopt};
}

void ChatThreadModel::sync(const std::vector<Store::Turn>& transcript) {
    const std::size_t known = turns_.size();
    bool appended = known > 0 && transcript.size() > known;
    for (std::size_t i = 0; appended && i < known; ++i) {
        const Store::Turn& was = turns_[i].turn;
        const Store::Turn& is = transcript[i];
        appended = was.id == is.id && was.speaker == is.speaker && was.realDate == is.realDate;
    }
    if (appended) {
        const int first = rowOfTurn(known);
        beginInsertRows({}, first, first + static_cast<int>(transcript.size() - known) - 1);
        for (std::size_t i = known; i < transcript.size(); ++i)
            turns_.push_back(rowFor(transcript[i]));
        endInsertRows();
        return;
    }
    if (known == 0 && transcript.empty())
        return;
    beginResetModel();
    turns_.clear();
    turns_.reserve(transcript.size());
    for (const Store::Turn& turn : transcript)
        turns_.push_back(rowFor(turn));
    endResetModel();
}

void ChatThreadModel::setThinking(bool thinking) {
    if (thinking == thinking_)
        return;
    const int row = typingRow();
    if (thinking) {
        beginInsertRows({}, row, row);
        thinking_ = true;
        endInsertRows();
    } else {
        beginRemoveRows({}, row, row);
        thinking_ = false;
        endRemoveRows();
    }
}

void ChatThreadModel::setEmptyState(const ChatPresentation::EmptyState& state) {
    if (state.title == empty_.title && state.detail == empty_.detail)
        return;
    empty_ = state;
    if (turns_.empty()) {
        // The row's height depends on the texts, so the view lays it out again.
        beginResetModel();
        endResetModel();
    }
}

}  // namespace lumenary
