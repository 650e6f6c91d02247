#include <gtest/gtest.h>

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>

#include "DesktopTesting.h"
#include "ManualScheduler.h"
#include "desktop/CompanionLayout.h"
#include "panel/CompanionPanel.h"

namespace lumenary {
namespace {

using testing::ManualScheduler;
using testing::TemporaryFolder;

struct Fixture {
    TemporaryFolder folder;
    ManualScheduler scheduler;
    Store store{folder.path(), Store::Options{[](const std::string&) {}, {}}};
    CharacterAnimator animator{scheduler, [] { return 5.0; }};
    Companion companion{store, animator, scheduler};

    std::unique_ptr<CompanionPanel> panel(bool translucent = true) {
        return std::make_unique<CompanionPanel>(animator, store, companion,
                                                CompanionPanel::Options{translucent, false});
    }
};

// A mouse event at `local` in the panel, as the window system would deliver it.
void mouse(QWidget& panel, QEvent::Type type, QPoint local,
           Qt::MouseButton button = Qt::LeftButton) {
    const QPointF global = panel.mapToGlobal(QPointF(local));
    QMouseEvent event(type, QPointF(local), global, button,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(button),
                      Qt::NoModifier);
    QApplication::sendEvent(&panel, &event);
}

void click(QWidget& panel, QPoint local) {
    mouse(panel, QEvent::MouseButtonPress, local);
    mouse(panel, QEvent::MouseButtonRelease, local);
}

TEST(CompanionPanel, SitsAtTheBottomRightOfThePrimaryScreenAndComesBackThere) {
    Fixture f;
    auto panel = f.panel();
    panel->show();
    const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_EQ(panel->size(), QSize(148, 196));
    EXPECT_EQ(panel->geometry().right(), available.right() - 28);
    EXPECT_EQ(panel->geometry().bottom(), available.bottom() - 4);

    // Dragged away, she goes home again when the screens change.
    panel->move(10, 10);
    emit QGuiApplication::primaryScreen()->availableGeometryChanged(available);
    EXPECT_EQ(panel->geometry().bottomRight(), available.bottomRight() - QPoint(28, 4));
}

TEST(CompanionPanel, OnlyTheMiddleTakesTheMouseAndAClickOnHerTaps) {
    Fixture f;
    auto panel = f.panel();
    panel->show();
    int taps = 0;
    std::vector<QPoint> menus;
    panel->onTap = [&taps] { ++taps; };
    panel->onMenu = [&menus](const QPoint& where) { menus.push_back(where); };

    EXPECT_EQ(panel->inputRegion(), QRegion(27, 6, 94, 184));
    click(*panel, {5, 120});    // the left margin
    click(*panel, {140, 120});  // the right margin
    click(*panel, {74, 2});     // above the top inset
    click(*panel, {74, 12});    // inside, but above her frame: the bubble's place
    EXPECT_EQ(taps, 0);
    click(*panel, {74, 120});
    EXPECT_EQ(taps, 1);

    QContextMenuEvent outside(QContextMenuEvent::Mouse, {5, 120},
                              panel->mapToGlobal(QPoint(5, 120)));
    QApplication::sendEvent(panel.get(), &outside);
    QContextMenuEvent inside(QContextMenuEvent::Mouse, {74, 120},
                             panel->mapToGlobal(QPoint(74, 120)));
    QApplication::sendEvent(panel.get(), &inside);
    ASSERT_EQ(menus.size(), 1u);
    EXPECT_EQ(menus[0], panel->mapToGlobal(QPoint(74, 120)));
}

TEST(CompanionPanel, DraggingMovesHerWithoutTapping) {
    Fixture f;
    auto panel = f.panel();
    panel->show();
    int taps = 0;
    panel->onTap = [&taps] { ++taps; };
    const QPoint start = panel->pos();

    mouse(*panel, QEvent::MouseButtonPress, {74, 120});
    mouse(*panel, QEvent::MouseMove, {104, 100});
    // The panel has moved under the pointer, so the same screen point is now at the press point.
    mouse(*panel, QEvent::MouseButtonRelease, {74, 120});
    EXPECT_EQ(panel->pos(), start + QPoint(30, -20));
    EXPECT_EQ(taps, 0);
}

TEST(CompanionPanel, TheBubbleFollowsTheCompanionAboveHerHead) {
    Fixture f;
    auto panel = f.panel(false);
    panel->show();
    const QRegion card = panel->mask();
    EXPECT_FALSE(card.contains(QPoint(74, 10)));

    f.companion.say("Did you eat kanna?");
    // The bubble is the child that shows above her frame.
    QWidget* shown = nullptr;
    for (QWidget* child : panel->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (child->isVisible() && child->geometry().bottom() < CompanionLayout::characterFrame().y)
            shown = child;
    }
    ASSERT_NE(shown, nullptr);
    EXPECT_GT(shown->width(), 40);
    EXPECT_LE(shown->width(), 148);
    // Without a compositor the window's shape grows to take the bubble in, and shrinks back.
    EXPECT_TRUE(panel->mask().contains(shown->geometry().center()));
    f.companion.hush();
    EXPECT_FALSE(shown->isVisible());
    EXPECT_EQ(panel->mask(), card);
}

}  // namespace
}  // namespace lumenary
