#pragma once

// The framework's version symbols.

namespace vlq {

inline constexpr double VLQSurveyPluginVersionNumber = 1.0;
inline constexpr char VLQSurveyPluginVersionString[] =
    "@(#)PROGRAM:VLQSurveyPlugin  PROJECT:VLQSurveyPlugin-1\n";

}  // namespace vlq
