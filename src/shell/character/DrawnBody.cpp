// The body pass: everything except the face details, back to front. The shapes never change, so
// they are built once; only the palette's paints and its four switches vary.
#include <QPainter>

#include "character/DesignPath.h"
#include "character/DrawnCharacter.h"

namespace lumenary {

namespace {

struct BodyShapes {
    QPainterPath torso = DesignPath()
                             .move({28, 145})
                             .cubic({48, 85}, {28, 113}, {37, 91})
                             .line({72, 85})
                             .cubic({92, 145}, {83, 91}, {92, 113})
                             .quad({28, 145}, {60, 152})
                             .close();
    QPainterPath sariBorder = DesignPath().move({29, 141}).quad({91, 141}, {60, 148});
    QPainterPath neckline = DesignPath()
                                .move({46, 84})
                                .quad({74, 84}, {60, 77})
                                .line({76, 95})
                                .quad({44, 95}, {60, 90})
                                .close();
    QPainterPath drape = DesignPath().move({71, 84}).cubic({83, 136}, {82, 91}, {85, 114});
    QPainterPath drapeHighlight = DesignPath().move({74, 90}).cubic({81, 130}, {80, 96}, {82, 113});
    QPainterPath placket = DesignPath()
                               .move({50, 86})
                               .line({60, 104})
                               .line({70, 86})
                               .line({64, 84})
                               .line({60, 94})
                               .line({56, 84})
                               .close();
    QPainterPath arms = DesignPath()
                            .move({46, 95})
                            .cubic({55, 115}, {42.5, 105}, {47, 113})
                            .move({72, 95})
                            .cubic({65, 115}, {75, 105}, {73, 113});
    QPainterPath bangles =
        DesignPath().move({47.5, 107}).line({54.5, 110}).move({72.5, 107}).line({65.5, 110});
    QPainterPath bangleGlints =
        DesignPath().move({48.4, 111}).line({54.4, 113.6}).move({71.6, 111}).line({65.6, 113.6});
    QPainterPath handsLine = DesignPath().move({60, 113.5}).line({60, 121});
    QPainterPath neck =
        DesignPath().move({52, 74}).line({68, 74}).line({68, 86}).quad({52, 86}, {60, 91}).close();
    QPainterPath longFrontHair = DesignPath()
                                     .move({31, 54})
                                     .cubic({60, 15}, {31, 28}, {44, 15})
                                     .cubic({89, 54}, {76, 15}, {89, 28})
                                     .cubic({71, 28}, {88, 41}, {79, 31})
                                     .cubic({60, 33}, {66, 26}, {62, 27})
                                     .cubic({49, 28}, {58, 27}, {54, 26})
                                     .cubic({31, 54}, {41, 31}, {32, 41})
                                     .close();
    QPainterPath shortFrontHair = DesignPath()
                                      .move({32, 50})
                                      .cubic({60, 17}, {32, 27}, {44, 17})
                                      .cubic({88, 50}, {76, 17}, {88, 27})
                                      .cubic({78, 34}, {86, 40}, {84, 35})
                                      .cubic({42, 34}, {66, 28}, {52, 29})
                                      .cubic({32, 50}, {36, 35}, {34, 40})
                                      .close();
    QPainterPath beard = DesignPath()
                             .move({34, 54})
                             .cubic({60, 84}, {35, 72}, {46, 84})
                             .cubic({86, 54}, {74, 84}, {85, 72})
                             .cubic({60, 70}, {78, 66}, {70, 70})
                             .cubic({34, 54}, {50, 70}, {42, 66})
                             .close();
};

const BodyShapes& shapes() {
    static const BodyShapes built;
    return built;
}

// The sari's white dots, 2.1 units across, by their centres.
constexpr QPointF sariDotCentres[] = {{41, 114}, {51, 129}, {36, 132},
                                      {46, 101}, {34, 122}, {60, 135}};
constexpr double sariDotSize = 2.1;

constexpr double earCentresX[] = {31.5, 88.5};  // left first

void fillEllipse(QPainter& painter, const QRectF& bounds, const QBrush& brush) {
    painter.setBrush(brush);
    painter.drawEllipse(bounds);
}

}  // namespace

void drawBody(QPainter& painter, const CharacterPaints& paints) {
    const BodyShapes& shape = shapes();
    painter.setPen(Qt::NoPen);

    fillEllipse(painter, paints.longHair ? QRectF(27, 15, 66, 74) : QRectF(30, 16, 60, 48),
                paints.backHair);
    painter.fillPath(shape.torso, paints.torso);
    if (paints.wearsSari) {
        painter.strokePath(shape.sariBorder, paints.sariBorder);
        for (const QPointF& centre : sariDotCentres)
            fillEllipse(painter,
                        QRectF(centre.x() - sariDotSize / 2, centre.y() - sariDotSize / 2,
                               sariDotSize, sariDotSize),
                        paints.sariDots);
    }
    painter.fillPath(shape.neckline, paints.neckline);
    if (paints.wearsSari) {
        painter.strokePath(shape.drape, paints.drape);
        painter.strokePath(shape.drapeHighlight, paints.drapeHighlight);
    } else {
        painter.fillPath(shape.placket, paints.placket);
    }
    painter.strokePath(shape.arms, paints.arms);
    painter.strokePath(shape.bangles, paints.bangles);
    painter.strokePath(shape.bangleGlints, paints.bangleGlints);
    fillEllipse(painter, QRectF(50.5, 112, 12, 10.5), paints.hands);
    fillEllipse(painter, QRectF(57.5, 112, 12, 10.5), paints.hands);
    painter.strokePath(shape.handsLine, paints.handsLine);
    painter.fillPath(shape.neck, paints.neck);
    fillEllipse(painter, QRectF(31, 22, 58, 60), paints.head);
    for (const double x : earCentresX) {
        fillEllipse(painter, QRectF(x - 4, 49, 8, 12), paints.ears);
        if (paints.wearsSari)
            fillEllipse(painter, QRectF(x - 2.7, 59.8, 5.4, 5.4), paints.gold);
    }
    painter.fillPath(paints.longHair ? shape.longFrontHair : shape.shortFrontHair,
                     paints.frontHair);
    // The beard belongs to the short-haired figure; long hair hides it whatever the palette says.
    if (paints.beard && !paints.longHair)
        painter.fillPath(shape.beard, paints.beardFill);
    if (paints.showBindi)
        fillEllipse(painter, QRectF(57, 31.6, 6, 6.8), paints.bindi);
}

}  // namespace lumenary
