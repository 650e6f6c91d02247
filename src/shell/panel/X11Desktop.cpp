#include "panel/X11Desktop.h"

#include <QGuiApplication>
#include <QRegion>
#include <QWindow>
#include <string>
#include <vector>

// Xlib's headers define macros (None, Status, Bool, …) that collide with Qt's and ours, so they
// come after every other header.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/shape.h>

namespace lumenary::X11Desktop {
namespace {

Display* display() {
    auto* x11 = qGuiApp == nullptr ? nullptr
                                   : qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->display() : nullptr;
}

}  // namespace

bool canConnect() {
    Display* dpy = XOpenDisplay(nullptr);
    if (dpy == nullptr)
        return false;
    XCloseDisplay(dpy);
    return true;
}

std::optional<bool> compositing() {
    Display* dpy = display();
    if (dpy == nullptr)
        return std::nullopt;
    const std::string name = "_NET_WM_CM_S" + std::to_string(DefaultScreen(dpy));
    const Atom selection = XInternAtom(dpy, name.c_str(), False);
    return XGetSelectionOwner(dpy, selection) != 0;
}

bool setInputShape(QWindow* window, const QRegion& region) {
    Display* dpy = display();
    int eventBase = 0;
    int errorBase = 0;
    if (dpy == nullptr || window == nullptr || !XShapeQueryExtension(dpy, &eventBase, &errorBase))
        return false;
    const qreal ratio = window->devicePixelRatio();
    std::vector<XRectangle> rectangles;
    for (const QRect& rect : region) {
        rectangles.push_back(XRectangle{static_cast<short>(rect.x() * ratio),
                                        static_cast<short>(rect.y() * ratio),
                                        static_cast<unsigned short>(rect.width() * ratio),
                                        static_cast<unsigned short>(rect.height() * ratio)});
    }
    XShapeCombineRectangles(dpy, static_cast<Window>(window->winId()), ShapeInput, 0, 0,
                            rectangles.data(), static_cast<int>(rectangles.size()), ShapeSet,
                            Unsorted);
    XFlush(dpy);
    return true;
}

void markAsAccessory(QWindow* window) {
    Display* dpy = display();
    if (dpy == nullptr || window == nullptr)
        return;
    const Atom state = XInternAtom(dpy, "_NET_WM_STATE", False);
    const Atom wanted[] = {XInternAtom(dpy, "_NET_WM_STATE_SKIP_TASKBAR", False),
                           XInternAtom(dpy, "_NET_WM_STATE_SKIP_PAGER", False),
                           XInternAtom(dpy, "_NET_WM_STATE_STICKY", False)};
    XChangeProperty(dpy, static_cast<Window>(window->winId()), state, XA_ATOM, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(wanted),
                    static_cast<int>(std::size(wanted)));
    // Every workspace, for window managers that read the desktop number instead of STICKY.
    const long allDesktops = 0xFFFFFFFF;
    XChangeProperty(dpy, static_cast<Window>(window->winId()),
                    XInternAtom(dpy, "_NET_WM_DESKTOP", False), XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(&allDesktops), 1);
    XFlush(dpy);
}

}  // namespace lumenary::X11Desktop
