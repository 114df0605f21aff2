#include <gtest/gtest.h>

#include <QAccessible>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>
#include <functional>
#include <string>

#include <vlq/qt/SurveyOverlayItem.h>

#include "OverlayTestSupport.h"

namespace vlq::toolkit::qt::testing {
namespace {

using vlq::qt::SurveyOverlayItem;

// The red application in QML: a green square, a button, a field with the focus and a shortcut,
// with the overlay placed last, over everything.
constexpr char kRedScene[] = R"(
import QtQuick
import VLQ.Surveys

Rectangle {
  width: 600; height: 400; color: "red"
  property int clicks: 0
  property int prints: 0
  Rectangle { width: 200; height: 100; color: "lime" }
  MouseArea { objectName: "button"; x: 250; y: 10; width: 120; height: 30; onClicked: clicks++ }
  TextInput { objectName: "field"; x: 250; y: 50; width: 120; height: 30; focus: true }
  Shortcut { sequence: "Ctrl+P"; onActivated: prints++ }
  SurveyOverlay { objectName: "overlay"; anchors.fill: parent }
}
)";

struct RedScene {
  QQuickView view;
  QQuickItem* root = nullptr;
  QQuickItem* field = nullptr;
  SurveyOverlayItem* overlay = nullptr;
  std::shared_ptr<StandInInvitation> invitation = std::make_shared<StandInInvitation>("s2");

  RedScene() {
    // The module as the build gathers it: its qmldir and its plugin, which finds the type here.
    view.engine()->addImportPath(QStringLiteral(VLQ_TEST_QML_DIR));
    view.setResizeMode(QQuickView::SizeRootObjectToView);
    auto* component = new QQmlComponent(view.engine(), &view);
    component->setData(kRedScene, QUrl());
    view.setContent(QUrl(), component, component->create());
    root = view.rootObject();
    EXPECT_TRUE(root) << component->errorString().toStdString();
    if (!root) return;
    field = root->findChild<QQuickItem*>(QStringLiteral("field"));
    overlay = root->findChild<SurveyOverlayItem*>(QStringLiteral("overlay"));
    view.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&view));
    view.requestActivate();
  }

  int property(const char* name) const { return root->property(name).toInt(); }
  void click(QPoint point) { QTest::mouseClick(&view, Qt::LeftButton, {}, point); }
  void invite() {
    invitation->show(overlay->uiWindow());
    ASSERT_TRUE(waitFor([&] { return overlay->isVisible(); }));
  }
};

TEST(SurveyOverlayItemTest, TheModuleIsFoundAndTheIdleItemLetsEveryEventThrough) {
  RedScene scene;
  ASSERT_TRUE(scene.overlay);
  EXPECT_FALSE(scene.overlay->isVisible());
  EXPECT_TRUE(scene.overlay->uiWindow()->isKeyWindow());
  scene.click({300, 20});
  QTest::keyClick(&scene.view, Qt::Key_P, Qt::ControlModifier);
  EXPECT_EQ(scene.property("clicks"), 1);
  EXPECT_EQ(scene.property("prints"), 1);
}

TEST(SurveyOverlayItemTest, TheInvitationCoversTheScenesPixelsTakesItsInputAndGivesTheFocusBack) {
  RedScene scene;
  ASSERT_TRUE(scene.overlay);
  QSignalSpy shown(scene.overlay, &SurveyOverlayItem::surveyShown);
  QSignalSpy finished(scene.overlay, &SurveyOverlayItem::surveyFinished);
  scene.invite();
  EXPECT_EQ(shown.count(), 1);
  EXPECT_TRUE(scene.overlay->hasActiveFocus());

  QImage frame = scene.view.grabWindow();
  frame.setDevicePixelRatio(scene.view.effectiveDevicePixelRatio());
  EXPECT_TRUE(isVeiledRed(colorAt(frame, 500, 40))) << colorAt(frame, 500, 40).name().toStdString();
  EXPECT_GT(colorAt(frame, 20, 20).green(), 200);

  // Screen readers reach the invitation's controls through the window's own accessible tree.
  const std::function<QAccessibleInterface*(QAccessibleInterface*)> overlayIn =
      [&](QAccessibleInterface* node) -> QAccessibleInterface* {
    if (!node) return nullptr;
    if (node->object() == scene.overlay) return node;
    for (int index = 0; index < node->childCount(); ++index) {
      if (QAccessibleInterface* found = overlayIn(node->child(index))) return found;
    }
    return nullptr;
  };
  QAccessibleInterface* overlay = overlayIn(QAccessible::queryAccessibleInterface(&scene.view));
  ASSERT_TRUE(overlay);
  ASSERT_EQ(overlay->childCount(), 3);
  EXPECT_EQ(overlay->child(0)->text(QAccessible::Name), QStringLiteral("Sure"));

  scene.click(scene.invitation->acceptPoint());
  scene.click({300, 20});
  scene.click(scene.invitation->fieldPoint());
  for (const char letter : std::string("Quick")) {
    QTest::keyClick(&scene.view, letter);
  }
  QTest::keyClick(&scene.view, Qt::Key_P, Qt::ControlModifier);
  EXPECT_EQ(scene.invitation->accepted, 1);
  EXPECT_EQ(scene.invitation->typed(), "Quick");
  EXPECT_EQ(scene.property("clicks"), 0);
  EXPECT_EQ(scene.property("prints"), 0);

  // A resize snapshots the scene again: red to the new corner.
  scene.view.resize(900, 500);
  ASSERT_TRUE(waitFor([&] { return scene.overlay->width() == 900; }));
  QTest::qWait(50);
  EXPECT_TRUE(isVeiledRed(colorAt(scene.view.grabWindow(), 890, 20)));

  scene.click(scene.invitation->declinePoint());
  ASSERT_TRUE(waitFor([&] { return !scene.overlay->isVisible(); }));
  EXPECT_EQ(finished.count(), 1);
  EXPECT_EQ(finished.front().front().toString(), QStringLiteral("s2"));
  EXPECT_TRUE(scene.field->hasActiveFocus());
  QTest::keyClick(&scene.view, Qt::Key_P, Qt::ControlModifier);
  EXPECT_EQ(scene.property("prints"), 1);
}

}  // namespace
}  // namespace vlq::toolkit::qt::testing
