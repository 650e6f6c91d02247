// The palette becomes pens and brushes once; a frame then only fits the design space into the
// area, lays the floor shadow and runs the two passes.
#include "character/DrawnCharacter.h"

#include <QLinearGradient>
#include <QPainter>
#include <QRadialGradient>
#include <algorithm>
#include <cmath>

namespace lumenary {

namespace {

QColor colour(const std::string& text, double opacity = 1) {
    const ColourBytes bytes = parseColour(text);
    QColor result(static_cast<int>(bytes.red), static_cast<int>(bytes.green),
                  static_cast<int>(bytes.blue));
    result.setAlphaF(static_cast<float>(opacity));
    return result;
}

QColor shaded(const std::string& text, double factor) {
    return colour(CharacterPalette::shade(text, factor));
}

// Every stroke of the character has a round cap and, unless it says otherwise, a mitred join
// with a limit of 10 (Qt's default limit is 2, which would bevel the drape's curve).
QPen stroke(const QBrush& brush, double width, Qt::PenJoinStyle join = Qt::MiterJoin) {
    QPen pen(brush, width, Qt::SolidLine, Qt::RoundCap, join);
    pen.setMiterLimit(10);
    return pen;
}

const QColor eyeColour(0x2A, 0x22, 0x30);

}  // namespace

CharacterPaints::CharacterPaints(const CharacterPalette& palette)
    : longHair(palette.traits.longHair),
      beard(palette.traits.beard),
      wearsSari(palette.traits.wearsSari),
      showBindi(palette.showBindi) {
    const FaceTraits& traits = palette.traits;
    const QColor hair = colour(traits.hair);

    backHair = hair;
    QLinearGradient torsoGradient(28, 85, 56, 152);
    torsoGradient.setColorAt(0, colour(traits.garmentPrimary));
    torsoGradient.setColorAt(1, shaded(traits.garmentPrimary, 0.78));
    torso = torsoGradient;
    sariBorder = stroke(colour(palette.gold, 0.85), 3);
    sariDots = colour("#FFFFFF", 0.45);
    neckline = shaded(traits.garmentSecondary, 0.94);
    QLinearGradient drapeGradient(71, 84, 83, 140);
    drapeGradient.setColorAt(0, colour(traits.garmentSecondary));
    drapeGradient.setColorAt(1, shaded(traits.garmentSecondary, 0.82));
    drape = stroke(drapeGradient, 12, Qt::RoundJoin);
    drapeHighlight = stroke(colour("#FFDCA6", 0.55), 2.8);
    placket = colour(traits.garmentSecondary);
    arms = stroke(colour("#BE8358"), 8.5);
    bangles = stroke(colour(palette.gold), 4);
    bangleGlints = stroke(colour("#FFD98A", 0.9), 1.8);
    hands = colour("#DDAA7E");
    handsLine = stroke(colour("#B37F53", 0.55), 1);
    neck = shaded(traits.skin, 0.78);
    // The skin holds its colour out to radius 2 around the light spot, then darkens to the rim.
    QRadialGradient headGradient(53, 41, 46);
    headGradient.setColorAt(2.0 / 46.0, colour(traits.skin));
    headGradient.setColorAt(1, colour(traits.skinShade));
    head = headGradient;
    ears = colour("#BB7F54");
    gold = colour(palette.gold);
    frontHair = hair;
    beardFill = colour(traits.hair, 0.92);
    bindi = colour(palette.bindi);

    eyebrows = stroke(colour(traits.hair, 0.9), 2.2);
    closedEyes = stroke(eyeColour, 2.4);
    eyes = eyeColour;
    glints = QColor(Qt::white);
    nose = stroke(shaded(traits.skin, 0.78), 1.8);
    cheeks = colour("#E8788A", 0.34);
    openMouth = colour(palette.mouth);
    tongue = colour("#C4697A");
    smile = stroke(colour(palette.mouth), 2.4);
    sleepLetters = colour("#8F869E");
}

void DrawnCharacter::paint(QPainter& painter, const QRectF& area) const {
    paintCharacter(painter, area, palette, state, breath);
}

void paintCharacter(QPainter& painter, const QRectF& area, const CharacterPalette& palette,
                    CharacterState state, double breath) {
    paintCharacter(painter, area, CharacterPaints(palette), state, breath);
}

namespace {

// Puts the design space fitted and centred in `area` on the painter; false when `area` is empty
// or not finite, leaving the painter untouched.
bool enterDesignSpace(QPainter& painter, const QRectF& area) {
    const double w = area.width();
    const double h = area.height();
    if (!std::isfinite(w) || !std::isfinite(h) || !std::isfinite(area.x()) ||
        !std::isfinite(area.y()) || w <= 0 || h <= 0)
        return false;
    const double s =
        std::min(w / DrawnCharacter::designSize.width(), h / DrawnCharacter::designSize.height());
    painter.translate(area.x() + (w - DrawnCharacter::designSize.width() * s) / 2,
                      area.y() + (h - DrawnCharacter::designSize.height() * s) / 2);
    painter.scale(s, s);
    return true;
}

// Saves only what the passes change, which is cheaper than QPainter::save() on every frame.
class PainterKeeper {
public:
    explicit PainterKeeper(QPainter& painter)
        : painter_(painter),
          transform_(painter.worldTransform()),
          pen_(painter.pen()),
          brush_(painter.brush()) {}
    ~PainterKeeper() {
        painter_.setWorldTransform(transform_);
        painter_.setPen(pen_);
        painter_.setBrush(brush_);
    }
    PainterKeeper(const PainterKeeper&) = delete;
    PainterKeeper& operator=(const PainterKeeper&) = delete;

private:
    QPainter& painter_;
    QTransform transform_;
    QPen pen_;
    QBrush brush_;
};

void drawFloorShadow(QPainter& painter) {
    static const QBrush floorShadow(QColor::fromRgbF(0, 0, 0, 0.16f));
    painter.setPen(Qt::NoPen);
    painter.setBrush(floorShadow);
    painter.drawEllipse(QRectF(26, 148.5, 68, 11));
}

void drawFigure(QPainter& painter, const CharacterPaints& paints, CharacterState state,
                double breath) {
    painter.translate(0, std::isfinite(breath) ? -breath : 0.0);
    drawBody(painter, paints);
    drawFace(painter, paints, state);
}

}  // namespace

void paintCharacter(QPainter& painter, const QRectF& area, const CharacterPaints& paints,
                    CharacterState state, double breath) {
    PainterKeeper keeper(painter);
    if (!enterDesignSpace(painter, area))
        return;
    // The floor stays put while the body breathes above it.
    drawFloorShadow(painter);
    drawFigure(painter, paints, state, breath);
}

void paintFloorShadow(QPainter& painter, const QRectF& area) {
    PainterKeeper keeper(painter);
    if (enterDesignSpace(painter, area))
        drawFloorShadow(painter);
}

void paintFigure(QPainter& painter, const QRectF& area, const CharacterPaints& paints,
                 CharacterState state, double breath) {
    PainterKeeper keeper(painter);
    if (enterDesignSpace(painter, area))
        drawFigure(painter, paints, state, breath);
}

}  // namespace lumenary
