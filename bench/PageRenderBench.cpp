// Times the survey page on the Qt backend at 3 pixels per point, as a phone shows it: one window
// and one renderer for the program's life. Prints, from one run, one line per figure:
//   page-render FIGURE ms=X frame_ratio=R floor_ratio=Q
// X is the median over the runs in milliseconds of the process's CPU time (all its threads, Qt's
// pool included; the machine may be busy with other work, which wall-clock time would count), R is
// X against a 120 Hz frame (8.33 ms) and
// Q is X against fill-floor measured in the same run. The figures, on the plug-in's own page (a
// configuration with one question of each kind, the single-choice question showing):
//   first-frame         the page built, laid out and painted over the plain screen before it
//   tap-to-frame        a choice tapped: hit test, selection, layout and the repaint
//   idle-layout         a layout pass asked for on the window when nothing changed
//   text-change         the question's title set to another text, laid out and repainted
//   text-change-layout  the same without the repaint
//   fill-floor          one fill of a window-sized image: the memory-bandwidth floor of a frame
// and on a synthetic page of about 45 of the toolkit's controls:
//   synthetic-first-frame   a new window with the page built, laid out and painted
//   synthetic-text-change   its step label set to another text, laid out and repainted
// `--runs N` sets how many runs each median takes; `--png PATH` also writes the plug-in's page.

#include <QImage>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include <vlq/qt/QtPlatform.h>
#include <vlq/qt/WindowRenderer.h>

#include "PluginSurveyPage.h"
#include "SyntheticPage.h"

namespace {

using namespace vlq::toolkit;

constexpr double kFrameMs = 1000.0 / 120.0;
// Layout passes timed together for one idle-layout sample: one alone is below the clock's grain.
constexpr int kIdlePassesPerSample = 1000;

// The CPU time the process has used, in milliseconds.
double cpuMs() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  return n % 2 == 1 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

// The median in milliseconds of `runs` timings of `timed`; `untimed` runs before each timing.
double medianMs(int runs, const std::function<void()>& timed,
                const std::function<void()>& untimed = {}) {
  std::vector<double> samples;
  samples.reserve(static_cast<std::size_t>(runs));
  for (int run = 0; run < runs; ++run) {
    if (untimed) untimed();
    const double start = cpuMs();
    timed();
    samples.push_back(cpuMs() - start);
  }
  return median(std::move(samples));
}

struct Figure {
  const char* name;
  double ms;
};

struct Options {
  int runs = 60;
  std::string png;
};

// Reads the options; false (and a message) when one is not understood.
bool parseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (i + 1 >= argc || (option != "--runs" && option != "--png")) {
      std::fprintf(stderr, "page-render: usage: page_render_bench [--runs N] [--png PATH]\n");
      return false;
    }
    const std::string value = argv[++i];
    if (option == "--png") {
      options.png = value;
    } else {
      options.runs = std::atoi(value.c_str());
      if (options.runs < 1) {
        std::fprintf(stderr, "page-render: --runs wants a positive count, not %s\n", value.c_str());
        return false;
      }
    }
  }
  return true;
}

// The figures of the plug-in's page; false when the page cannot be shown or written.
bool measurePluginPage(const Options& options, qt::WindowRenderer& renderer,
                       std::vector<Figure>& figures) {
  vlq::bench::PluginSurveyPhone phone(VLQ_RESOURCES_DIR);
  UIWindow& window = phone.window();
  const auto frame = [&] {
    window.layoutIfNeeded();
    return renderer.render(window);
  };

  figures.push_back({"first-frame", medianMs(
                                        options.runs,
                                        [&] {
                                          phone.open();
                                          frame();
                                        },
                                        [&] {
                                          phone.showPlainScreen();
                                          frame();
                                        })});
  phone.open();
  const QImage first = frame();
  if (!options.png.empty() && !first.save(QString::fromStdString(options.png), "PNG")) {
    std::fprintf(stderr, "page-render: could not write %s\n", options.png.c_str());
    return false;
  }

  const CGPoint rows[] = {phone.rowTapPoint(0), phone.rowTapPoint(1)};
  const auto label = phone.titleLabel();
  if (rows[0].x < 0 || rows[1].x < 0 || !label) {
    std::fprintf(stderr, "page-render: the survey page shows no choices or no title\n");
    return false;
  }
  int taps = 0;
  // The first tap also enables the large button; the timed ones only move the selection.
  window.tapAtPoint(rows[1]);
  frame();
  figures.push_back({"tap-to-frame", medianMs(options.runs, [&] {
                       window.tapAtPoint(rows[taps++ % 2]);
                       frame();
                     })});

  figures.push_back({"idle-layout", medianMs(options.runs, [&] {
                                      for (int pass = 0; pass < kIdlePassesPerSample; ++pass) {
                                        window.setNeedsLayout();
                                        window.layoutIfNeeded();
                                      }
                                    }) / kIdlePassesPerSample});

  const std::string titles[] = {"How easy was the checkout?", "How easy was checkout today?"};
  int changes = 0;
  figures.push_back({"text-change", medianMs(options.runs, [&] {
                       label->setText(titles[changes++ % 2]);
                       frame();
                     })});
  figures.push_back({"text-change-layout", medianMs(options.runs, [&] {
                       label->setText(titles[changes++ % 2]);
                       window.layoutIfNeeded();
                     })});
  frame();
  return true;
}

// The figures of the synthetic page; false when its images cannot be made.
bool measureSyntheticPage(const Options& options, qt::WindowRenderer& renderer,
                          std::vector<Figure>& figures) {
  const QTemporaryDir folder;
  const auto images = folder.isValid() ? vlq::bench::makeSyntheticImages(folder) : std::nullopt;
  if (!images) {
    std::fprintf(stderr, "page-render: could not make the synthetic page's images\n");
    return false;
  }
  const auto frame = [&](UIWindow& window) {
    window.layoutIfNeeded();
    return renderer.render(window);
  };
  figures.push_back({"synthetic-first-frame", medianMs(options.runs, [&] {
                       frame(*vlq::bench::buildSyntheticPage(*images).window);
                     })});

  const auto page = vlq::bench::buildSyntheticPage(*images);
  frame(*page.window);
  const std::string steps[] = {"Question 3 of 5", "Question 2 of 5"};
  int changes = 0;
  figures.push_back({"synthetic-text-change", medianMs(options.runs, [&] {
                       page.stepLabel->setText(steps[changes++ % 2]);
                       frame(*page.window);
                     })});
  return true;
}

// One fill of an image the size of the window's frames.
double measureFillFloor(int runs) {
  QImage image(1170, 2532, QImage::Format_ARGB32_Premultiplied);
  int fills = 0;
  return medianMs(runs, [&] { image.fill(fills++ % 2 ? 0xffffffffu : 0xfff8f9fau); });
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parseOptions(argc, argv, options)) return 2;
  qt::installQtPlatform();
  qt::WindowRenderer renderer(3);

  std::vector<Figure> figures;
  if (!measurePluginPage(options, renderer, figures)) return 1;
  const double floor = measureFillFloor(options.runs);
  figures.push_back({"fill-floor", floor});
  if (!measureSyntheticPage(options, renderer, figures)) return 1;

  for (const Figure& figure : figures) {
    std::printf("page-render %s ms=%.4f frame_ratio=%.4f floor_ratio=%.3f\n", figure.name,
                figure.ms, figure.ms / kFrameMs, figure.ms / floor);
  }
  return 0;
}
