#include "chat/ChatWindow.h"

#include <QVBoxLayout>

#include "ConfirmationBox.h"
#include "chat/ChatBanner.h"
#include "chat/ChatComposer.h"
#include "chat/ChatHeader.h"
#include "chat/ChatStyle.h"
#include "chat/ChatThread.h"
#include "conversation/ChatPresentation.h"

namespace lumenary {

using ChatStyle::qstr;

struct ChatWindow::Private {
    Context context;
    ClearConfirmation confirmClear = &ChatWindow::askToClear;

    ChatHeader* header = nullptr;
    ChatBanner* keyBanner = nullptr;
    ChatBanner* errorBanner = nullptr;
    ChatThread* thread = nullptr;
    ChatComposer* composer = nullptr;

    int storeObservation = 0;
    int conversationObservation = 0;

    void showPersona(QWidget& window) {
        const Persona& persona = context.store.persona();
        window.setWindowTitle(qstr(ChatPresentation::windowTitle(persona)));
        header->refresh(context.store);
        composer->setPlaceholder(qstr(ChatPresentation::composerPlaceholder(persona)));
        showEmptyState();
        showBanners();
    }

    void showEmptyState() {
        thread->rows().setEmptyState(ChatPresentation::emptyState(
            context.store.persona(), context.store.index() != nullptr));
    }

    void showTranscript() {
        thread->sync(context.store.transcript());
        header->refresh(context.store);
    }

    void showBanners() {
        const bool anyKey = context.hasKey ? context.hasKey() : false;
        const ChatPresentation::Banners shown = ChatPresentation::banners(
            context.store.persona(), anyKey, context.conversation.lastError());
        if (shown.key) {
            keyBanner->setTexts(qstr(shown.key->title), qstr(shown.key->detail),
                                qstr(shown.key->button));
        }
        if (shown.error) {
            errorBanner->setTexts(qstr(shown.error->title), qstr(shown.error->detail),
                                  qstr(shown.error->button));
        }
        keyBanner->setVisible(shown.key.has_value());
        errorBanner->setVisible(shown.error.has_value());
    }

    void showConversation() {
        thread->setThinking(context.conversation.isThinking());
        showBanners();
    }

    void openSettings() const {
        if (context.openSettings)
            context.openSettings();
    }
};

ChatWindow::ChatWindow(Context context, QWidget* parent)
    : QWidget(parent), d_(new Private{std::move(context)}) {
    setObjectName("chatWindow");
    setMinimumSize(380, 480);
    resize(400, 580);

    Private& d = *d_;
    d.header = new ChatHeader(
        d.context.animator, d.context.store,
        ChatHeader::Actions{
            [this] {
                if (d_->confirmClear && d_->confirmClear(this))
                    d_->context.conversation.clear();
            },
            [this](bool on) { ChatPresentation::setHerWordsOnly(d_->context.store, on); }},
        this);
    d.keyBanner = new ChatBanner(
        ChatBanner::Symbol::key, 0.11, false, [this] { d_->openSettings(); }, this);
    d.keyBanner->setObjectName("keyBanner");
    d.errorBanner = new ChatBanner(
        ChatBanner::Symbol::warning, 0.13, true, [this] { d_->openSettings(); }, this);
    d.errorBanner->setObjectName("errorBanner");
    d.thread = new ChatThread(this);
    d.composer = new ChatComposer(
        [this](const QString& draft) { d_->context.conversation.send(draft.toStdString()); }, this);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(d.header);
    column->addWidget(new ChatStyle::Divider(this));
    column->addWidget(d.keyBanner);
    column->addWidget(d.errorBanner);
    column->addWidget(d.thread, 1);
    column->addWidget(new ChatStyle::Divider(this));
    column->addWidget(d.composer);

    d.showPersona(*this);
    d.showTranscript();
    d.showConversation();
    d.thread->scrollToNewest();

    d.storeObservation = d.context.store.observe([this](Store::Change change) {
        switch (change) {
            case Store::Change::persona:
                d_->showPersona(*this);
                break;
            case Store::Change::index:
                d_->showEmptyState();
                break;
            case Store::Change::transcript:
                d_->showTranscript();
                break;
            case Store::Change::messages:
                break;
        }
    });
    d.conversationObservation = d.context.conversation.observe([this] { d_->showConversation(); });
}

ChatWindow::~ChatWindow() {
    d_->context.store.unobserve(d_->storeObservation);
    d_->context.conversation.unobserve(d_->conversationObservation);
}

void ChatWindow::refreshKeyState() {
    d_->showBanners();
}

void ChatWindow::setPortraitVersion(int version) {
    d_->header->setPortraitVersion(version);
}

void ChatWindow::setClearConfirmation(ClearConfirmation confirm) {
    d_->confirmClear = std::move(confirm);
}

bool ChatWindow::askToClear(QWidget* window) {
    return confirm(window, Confirmations::clearConversation);
}

void ChatWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // A key may have been added while the window was closed.
    d_->showBanners();
    d_->composer->focusDraft();
}

}  // namespace lumenary
