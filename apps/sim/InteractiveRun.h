#pragma once

// The simulator in a phone-sized window on the screen, in real time: a script's actions play one
// after another; without a script the configuration's first survey is triggered. Either way a
// person can go on with the mouse and keyboard.

#include <vector>

#include "sim/Output.h"
#include "sim/Script.h"
#include "sim/Simulator.h"

namespace vlq::sim {

int runInWindow(const SimulatorOptions& options, const std::vector<ScriptLine>& script,
                Output& output);

}  // namespace vlq::sim
