// Each picture is painted by the same CharacterLook the character view uses, with no images
// loaded, so the previews show exactly what the view shows before a photo is read.
#include "preview/CharacterPreviews.h"

#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <system_error>
#include <vector>

#include "character/CharacterLook.h"
#include "preview/OffscreenApplication.h"

namespace lumenary::CharacterPreviews {

namespace {

const QSize pictureSize(240, 320);
const QSize sheetCell(150, 200);
// A soft paper colour, so that the sheet shows the floor shadow and the translucent parts.
const QColor sheetBackground(0xF6, 0xF1, 0xEC);
const QColor labelColour(0x5A, 0x52, 0x66);
// Mid-breath, as the sprite is drawn.
constexpr double previewBreath = CharacterLook::spriteBreath;

std::string lowercase(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return result;
}

QImage picture(const CharacterPalette& palette, PortraitStyle style, CharacterState state,
               QSize size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    CharacterLook look(palette, style);
    look.renderSprite(state);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    look.paint(painter, QRectF(QPointF(0, 0), QSizeF(size)), state, previewBreath);
    return image;
}

// Writes everything into `out`; one line on `err` and false at the first failure.
class Writer {
public:
    Writer(const std::string& out, std::ostream& err) : folder_(out), err_(err) {}

    bool makeFolder() {
        std::error_code error;
        std::filesystem::create_directories(folder_, error);
        if (std::filesystem::is_directory(folder_, error))
            return true;
        err_ << "lumenary: could not create the folder " << folder_.string() << ".\n";
        return false;
    }

    bool write(const QImage& image, const std::string& name) {
        const std::filesystem::path path = folder_ / name;
        if (image.save(QString::fromStdString(path.string()), "PNG"))
            return true;
        err_ << "lumenary: could not write " << path.string() << ".\n";
        return false;
    }

private:
    std::filesystem::path folder_;
    std::ostream& err_;
};

// A grid of pictures on paper: optional labels over the columns and before the rows, and a
// caption under every cell when given.
struct Sheet {
    std::vector<QString> columnLabels;
    std::vector<QString> rowLabels;
    std::vector<QString> captions;  // row by row
    int columns = 1;
    int rows = 1;
    std::function<QImage(int row, int column)> cell;

