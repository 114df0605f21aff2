#pragma once

#include <string_view>

#include "lint/LintReport.h"

namespace vlq::lint {

// Reads `text` as the plug-in reads its configuration file, with the plug-in's own records and
// rules, and reports what the plug-in will do with every entry, question and choice.
LintReport lintConfiguration(std::string_view text);

}  // namespace vlq::lint
