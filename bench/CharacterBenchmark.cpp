// The character as the companion panel paints it, 24 times a second: one frame of the drawn
// character at the panel's size (148 × 196 logical pixels), on a plain and on a doubled-density
// display, and the pixel sprite's two costs, rendering it (once per state change) and showing it
// (every frame). Qt's offscreen platform, so no display is needed.

#include <benchmark/benchmark.h>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include "character/CharacterLook.h"
#include "character/DrawnCharacter.h"

namespace lumenary {
namespace {

const QSizeF panel(148, 196);

// A cleared backing image for the panel at `pixelRatio` device pixels per logical pixel.
QImage panelImage(int pixelRatio) {
    QImage image((panel * pixelRatio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(pixelRatio);
    return image;
}

// range(0): the device pixel ratio; range(1): the state.
void DrawnCharacterFrame(benchmark::State& state) {
    QImage image = panelImage(static_cast<int>(state.range(0)));
    const auto face = static_cast<CharacterState>(state.range(1));
    const CharacterPaints paints{CharacterPalette{}};
    double breath = 0;
    for (auto _ : state) {
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        paintCharacter(painter, QRectF(QPointF(), panel), paints, face, breath);
        breath = breath > 1.5 ? 0 : breath + 0.1;  // a different lift each frame, as on screen
    }
    benchmark::DoNotOptimize(image.constBits());
    state.SetLabel(std::string(displayName(face)));
}
BENCHMARK(DrawnCharacterFrame)
    ->ArgNames({"dpr", "state"})
    ->Args({1, static_cast<int>(CharacterState::idle)})
    ->Args({1, static_cast<int>(CharacterState::speaking)})
    ->Args({1, static_cast<int>(CharacterState::sleeping)})
    ->Args({2, static_cast<int>(CharacterState::idle)})
    ->Args({2, static_cast<int>(CharacterState::sleeping)})
    ->Unit(benchmark::kMicrosecond);

// The same frame when the palette's colour text is read and the gradients built every time:
// what keeping CharacterPaints between frames saves.
void DrawnCharacterFrameFromPalette(benchmark::State& state) {
    QImage image = panelImage(1);
    const CharacterPalette palette;
    for (auto _ : state) {
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        paintCharacter(painter, QRectF(QPointF(), panel), palette, CharacterState::idle, 0.8);
    }
    benchmark::DoNotOptimize(image.constBits());
}
BENCHMARK(DrawnCharacterFrameFromPalette)->Unit(benchmark::kMicrosecond);

void PixelSpriteRender(benchmark::State& state) {
    CharacterLook look({}, PortraitStyle::pixel);
    for (auto _ : state)
        look.renderSprite(CharacterState::speaking);
    benchmark::DoNotOptimize(look.sprite().constBits());
}
BENCHMARK(PixelSpriteRender)->Unit(benchmark::kMicrosecond);

// range(0): the device pixel ratio.
void PixelSpriteFrame(benchmark::State& state) {
    QImage image = panelImage(static_cast<int>(state.range(0)));
    CharacterLook look({}, PortraitStyle::pixel);
    look.renderSprite(CharacterState::idle);
    for (auto _ : state) {
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        look.paint(painter, QRectF(QPointF(), panel), CharacterState::idle, 0.8);
    }
    benchmark::DoNotOptimize(image.constBits());
}
BENCHMARK(PixelSpriteFrame)->ArgName("dpr")->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace lumenary

int main(int argc, char** argv) {
    // Painting needs a QGuiApplication (fonts for the sleep letters), never a display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    char* qtArgv[] = {argv[0], nullptr};
    const QGuiApplication app(qtArgc, qtArgv);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
