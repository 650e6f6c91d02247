#include "TrayIcon.h"

#include <QCursor>
#include <QFont>
#include <QPainter>
#include <QPixmap>

namespace lumenary {
namespace {

// About half a minute of looking, which covers a tray that starts late in a login session.
constexpr int kAttempts = 10;
constexpr double kSecondsBetweenAttempts = 3;

QIcon florette() {
    QIcon icon;
    for (const int side : {16, 22, 24, 32, 48, 64}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::TextAntialiasing);
        QFont font;
        font.setPixelSize(side);
        painter.setFont(font);
        // A warm middle tone reads on both light and dark panels.
        painter.setPen(QColor(0xD9, 0x82, 0x2B));
        painter.drawText(pixmap.rect(), Qt::AlignCenter, QString::fromUtf8("\u2741"));
        icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace

TrayIcon::TrayIcon(QMenu& menu, Scheduler& scheduler)
    : menu_(menu), scheduler_(scheduler), alive_(std::make_shared<TrayIcon*>(this)) {
    tryToShow(kAttempts);
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::tryToShow(int attemptsLeft) {
    if (QSystemTrayIcon::isSystemTrayAvailable()) {
        icon_ = std::make_unique<QSystemTrayIcon>(florette());
        icon_->setToolTip("Lumenary");
        icon_->setContextMenu(&menu_);
        // A left click opens the same menu, as a status-bar item's does.
        QObject::connect(icon_.get(), &QSystemTrayIcon::activated, &menu_,
                         [this](QSystemTrayIcon::ActivationReason reason) {
                             if (reason == QSystemTrayIcon::Trigger)
                                 menu_.popup(QCursor::pos());
                         });
        icon_->show();
        return;
    }
    if (attemptsLeft <= 1)
        return;
    std::weak_ptr<TrayIcon*> alive = alive_;
    scheduler_.after(kSecondsBetweenAttempts, [alive, attemptsLeft] {
        if (auto self = alive.lock())
            (*self)->tryToShow(attemptsLeft - 1);
    });
}

}  // namespace lumenary
