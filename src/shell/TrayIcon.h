#pragma once
// The "❁" in the system tray, with the companion's menu and the tool tip "Lumenary". Stock GNOME
// shows no tray, and at login the tray may come up after the application: while none is there
// it looks again every few seconds for a while, and gives up quietly. The companion panel's
// right-click menu offers the same menu without it.

#include <QMenu>
#include <QSystemTrayIcon>
#include <memory>

#include "common/Scheduler.h"

namespace lumenary {

class TrayIcon {
public:
    /// `menu` and `scheduler` must outlive the icon. Shows the icon at once when a tray is there.
    TrayIcon(QMenu& menu, Scheduler& scheduler);
    ~TrayIcon();
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    /// The icon, once a tray took it; null before.
    QSystemTrayIcon* icon() const { return icon_.get(); }

private:
    void tryToShow(int attemptsLeft);

    QMenu& menu_;
    Scheduler& scheduler_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    std::shared_ptr<TrayIcon*> alive_;  // the retry timers hold this weakly
};

}  // namespace lumenary
