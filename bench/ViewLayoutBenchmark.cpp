// Google Benchmark program for the toolkit's layout passes on plain views, headless: grids and
// chains of 10, 100 and 1000 views built with anchors and laid out in one window, to show how the
// cost of a first layout grows with the number of views; and the pass that follows a resize.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include <vlq/toolkit/UIWindow.h>

namespace vlq::bench {
namespace {

using namespace toolkit;

// A view with a content height, as a one-line label has.
class Tile : public UIView {
 public:
  CGSize intrinsicContentSize() const override { return {UIViewNoIntrinsicMetric, 44}; }
};

std::shared_ptr<Tile> addTile(UIView& parent) {
  auto tile = std::make_shared<Tile>();
  tile->setTranslatesAutoresizingMaskIntoConstraints(false);
  parent.addSubview(tile);
  tile->heightAnchor().constraintGreaterThanOrEqualToConstant(20)->setActive(true);
  return tile;
}

// Views in rows of ceil(sqrt(count)): each right of its neighbour and below the view above it,
// the first row with equal widths across the window.
void buildGrid(UIView& root, int count) {
  const int columns = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
  std::vector<std::shared_ptr<Tile>> placed;
  placed.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    const int row = i / columns;
    const int column = i % columns;
    auto tile = addTile(root);
    if (column == 0) {
      tile->leadingAnchor().constraintEqualToAnchor(root.leadingAnchor(), 8)->setActive(true);
    } else {
      const auto& left = placed[static_cast<std::size_t>(i - 1)];
      tile->leadingAnchor().constraintEqualToAnchor(left->trailingAnchor(), 8)->setActive(true);
    }
    if (row == 0) {
      tile->topAnchor().constraintEqualToAnchor(root.topAnchor(), 8)->setActive(true);
      if (column > 0) {
        tile->widthAnchor().constraintEqualToAnchor(placed[0]->widthAnchor())->setActive(true);
      }
      if (column == columns - 1) {
        tile->trailingAnchor().constraintEqualToAnchor(root.trailingAnchor(), -8)->setActive(true);
      }
    } else {
      const auto& up = placed[static_cast<std::size_t>(i - columns)];
      tile->topAnchor().constraintEqualToAnchor(up->bottomAnchor(), 8)->setActive(true);
      tile->widthAnchor().constraintEqualToAnchor(up->widthAnchor())->setActive(true);
    }
    placed.push_back(std::move(tile));
  }
}

// Views stacked top to bottom, each below the previous one and pinned to the window's sides.
void buildChain(UIView& root, int count) {
  std::shared_ptr<Tile> previous;
  for (int i = 0; i < count; ++i) {
    auto tile = addTile(root);
    if (previous) {
      tile->topAnchor().constraintEqualToAnchor(previous->bottomAnchor(), 8)->setActive(true);
    } else {
      tile->topAnchor().constraintEqualToAnchor(root.topAnchor(), 8)->setActive(true);
    }
    tile->leadingAnchor().constraintEqualToAnchor(root.leadingAnchor(), 16)->setActive(true);
    tile->trailingAnchor().constraintEqualToAnchor(root.trailingAnchor(), -16)->setActive(true);
    previous = std::move(tile);
  }
}

using Builder = void (*)(UIView&, int);

// Everything a first layout costs: the window, the views, their constraints and the pass.
void buildAndLayOut(benchmark::State& state, Builder builder) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
    builder(*window, count);
    window->layoutIfNeeded();
    benchmark::DoNotOptimize(window->subviews().back()->frame());
    state.PauseTiming();
    window.reset();
    state.ResumeTiming();
  }
  state.counters["views"] = count;
}

// The pass after the window changed its width.
void resizeAndLayOut(benchmark::State& state, Builder builder) {
  auto window = std::make_shared<UIWindow>(CGRectMake(0, 0, 390, 844));
  builder(*window, static_cast<int>(state.range(0)));
  window->layoutIfNeeded();
  bool wide = false;
  for (auto _ : state) {
    wide = !wide;
    window->setFrame(CGRectMake(0, 0, wide ? 430 : 390, 844));
    window->layoutIfNeeded();
    benchmark::DoNotOptimize(window->subviews().back()->frame());
  }
  state.counters["views"] = static_cast<double>(state.range(0));
}

void BM_ViewGridBuild(benchmark::State& state) {
  buildAndLayOut(state, buildGrid);
}
void BM_ViewChainBuild(benchmark::State& state) {
  buildAndLayOut(state, buildChain);
}
void BM_ViewGridResize(benchmark::State& state) {
  resizeAndLayOut(state, buildGrid);
}

BENCHMARK(BM_ViewGridBuild)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ViewChainBuild)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ViewGridResize)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vlq::bench

BENCHMARK_MAIN();