    QImage render() const {
        const int left = rowLabels.empty() ? 0 : 80;
        const int top = columnLabels.empty() ? 8 : 30;
        const int below = captions.empty() ? 0 : 24;
        const int rowHeight = sheetCell.height() + below;
        QImage sheet(left + columns * sheetCell.width() + 8, top + rows * rowHeight + 8,
                     QImage::Format_ARGB32_Premultiplied);
        sheet.fill(sheetBackground);
        QPainter painter(&sheet);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        QFont font = painter.font();
        font.setPixelSize(13);
        painter.setFont(font);
        painter.setPen(labelColour);
        for (int column = 0; column < columns && column < static_cast<int>(columnLabels.size());
             ++column)
            painter.drawText(QRectF(left + column * sheetCell.width(), 0, sheetCell.width(), top),
                             Qt::AlignCenter, columnLabels[column]);
        for (int row = 0; row < rows && row < static_cast<int>(rowLabels.size()); ++row)
            painter.drawText(QRectF(8, top + row * rowHeight, left - 8, sheetCell.height()),
                             Qt::AlignVCenter | Qt::AlignLeft, rowLabels[row]);
        for (int row = 0; row < rows; ++row)
            for (int column = 0; column < columns; ++column) {
                const QRectF at(left + column * sheetCell.width(), top + row * rowHeight,
                                sheetCell.width(), sheetCell.height());
                painter.drawImage(at, cell(row, column));
                const auto index = static_cast<std::size_t>(row * columns + column);
                if (index < captions.size())
                    painter.drawText(QRectF(at.left(), at.bottom(), at.width(), below),
                                     Qt::AlignHCenter | Qt::AlignTop, captions[index]);
            }
        return sheet;
    }
};

struct Variant {
    const char* name;
    const char* caption;
    CharacterPalette palette;
};

CharacterPalette withSkin(CharacterPalette palette, const std::string& skin) {
    palette.traits.skin = skin;
    // The rim of the face darkens the skin as a photo reading would.
    palette.traits.skinShade = CharacterPalette::shade(skin, 0.82);
    return palette;
}

std::vector<Variant> paletteVariants() {
    const CharacterPalette standard;
    std::vector<Variant> variants;
    variants.push_back({"sari", "Sari, long hair", standard});

    CharacterPalette kurta = standard;
    kurta.traits.wearsSari = false;
    kurta.traits.garmentPrimary = "#3E7CB1";
    kurta.traits.garmentSecondary = "#F2E6C9";
    variants.push_back({"no-sari", "No sari", kurta});

    CharacterPalette shirt = kurta;
    shirt.traits.longHair = false;
    shirt.showBindi = false;
    shirt.traits.garmentPrimary = "#5B8C5A";
    shirt.traits.garmentSecondary = "#EDE3C8";
    variants.push_back({"short-hair", "Short hair", shirt});

    CharacterPalette bearded = shirt;
    bearded.traits.beard = true;
    bearded.traits.hair = "#3B2F2A";
    bearded.traits.garmentPrimary = "#2F4858";
    bearded.traits.garmentSecondary = "#D9CBB0";
    variants.push_back({"beard", "Beard", bearded});

    CharacterPalette noBindi = standard;
    noBindi.showBindi = false;
    variants.push_back({"no-bindi", "No bindi", noBindi});

    CharacterPalette grey = standard;
    grey.traits.hair = "#B9B3AE";
    grey.traits.garmentPrimary = "#2E8B57";
    grey.traits.garmentSecondary = "#F4C542";
    variants.push_back({"grey-hair", "Grey hair", grey});

    variants.push_back({"skin-light", "Light skin", withSkin(standard, "#F3CFB0")});
    variants.push_back({"skin-medium", "Medium skin", withSkin(standard, "#C68A5E")});
    variants.push_back({"skin-deep", "Deep skin", withSkin(standard, "#7A4A2E")});
    CharacterPalette deepBeard = withSkin(bearded, "#8D5524");
    deepBeard.traits.hair = "#1C1A1A";
    variants.push_back({"skin-deep-beard", "Deep skin, beard", deepBeard});
    return variants;
}

}  // namespace

int states(const std::string& out, std::ostream& err) {
    const OffscreenApplication gui;
    Writer writer(out, err);
    if (!writer.makeFolder())
        return 1;
    const CharacterPalette palette;
    for (const PortraitStyle style : allPortraitStyles)
        for (const CharacterState state : allCharacterStates) {
            const std::string name = "character-" + std::string(rawValue(style)) + "-" +
                                     lowercase(displayName(state)) + ".png";
            if (!writer.write(picture(palette, style, state, pictureSize), name))
                return 1;
        }

    Sheet sheet;
    sheet.columns = static_cast<int>(allCharacterStates.size());
    sheet.rows = static_cast<int>(allPortraitStyles.size());
    for (const CharacterState state : allCharacterStates)
        sheet.columnLabels.push_back(QString::fromLatin1(displayName(state)));
    for (const PortraitStyle style : allPortraitStyles) {
        QString label = QString::fromLatin1(rawValue(style));
        if (needsPhoto(style))
            label += QStringLiteral("\n(no image)");
        sheet.rowLabels.push_back(label);
    }
    sheet.cell = [&](int row, int column) {
        return picture(palette, allPortraitStyles[static_cast<std::size_t>(row)],
                       allCharacterStates[static_cast<std::size_t>(column)], sheetCell);
    };
    return writer.write(sheet.render(), "character-states.png") ? 0 : 1;
}

int variants(const std::string& out, std::ostream& err) {
    const OffscreenApplication gui;
    Writer writer(out, err);
    if (!writer.makeFolder())
        return 1;
    const std::vector<Variant> all = paletteVariants();
    for (const Variant& variant : all)
        if (!writer.write(
                picture(variant.palette, PortraitStyle::cute, CharacterState::idle, pictureSize),
                std::string("variant-") + variant.name + ".png"))
            return 1;

    Sheet sheet;
    sheet.columns = 5;
    sheet.rows = static_cast<int>((all.size() + 4) / 5);
    for (const Variant& variant : all)
        sheet.captions.push_back(QString::fromLatin1(variant.caption));
    sheet.cell = [&](int row, int column) {
        const auto index = static_cast<std::size_t>(row * sheet.columns + column);
        if (index >= all.size()) {
            QImage empty(sheetCell, QImage::Format_ARGB32_Premultiplied);
            empty.fill(Qt::transparent);
            return empty;
        }
        return picture(all[index].palette, PortraitStyle::cute, CharacterState::idle, sheetCell);
    };
    return writer.write(sheet.render(), "character-variants.png") ? 0 : 1;
}

}  // namespace lumenary::CharacterPreviews
