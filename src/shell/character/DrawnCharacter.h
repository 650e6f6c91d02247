#pragma once
// The drawn character: a seated figure from the waist up with folded hands, a head, hair, an
// optional sari with border and drape, jewellery and a bindi, painted in vector shapes from a
// palette, a face state and a breath lift. It is the "cute" portrait style and the source of the
// pixel sprite.

#include <QBrush>
#include <QColor>
#include <QPen>
#include <QRectF>
#include <QSizeF>

#include "character/CharacterPalette.h"
#include "character/CharacterState.h"

class QPainter;

namespace lumenary {

/// The palette turned into the pens and brushes the drawing uses, so that a frame paints without
/// reading colour text or building gradients. Build one when the palette changes and keep it.
struct CharacterPaints {
    explicit CharacterPaints(const CharacterPalette& palette = {});

    bool longHair = true;
    bool beard = false;
    bool wearsSari = true;
    bool showBindi = true;

    // Body pass, in drawing order.
    QBrush backHair, torso, sariDots, neckline, placket, hands, neck, head, ears, gold, frontHair,
        beardFill, bindi;
    QPen sariBorder, drape, drapeHighlight, arms, bangles, bangleGlints, handsLine;
    // Face pass.
    QPen eyebrows, closedEyes, nose, smile;
    QBrush eyes, glints, cheeks, openMouth, tongue, sleepLetters;
};

/// What to draw: a face state and a breath lift on a palette. The design space is 120 × 160
/// units, x to the right and y downward from the top left.
struct DrawnCharacter {
    static constexpr QSizeF designSize{120, 160};
    /// The label screen readers give the figure.
    static constexpr const char* accessibleName = "Your character";

    CharacterState state = CharacterState::idle;
    CharacterPalette palette;
    double breath = 0;  // upward lift in design units of everything above the floor shadow

    /// Same as paintCharacter() with this record's fields.
    void paint(QPainter& painter, const QRectF& area) const;
};

/// Draws the character fitted into `area` (scale min(w / 120, h / 160), centred) with its floor
/// shadow, then everything else lifted by `breath` design units. Leaves the painter's state as it
/// found it. An empty or non-finite area draws nothing; a non-finite breath counts as 0. The
/// painter should have antialiasing on; this does not change it.
void paintCharacter(QPainter& painter, const QRectF& area, const CharacterPaints& paints,
                    CharacterState state, double breath);
/// Convenience for one-off drawings (previews, tests): builds the paints first.
void paintCharacter(QPainter& painter, const QRectF& area, const CharacterPalette& palette,
                    CharacterState state, double breath);

/// The two layers paintCharacter() draws, for callers that keep them apart: the floor shadow,
/// which never moves, and the figure (body and face) lifted by `breath`. Same fitting, painter
/// handling and empty-area rules as paintCharacter(); the shadow first, then the figure over it,
/// paints the same picture.
void paintFloorShadow(QPainter& painter, const QRectF& area);
void paintFigure(QPainter& painter, const QRectF& area, const CharacterPaints& paints,
                 CharacterState state, double breath);

/// The two passes, in design units on the painter's current transform, body first. The body pass
/// is everything except the face details; the face pass is brows, eyes, nose, cheeks, mouth and,
/// asleep, the floating letters. Each may change the painter's pen, brush and transform.
void drawBody(QPainter& painter, const CharacterPaints& paints);
void drawFace(QPainter& painter, const CharacterPaints& paints, CharacterState state);

}  // namespace lumenary
