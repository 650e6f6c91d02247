#pragma once
// One strip above the conversation on a faint orange ground: a symbol, a title and a line of
// detail, and a button. The key banner and the error banner are two of these.

#include <QWidget>
#include <functional>

class QLabel;
class QPushButton;

namespace lumenary {

class ChatBanner : public QWidget {
public:
    enum class Symbol { key, warning };

    /// `selectableDetail` lets the user select and copy the detail (an error's text).
    ChatBanner(Symbol symbol, double groundOpacity, bool selectableDetail,
               std::function<void()> onButton, QWidget* parent = nullptr);

    void setTexts(const QString& title, const QString& detail, const QString& button);

    QString title() const;
    QString detail() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    double groundOpacity_;
    QLabel* title_;
    QLabel* detail_;
    QPushButton* button_;
};

}  // namespace lumenary
