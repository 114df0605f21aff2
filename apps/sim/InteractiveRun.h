#pragma once

// The simulator in a phone-sized window on the screen, in real time: without a script a person
// takes the survey with the mouse and keyboard; with one, its actions play one after another.

#include <vector>

#include "sim/Output.h"
#include "sim/Script.h"
#include "sim/Simulator.h"

namespace vlq::sim {

int runInWindow(const SimulatorOptions& options, const std::vector<ScriptLine>& script,
                Output& output);

}  // namespace vlq::sim
