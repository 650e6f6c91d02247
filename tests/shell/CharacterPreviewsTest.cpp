// The character previews through the real program, with no display at all, and their one-line
// failure.
#include <gtest/gtest.h>

#include <QImage>
#include <cstdlib>
#include <sstream>

#include "Application.h"
#include "ImageProbe.h"
#include "OffscreenApplication.h"
#include "TestSupport.h"

namespace lumenary {
namespace {

QImage read(const std::filesystem::path& path) {
    return QImage(QString::fromStdString(path.string()));
}

TEST(CharacterPreviews, DrawEveryStateAndStyleWithoutADisplay) {
    const testing::TemporaryFolder folder;
    const std::filesystem::path out = folder.path() / "new" / "previews";
    // The program must choose the offscreen platform itself.
    unsetenv("QT_QPA_PLATFORM");
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    const testing::ProgramRun run = testing::runProgram({"--render", out.string()});
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ASSERT_EQ(run.exitCode, 0) << run.err;

    for (const char* style : {"cute", "pixel", "cartoon", "photo"})
        for (const char* state : {"idle", "blink", "speaking", "listening", "sleeping"}) {
            const std::string name = std::string("character-") + style + "-" + state + ".png";
            const QImage picture = read(out / name);
            ASSERT_EQ(picture.size(), QSize(240, 320)) << name;
            EXPECT_FALSE(testing::paintedBounds(picture).isNull()) << name;
        }
    EXPECT_FALSE(read(out / "character-states.png").isNull());
    // Without their images the cartoon and photo styles show the drawn character.
    EXPECT_EQ(read(out / "character-photo-blink.png"), read(out / "character-cute-blink.png"));
    EXPECT_NE(read(out / "character-pixel-blink.png"), read(out / "character-cute-blink.png"));
}

TEST(CharacterPreviews, VariantsDifferFromEachOther) {
    const testing::TemporaryFolder folder;
    std::ostringstream err;
    ASSERT_EQ(Preview::variants(folder.path().string(), err), 0) << err.str();
    const QImage sari = read(folder.path() / "variant-sari.png");
    for (const char* name : {"no-sari", "short-hair", "beard", "no-bindi", "skin-deep"}) {
        const QImage variant = read(folder.path() / (std::string("variant-") + name + ".png"));
        ASSERT_EQ(variant.size(), QSize(240, 320)) << name;
        EXPECT_NE(variant, sari) << name;
    }
    EXPECT_FALSE(read(folder.path() / "character-variants.png").isNull());
}

TEST(CharacterPreviews, SayInOneLineWhatCouldNotBeWritten) {
    const testing::TemporaryFolder folder;
    const std::filesystem::path file = folder.write("taken", "a file, not a folder");
    std::ostringstream err;
    EXPECT_EQ(Preview::render((file / "out").string(), err), 1);
    EXPECT_EQ(err.str(),
              "lumenary: could not create the folder " + (file / "out").string() + ".\n");

    // A folder standing where a picture should go.
    std::filesystem::create_directories(folder.path() / "out" / "character-cute-idle.png");
    err.str("");
    EXPECT_EQ(Preview::render((folder.path() / "out").string(), err), 1);
    EXPECT_EQ(err.str(), "lumenary: could not write " +
                             (folder.path() / "out" / "character-cute-idle.png").string() + ".\n");
}

}  // namespace
}  // namespace lumenary
