// Times surveys over a Qt Widgets application: a shop-like main window (a list of 200 products,
// buttons, labels) with the survey overlay over it, the plug-in on the reference host, offscreen,
// at 1280 x 800 and at 1920 x 1080 points (device pixel ratio 1). Prints one line per figure:
//   overlay-render FIGURE ms=X frame_ratio=R fill_ratio=Q
// X is the median over the runs in milliseconds, R is X against a 60 Hz frame (16.67 ms) and Q is
// X against one fill of a window-sized image measured in the same run. The figures, for each size:
//   trigger-to-frame-WxH   from the trigger raised on the host to the invitation's first frame
//                          painted by the overlay: the plug-in's lookup and delay step on the
//                          host's threads, the snapshot of the window, the card laid out, the
//                          blur and the paint
//   snapshot-WxH           the snapshot of the window alone (its widgets painted into an image)
//   tap-to-frame-WxH       a click on a choice of the survey page: the selection, the layout and
//                          the repaint of what changed, painted by the overlay
//   fill-WxH               one fill of a window-sized image
// Times are wall-clock: the trigger crosses the host's threads and waits for the main queue, as it
// does in an application. `--runs N` sets how many runs each median takes.

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMainWindow>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <vlq/host/reference/ReferenceHost.h>
#include <vlq/plugin/VLQSurveyPlugin.h>
#include <vlq/qt/SurveyOverlay.h>
#include <vlq/toolkit/NSBundle.h>
#include <vlq/toolkit/UIAccessibility.h>
#include <vlq/toolkit/UIWindow.h>

namespace {

constexpr double kFrameMs = 1000.0 / 60.0;

constexpr char kSurvey[] = R"({"configs": [{"_id": "bench", "ui": {"delay": 0,
  "dialog_config": {"button_type": "rectangle", "title": "Got a minute?",
                    "description": "Tell us how checkout went.",
                    "yes_text": "Sure", "no_text": "Not now"},
  "questions": [{"id": "1", "title": "How easy was checkout today?",
                 "answer_mode": "single_choice",
                 "choices": [{"id": "a", "value": "Very easy"}, {"id": "b", "value": "Easy enough"},
                             {"id": "c", "value": "A bit confusing"}, {"id": "d", "value": "Hard"}]}]}}]})";

