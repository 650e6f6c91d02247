// Placeholder until the chat window lands.
#include "chat/ChatWindow.h"

namespace lumenary {

struct ChatWindow::Private {};

ChatWindow::ChatWindow(Context, QWidget* parent) : QWidget(parent), d_(new Private) {
    setWindowTitle("Lumenary");
}

ChatWindow::~ChatWindow() = default;

void ChatWindow::refreshKeyState() {}

void ChatWindow::setPortraitVersion(int) {}

}  // namespace lumenary
