#pragma once

#include <vlq/Export.h>

namespace vlq {

// What the invitation card and the survey page call on the plug-in that shows them.
class VLQ_API SurveyProtocol {
 public:
  virtual ~SurveyProtocol() = default;

  // Puts the survey page on the key window.
  virtual void willShowSurvey() = 0;
  // Gives the screen back to the application and makes the plug-in idle again.
  virtual void willDismissSurvey() = 0;
};

}  // namespace vlq