double nowMs() {
  return std::chrono::duration<double, std::milli>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// Runs Qt's events until `done` holds; false after ten seconds.
// Runs Qt's event loop until `done` holds (at most 10 s), waking as soon as an event arrives:
// QTest::qWaitFor sleeps 10 ms between its looks, which would be timed with the survey.
bool runUntil(const std::function<bool()>& done) {
  QElapsedTimer elapsed;
  elapsed.start();
  // A tick that wakes the loop in case `done` turns true without an event of Qt's.
  QTimer tick;
  tick.start(1);
  while (!done()) {
    if (elapsed.elapsed() > 10000) return false;
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  return true;
}

// A shop-like window: a long product list, a cart and buttons.
class ShopWindow : public QMainWindow {
 public:
  ShopWindow() {
    auto* content = new QWidget;
    auto* columns = new QHBoxLayout(content);
    auto* products = new QListWidget;
    for (int i = 0; i < 200; ++i)
      products->addItem(QStringLiteral("Product %1    $%2.90").arg(i + 1).arg(10 + i % 40));
    auto* shelf = new QVBoxLayout;
    shelf->addWidget(new QLabel(QStringLiteral("Northwind Coffee")));
    shelf->addWidget(products, 1);
    shelf->addWidget(new QPushButton(QStringLiteral("Add to cart")));
    auto* cart = new QVBoxLayout;
    cart->addWidget(new QLabel(QStringLiteral("Your cart")));
    auto* lines = new QListWidget;
    lines->addItems({QStringLiteral("Espresso beans    $24.90"), QStringLiteral("Mug    $12.50")});
    cart->addWidget(lines, 1);
    cart->addWidget(new QLabel(QStringLiteral("Total: $37.40")));
    cart->addWidget(new QPushButton(QStringLiteral("Place order")));
    columns->addLayout(shelf, 3);
    columns->addLayout(cart, 2);
    setCentralWidget(content);
  }
};

// The middle (or the left margin, for a row) of the overlay's control that a screen reader names
// `name`, in the window's coordinates.
QPoint controlPoint(vlq::qt::SurveyOverlay& overlay, const std::string& name, bool margin) {
  for (const auto& element : vlq::toolkit::accessibilityElements(*overlay.uiWindow())) {
    if (element->accessibilityLabel() != name) continue;
    const vlq::toolkit::CGRect frame = element->accessibilityFrame();
    const QPoint inOverlay(static_cast<int>(margin ? frame.minX() + 4 : frame.midX()),
                           static_cast<int>(frame.midY()));
    return overlay.mapTo(overlay.window(), inOverlay);
  }
  return {-1, -1};
}

struct Figure {
  std::string name;
  double ms;
  double fill;
};

void measure(int width, int height, int runs, vlq::reference::ReferenceHost& host,
             std::vector<Figure>& figures) {
  ShopWindow window;
  auto* overlay = new vlq::qt::SurveyOverlay(&window);
  host.utilities()->setKeyWindow(overlay->uiWindow());
  window.resize(width, height);
  window.show();
  if (!QTest::qWaitForWindowExposed(&window))
    std::fprintf(stderr, "overlay_render_bench: no window\n");
  QWindow* screen = window.windowHandle();
  const std::string size = std::to_string(width) + "x" + std::to_string(height);

  QImage canvas(width, height, QImage::Format_ARGB32_Premultiplied);
  std::vector<double> fills;
  for (int run = 0; run < runs; ++run) {
    const double start = nowMs();
    canvas.fill(run % 2 ? 0xffffffffu : 0xfff8f9fau);
    fills.push_back(nowMs() - start);
  }
  const double fill = median(fills);

  std::vector<double> snapshots;
  for (int run = 0; run < runs; ++run) {
    const double start = nowMs();
    const QImage pixels = window.grab().toImage();
    snapshots.push_back(nowMs() - start);
  }

  std::vector<double> triggers;
  for (int run = 0; run < runs; ++run) {
    const double start = nowMs();
    host.raiseEvent(
        vlq::VLQEvent(vlq::plugin::kSurveyTriggerEventType, vlq::Json{{"id", "bench"}}));
    runUntil([&] { return overlay->isVisible(); });
    overlay->repaint();
    triggers.push_back(nowMs() - start);
    QTest::mouseClick(screen, Qt::LeftButton, {}, controlPoint(*overlay, "Not now", false));
    runUntil([&] { return !overlay->isVisible(); });
  }

  host.raiseEvent(vlq::VLQEvent(vlq::plugin::kSurveyTriggerEventType, vlq::Json{{"id", "bench"}}));
  runUntil([&] { return overlay->isVisible(); });
  QTest::mouseClick(screen, Qt::LeftButton, {}, controlPoint(*overlay, "Sure", false));
  runUntil([&] { return controlPoint(*overlay, "Hard", true).x() >= 0; });
  const QPoint choices[] = {controlPoint(*overlay, "Easy enough", true),
                            controlPoint(*overlay, "Hard", true)};
  std::vector<double> taps;
  for (int run = 0; run < runs; ++run) {
    const double start = nowMs();
    QTest::mouseClick(screen, Qt::LeftButton, {}, choices[run % 2]);
    overlay->repaint();
    taps.push_back(nowMs() - start);
  }
  // Closed from the first question: the plug-in takes triggers again for the next size.
  QTest::mouseClick(screen, Qt::LeftButton, {}, controlPoint(*overlay, "Close survey", false));
  runUntil([&] { return !overlay->isVisible(); });

  figures.push_back({"trigger-to-frame-" + size, median(triggers), fill});
  figures.push_back({"snapshot-" + size, median(snapshots), fill});
  figures.push_back({"tap-to-frame-" + size, median(taps), fill});
  figures.push_back({"fill-" + size, fill, fill});
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 30;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) == "--runs" && i + 1 < argc) {
      runs = std::max(1, std::atoi(argv[++i]));
    } else {
      std::fprintf(stderr, "usage: overlay_render_bench [--runs N]\n");
      return 2;
    }
  }
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  vlq::toolkit::NSBundle::registerBundle("com.velqo.VLQSurveyPlugin", VLQ_RESOURCES_DIR "/plugin");
  vlq::toolkit::NSBundle::setMainBundlePath(VLQ_RESOURCES_DIR "/app");

  QTemporaryDir library;
  const std::string config = library.filePath(QStringLiteral("survey.json")).toStdString();
  std::ofstream(config) << kSurvey;
  vlq::reference::ReferenceHostOptions options;
  options.libraryDirectory = library.path().toStdString();
  options.serviceAddress = "http://127.0.0.1:9";
  options.syncSource = config;
  const auto host = vlq::reference::ReferenceHost::create(options);
  host->install();
  const auto plugin = vlq::plugin::VLQSurveyPlugin::create();
  plugin->initialize({});
  if (!runUntil([&] { return !plugin->surveyConfig().is_null(); })) {
    std::fprintf(stderr, "overlay_render_bench: the host did not sync\n");
    return 1;
  }

  std::vector<Figure> figures;
  measure(1280, 800, runs, *host, figures);
  measure(1920, 1080, runs, *host, figures);
  for (const Figure& figure : figures) {
    std::printf("overlay-render %s ms=%.3f frame_ratio=%.3f fill_ratio=%.2f\n", figure.name.c_str(),
                figure.ms, figure.ms / kFrameMs, figure.ms / figure.fill);
  }
  host->shutdown();
  return 0;
}
