#pragma once
// What the companion panel needs from an X11 desktop that Qt does not offer: whether a compositor
// draws translucent windows, clicks that fall through part of a window without cutting its
// picture, and keeping a window out of taskbars and on every workspace. Away from X11 (the
// offscreen platform of the tests and previews, a native Wayland session) every call does
// nothing and answers nothing. GUI thread only.

#include <optional>

class QRegion;
class QWindow;

namespace lumenary::X11Desktop {

/// Whether an X server answers at $DISPLAY. Needs no QGuiApplication; call it before making
/// one, since Qt aborts when its X server does not answer.
bool canConnect();

/// Whether a compositing manager runs on the default screen, which is when it owns the
/// _NET_WM_CM_S<screen> selection; nothing when the application is not on X11.
std::optional<bool> compositing();

/// Limits where `window` takes the mouse to `region` (in the window's logical pixels) with the
/// X Shape extension's input shape; the drawn picture is left whole, unlike QWindow::setMask,
/// which sets the bounding shape and so clips drawing too. False when not on X11 or the server
/// lacks the extension.
bool setInputShape(QWindow* window, const QRegion& region);

/// Marks `window`, created but not yet shown, as one that taskbars and pagers leave out and that
/// stays on every workspace. Qt keeps these states when it adds its own at show().
void markAsAccessory(QWindow* window);

}  // namespace lumenary::X11Desktop
