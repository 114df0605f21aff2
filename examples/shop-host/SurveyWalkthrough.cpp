#include "SurveyWalkthrough.h"

#include <QAccessible>
#include <QTest>
#include <cstdio>

namespace {

// The enabled control named `name` among the overlay's accessible children, or null.
QAccessibleInterface* control(QObject* surveys, const QString& name) {
  QAccessibleInterface* overlay = QAccessible::queryAccessibleInterface(surveys);
  if (!overlay) return nullptr;
  for (int index = 0; index < overlay->childCount(); ++index) {
    QAccessibleInterface* child = overlay->child(index);
    if (child && child->text(QAccessible::Name) == name && !child->state().disabled) return child;
  }
  return nullptr;
}

// Waits for `name` to show, then clicks it: in its middle, or at its left edge (a row's margin,
// which chooses the row rather than the field in it).
bool click(QObject* surveys, QWindow* window, const QString& name, bool leftEdge = false) {
  QAccessibleInterface* found = nullptr;
  if (!waitUntil([&] { return (found = control(surveys, name)) != nullptr; }, 5)) {
    std::fprintf(stderr, "walkthrough: \"%s\" did not show\n", qPrintable(name));
    return false;
  }
  const QRect area = found->rect();
  const QPoint global = leftEdge ? QPoint(area.left() + 4, area.center().y()) : area.center();
  QTest::mouseClick(window, Qt::LeftButton, {}, window->mapFromGlobal(global));
  return true;
}

}  // namespace

bool waitUntil(const std::function<bool()>& done, double seconds) {
  return QTest::qWaitFor(done, static_cast<int>(seconds * 1000));
}

bool answerCheckoutSurvey(QObject* surveys, QWindow* window,
                          const std::function<void()>& answered) {
  const auto clicks = [&](std::initializer_list<const char*> names) {
    for (const char* name : names) {
      if (!click(surveys, window, QString::fromUtf8(name))) return false;
    }
    return true;
  };
  if (!clicks({"Sure, let's go", "Easy enough"})) return false;
  if (answered) answered();
  if (!clicks({"Next", "Order tracking"})) return false;
  // The Other row: chosen at its margin, then its field takes the keyboard's typing.
  const QString other = QStringLiteral("Other answer");
  if (!click(surveys, window, other, true) || !click(surveys, window, other)) return false;
  for (const QChar letter : QStringLiteral("Split payment"))
    QTest::keyClick(window, letter.toLatin1());
  QTest::keyClick(window, Qt::Key_Return);
  return clicks({"Next", "Rating 4 of 5", "Submit Feedback"});
}

bool checkStoredResponse(const vlq::collector::CollectorServer& collector) {
  if (!waitUntil([&] { return !collector.responses().empty(); })) {
    std::fprintf(stderr, "walkthrough: no response was stored\n");
    return false;
  }
  const auto responses = collector.responses();
  const vlq::Json& body = responses.front().body;
  const vlq::Json expected = vlq::Json::parse(R"([
    {"question_id": 301, "answers": ["easy-2"], "others": []},
    {"question_id": 302, "answers": ["feat-tracking", "feat-other"],
     "others": [{"answer": "Split payment", "id": "feat-other"}]},
    {"question_id": 303, "answers": [4], "others": []}])");
  if (responses.size() != 1 || body.value("survey_id", "") != "checkout-feedback" ||
      body.value("responses", vlq::Json()) != expected ||
      body.value("is_completed", false) != true) {
    std::fprintf(stderr, "walkthrough: the collector stored %zu responses, the first:\n%s\n",
                 responses.size(), body.dump(2).c_str());
    return false;
  }
  return true;
}
