// The face pass: brows, eyes, nose, cheeks, mouth and the sleep letters, each chosen by the state.
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>

#include "character/DesignPath.h"
#include "character/DrawnCharacter.h"

namespace lumenary {

namespace {

struct FaceShapes {
    // Drawn at rest; listening lifts them by moving the painter.
    QPainterPath eyebrows = DesignPath()
                                .move({43, 45})
                                .quad({54, 45}, {48.5, 42})
                                .move({66, 45})
                                .quad({77, 45}, {71.5, 42});
    QPainterPath closedEyes = DesignPath()
                                  .move({43.5, 57})
                                  .quad({53.5, 57}, {48.5, 61.5})
                                  .move({66.5, 57})
                                  .quad({76.5, 57}, {71.5, 61.5});
    QPainterPath nose = DesignPath().move({60, 61}).quad({58.5, 65.2}, {62.6, 64.2});
    QPainterPath smile = DesignPath().move({53.5, 70.5}).quad({66.5, 70.5}, {60, 76.5});
};

const FaceShapes& shapes() {
    static const FaceShapes built;
    return built;
}

constexpr double listeningBrowLift = 2.4;

// The letter "z" in the bold system font as an outline of font size 1, its layout box (advance
// by ascent plus descent) centred on the origin, so that it can be placed and sized by the
// painter alone. Built at a large pixel size, so the outline does not depend on any screen's
// resolution. Null while there is no QGuiApplication, which fonts need.
const QPainterPath* sleepLetter() {
    if (qGuiApp == nullptr)
        return nullptr;
    static const QPainterPath letter = [] {
        constexpr int buildSize = 100;
        QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setBold(true);
        font.setPixelSize(buildSize);
        const QFontMetricsF metrics(font);
        QPainterPath outline;
        outline.addText(QPointF(-metrics.horizontalAdvance(QLatin1Char('z')) / 2,
                                (metrics.ascent() - metrics.descent()) / 2),
                        font, QStringLiteral("z"));
        return QTransform::fromScale(1.0 / buildSize, 1.0 / buildSize).map(outline);
    }();
    return &letter;
}

void fillEllipse(QPainter& painter, const QRectF& bounds, const QBrush& brush) {
    painter.setBrush(brush);
    painter.drawEllipse(bounds);
}

void drawSleepLetter(QPainter& painter, const QPainterPath& letter, QPointF centre, double size,
                     const QBrush& brush) {
    const QTransform face = painter.worldTransform();
    painter.translate(centre);
    painter.scale(size, size);
    painter.fillPath(letter, brush);
    painter.setWorldTransform(face);
}

}  // namespace

void drawFace(QPainter& painter, const CharacterPaints& paints, CharacterState state) {
    const FaceShapes& shape = shapes();
    painter.setPen(Qt::NoPen);

    if (state == CharacterState::listening) {
        const QTransform face = painter.worldTransform();
        painter.translate(0, -listeningBrowLift);
        painter.strokePath(shape.eyebrows, paints.eyebrows);
        painter.setWorldTransform(face);
    } else {
        painter.strokePath(shape.eyebrows, paints.eyebrows);
    }

    if (state == CharacterState::blink || state == CharacterState::sleeping) {
        painter.strokePath(shape.closedEyes, paints.closedEyes);
    } else {
        fillEllipse(painter, QRectF(43.5, 50, 10, 12), paints.eyes);
        fillEllipse(painter, QRectF(41.8, 51.8, 3.6, 3.6), paints.glints);
        fillEllipse(painter, QRectF(66.5, 50, 10, 12), paints.eyes);
        fillEllipse(painter, QRectF(64.8, 51.8, 3.6, 3.6), paints.glints);
    }

    painter.strokePath(shape.nose, paints.nose);
    fillEllipse(painter, QRectF(33.5, 61.7, 13, 7.6), paints.cheeks);
    fillEllipse(painter, QRectF(73.5, 61.7, 13, 7.6), paints.cheeks);

    if (state == CharacterState::speaking) {
        fillEllipse(painter, QRectF(55, 67.8, 10, 8.4), paints.openMouth);
        fillEllipse(painter, QRectF(57.2, 72.2, 5.6, 3.6), paints.tongue);
    } else {
        painter.strokePath(shape.smile, paints.smile);
    }

    if (state == CharacterState::sleeping) {
        if (const QPainterPath* letter = sleepLetter()) {
            drawSleepLetter(painter, *letter, {94, 27}, 10, paints.sleepLetters);
            drawSleepLetter(painter, *letter, {102, 18}, 7.5, paints.sleepLetters);
        }
    }
}

}  // namespace lumenary
