#pragma once
// The row at the bottom of the chat window: the draft, growing from one line to four, and the send
// button. Return submits, Shift+Return starts a new line. The draft lives here, so it survives the
// window being closed and opened again (the window is hidden, not destroyed).

#include <QTextEdit>
#include <QWidget>
#include <functional>

class QAbstractButton;

namespace lumenary {

class ComposerEdit;

class ChatComposer : public QWidget {
public:
    /// `submit` receives the draft as it was when Return or the button was pressed; the composer
    /// is already empty when it is called.
    explicit ChatComposer(std::function<void(const QString&)> submit, QWidget* parent = nullptr);

    QString draft() const;
    void setDraft(const QString& text);
    void setPlaceholder(const QString& text);
    /// Gives the draft keyboard focus.
    void focusDraft();

private:
    void submit();
    void draftChanged();
    void fitHeight();

    std::function<void(const QString&)> submit_;
    ComposerEdit* edit_;
    QAbstractButton* send_;
};

/// The draft's text field: plain text only, Return submits.
class ComposerEdit : public QTextEdit {
public:
    explicit ComposerEdit(QWidget* parent = nullptr);

    std::function<void()> onSubmit;

    /// The height that shows the draft's lines, held between one line and four.
    int wantedHeight() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace lumenary
