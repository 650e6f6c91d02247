#include "chat/ChatIcons.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <functional>

namespace lumenary::ChatIcons {
namespace {

// Draws on a transparent pixmap sharp at the screen's scale, in a 16-unit design square.
QPixmap drawn(int size, const std::function<void(QPainter&)>& draw) {
    const qreal ratio = qApp != nullptr ? qApp->devicePixelRatio() : 1.0;
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 16.0, size / 16.0);
    draw(painter);
    return pixmap;
}

}  // namespace

QPixmap key(int size, const QColor& color) {
    return drawn(size, [&](QPainter& p) {
        QPen pen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
        p.setPen(pen);
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QPointF(5, 8), 3.3, 3.3);
        p.drawLine(QPointF(8.3, 8), QPointF(14.5, 8));
        p.drawLine(QPointF(12.5, 8), QPointF(12.5, 10.8));
        p.drawLine(QPointF(14.5, 8), QPointF(14.5, 10.2));
    });
}

QPixmap warning(int size, const QColor& color) {
    return drawn(size, [&](QPainter& p) {
        QPainterPath triangle;
        triangle.moveTo(8, 1.6);
        triangle.lineTo(15.2, 14.2);
        triangle.lineTo(0.8, 14.2);
        triangle.closeSubpath();
        p.setPen(QPen(color, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.setBrush(color);
        p.drawPath(triangle);
        p.setPen(QPen(Qt::white, 1.7, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(8, 5.8), QPointF(8, 9.6));
        p.drawPoint(QPointF(8, 12));
    });
}

QIcon trash(int size, const QColor& color) {
    return QIcon(drawn(size, [&](QPainter& p) {
        p.setPen(QPen(color, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.setBrush(Qt::NoBrush);
        p.drawLine(QPointF(2.5, 4), QPointF(13.5, 4));
        p.drawLine(QPointF(6, 4), QPointF(6.5, 2));
        p.drawLine(QPointF(6.5, 2), QPointF(9.5, 2));
        p.drawLine(QPointF(9.5, 2), QPointF(10, 4));
        QPainterPath bin;
        bin.moveTo(3.8, 4);
        bin.lineTo(4.8, 14.2);
        bin.lineTo(11.2, 14.2);
        bin.lineTo(12.2, 4);
        p.drawPath(bin);
        p.drawLine(QPointF(6.7, 6.5), QPointF(6.9, 12));
        p.drawLine(QPointF(9.3, 6.5), QPointF(9.1, 12));
    }));
}

}  // namespace lumenary::ChatIcons
