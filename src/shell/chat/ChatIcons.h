#pragma once
// The few small symbols the chat window needs, drawn rather than taken from an icon theme: a bare
// window manager (or the offscreen platform) has no theme, and these must look the same anywhere.

#include <QColor>
#include <QIcon>
#include <QPixmap>

namespace lumenary::ChatIcons {

/// A key, for the banner shown while no API key is stored. `size` in device-independent pixels.
QPixmap key(int size, const QColor& color);
/// A triangle with an exclamation mark, for the error banner.
QPixmap warning(int size, const QColor& color);
/// A small waste bin, for the "Clear" button.
QIcon trash(int size, const QColor& color);

}  // namespace lumenary::ChatIcons
