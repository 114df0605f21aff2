#pragma once

#include <vlq/Export.h>
#include <vlq/host/TriggerTrace.h>

namespace vlq {

// Hears every decision that the plug-in takes about a survey trigger, once a host installs it on
// the plug-in (VLQSurveyPlugin::setDiagnosticsListener). Without one, nothing is reported.
//
// Threads: Ignored, Busy, NoWindow, NoMatch, NoUi and Scheduled come on the host's event thread
// (while onEvent runs); Invitation and Direct on the thread that runs the host's delayed blocks;
// Dismissed on the main queue. Calls may overlap, so an implementation is thread-safe. It should
// return quickly and must not wait for the main queue: the plug-in waits for it, on the main queue
// too. An exception it throws is swallowed by the plug-in.
class VLQ_API VLQDiagnosticsListener {
 public:
  virtual ~VLQDiagnosticsListener() = default;

  virtual void triggerTraced(const TriggerTrace& trace) = 0;
};

}  // namespace vlq
