// The C++ half of bench/solver-vs-kiwi. For each layout system it writes the system's text form
// for bench/kiwi_timing.py and times this solver on it: building (variables, constraints, edit
// variables, first suggestion, update) and one resize (two suggestions and an update). The timing
// loops are the same as the Python side's: the median of repeated runs.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "LayoutSystems.h"

namespace vlq::bench {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> samples) {
  std::sort(samples.begin(), samples.end());
  return samples[samples.size() / 2];
}

// Repeats the measurement until it has run for a quarter of a second and at least five times.
template <class Measure>
double medianMicroseconds(Measure measure) {
  std::vector<double> samples;
  const Clock::time_point start = Clock::now();
  while (samples.size() < 5 || secondsSince(start) < 0.25)
    samples.push_back(measure() * 1e6);
  return median(samples);
}

double timeBuild(const LayoutSystem& system) {
  return medianMicroseconds([&system] {
    SolvedSystem solved;
    const Clock::time_point start = Clock::now();
    build(system, solved);
    return secondsSince(start);
  });
}

// The time of one resize, from batches of resizes long enough to time.
double timeResize(SolvedSystem& solved) {
  int cycles = 1;
  for (;;) {
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < cycles; ++i) {
      resize(solved, i % 2 == 0 ? kResizedWidth : kScreenWidth,
             i % 2 == 0 ? kResizedHeight : kScreenHeight);
    }
    if (secondsSince(start) > 0.01) break;
    cycles *= 2;
  }
  return medianMicroseconds([&solved, cycles] {
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < cycles; ++i) {
      resize(solved, i % 2 == 0 ? kResizedWidth : kScreenWidth,
             i % 2 == 0 ? kResizedHeight : kScreenHeight);
    }
    return secondsSince(start) / cycles;
  });
}

void writeValues(std::ofstream& out, const char* label, const SolvedSystem& solved) {
  out << label;
  char number[32];
  for (const layout::Variable& variable : solved.variables) {
    std::snprintf(number, sizeof number, " %.17g", variable.value());
    out << number;
  }
  out << "\n";
}

}  // namespace
}  // namespace vlq::bench

int main(int argc, char** argv) {
  using namespace vlq::bench;
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s OUTPUT_DIRECTORY\n", argv[0]);
    return 2;
  }
  const std::string directory = argv[1];
  std::vector<LayoutSystem> systems;
  systems.push_back(formSystem());
  for (int views : {10, 100, 1000})
    systems.push_back(chainSystem(views));
  for (int views : {10, 100, 1000})
    systems.push_back(gridSystem(views));

  std::ofstream cases(directory + "/cases");
  for (const LayoutSystem& system : systems) {
    cases << system.name << "\n";
    std::ofstream description(directory + "/" + system.name + ".system");
    writeSystem(system, description);

    SolvedSystem solved;
    if (!build(system, solved)) {
      std::fprintf(stderr, "solver_vs_kiwi: the solver refused part of %s\n", system.name.c_str());
      return 1;
    }
    std::ofstream results(directory + "/" + system.name + ".ours");
    writeValues(results, "values_built", solved);
    resize(solved, kResizedWidth, kResizedHeight);
    writeValues(results, "values_resized", solved);
    results << "build_us " << timeBuild(system) << "\n";
    results << "resize_us " << timeResize(solved) << "\n";
  }
  return 0;
}
