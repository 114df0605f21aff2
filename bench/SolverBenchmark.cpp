// Google Benchmark program for the layout solver: building a survey form and resizing it, and
// chains and grids of 10, 100 and 1000 views to show how the cost grows with the number of views.
#include <benchmark/benchmark.h>

#include "LayoutSystems.h"

namespace vlq::bench {
namespace {

void reportSize(benchmark::State& state, const LayoutSystem& system) {
  state.counters["variables"] = system.variableCount;
  state.counters["constraints"] = static_cast<double>(system.constraints.size());
}

// Everything a layout costs from scratch: variables, constraints, edit variables, the first
// suggestion of the screen size and the update.
void buildSystem(benchmark::State& state, const LayoutSystem& system) {
  SolvedSystem solved;
  for (auto _ : state) {
    if (!build(system, solved)) state.SkipWithError("the solver refused a constraint");
    benchmark::DoNotOptimize(solved.variables.front().value());
  }
  reportSize(state, system);
}

// One resize of a built layout: suggest width, suggest height, update.
void resizeSystem(benchmark::State& state, const LayoutSystem& system) {
  SolvedSystem solved;
  if (!build(system, solved)) state.SkipWithError("the solver refused a constraint");
  bool resized = false;
  for (auto _ : state) {
    resized = !resized;
    resize(solved, resized ? kResizedWidth : kScreenWidth,
           resized ? kResizedHeight : kScreenHeight);
    benchmark::DoNotOptimize(solved.variables.front().value());
  }
  reportSize(state, system);
}

void BM_FormBuild(benchmark::State& state) {
  buildSystem(state, formSystem());
}
void BM_FormResize(benchmark::State& state) {
  resizeSystem(state, formSystem());
}
void BM_ChainBuild(benchmark::State& state) {
  buildSystem(state, chainSystem(static_cast<int>(state.range(0))));
}
void BM_ChainResize(benchmark::State& state) {
  resizeSystem(state, chainSystem(static_cast<int>(state.range(0))));
}
void BM_GridBuild(benchmark::State& state) {
  buildSystem(state, gridSystem(static_cast<int>(state.range(0))));
}
void BM_GridResize(benchmark::State& state) {
  resizeSystem(state, gridSystem(static_cast<int>(state.range(0))));
}

BENCHMARK(BM_FormBuild)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FormResize)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ChainBuild)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ChainResize)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GridBuild)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_GridResize)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vlq::bench

BENCHMARK_MAIN();
