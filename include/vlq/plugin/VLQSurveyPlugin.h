#pragma once

// The plug-in object that the host SDK loads. It asks the host for the survey data, keeps the
// configuration document, listens for the survey trigger, finds the survey that a trigger names,
// shows the invitation card over a blur on the key window after the survey's delay, puts the
// survey page on the window when the user accepts, and gives the application's screen back when
// the survey ends.
//
// Threads: onEvent runs on the host's event thread and waits once for the main queue (to fetch the
// key window); the delayed step runs on a host thread and only posts to the main queue; all view
// work runs on the main queue. Of several triggers that arrive while the plug-in is idle, however
// they arrive, exactly one starts a look-up; the others are kept as the last trigger and start
// nothing.
//
// No exception leaves an entry point: a step that fails ends quietly, as the plug-in's other
// failed steps do.
//
// A host may install a diagnostics listener (VLQDiagnosticsListener.h) that hears every decision a
// trigger leads to; with none installed nothing is reported and nothing else changes.

#include <any>
#include <cstdint>
#include <memory>

#include <vlq/Export.h>
#include <vlq/host/JsonValue.h>
#include <vlq/host/SurveyProtocol.h>
#include <vlq/host/VLQAppearance.h>
#include <vlq/host/VLQDiagnosticsListener.h>
#include <vlq/host/VLQEvent.h>
#include <vlq/host/VLQEventListener.h>
#include <vlq/host/VelqoPlugin.h>
#include <vlq/toolkit/NSObject.h>

namespace vlq::plugin {

// The host event type that triggers a survey; its "id" names the survey.
inline constexpr std::int64_t kSurveyTriggerEventType = 15;

class VLQSurveyPluginImpl;

class VLQ_API VLQSurveyPlugin : public toolkit::NSObject,
                                public VelqoPlugin,
                                public VLQEventListener,
                                public SurveyProtocol {
 public:
  // The plug-in, owned by a shared_ptr: the host, the card and the survey page hold it.
  static std::shared_ptr<VLQSurveyPlugin> create();

  // VelqoPlugin. initialize touches the context evaluator, asks the host to sync "surveys" for
  // version "118" and writes the initialisation line; when the sync completes, the plug-in
  // registers for the trigger and reads the configuration file from the Library directory (if it
  // exists). start and stop return true and false and do nothing else.
  //
  // VLQEventListener. onEvent takes the survey trigger, on the host's event thread (never the main
  // thread). The event is kept even while a survey is in action; only when the plug-in is idle
  // does it look the survey up and schedule its invitation.
  //
  // SurveyProtocol. willShowSurvey (main queue) puts the survey page on the window; it is what the
  // invitation's accept button calls. willDismissSurvey (any thread) queues the hand-back of the
  // application's screen on the main queue.

  // Installs the listener that hears the trigger's decisions (null removes it). Any thread; a
  // decision under way when it changes may still reach the listener it replaces.
  virtual void setDiagnosticsListener(std::shared_ptr<VLQDiagnosticsListener> listener) = 0;

  // The look of the surveys that show from now on: colour scheme, text scale and locale. A survey
  // already on screen keeps the look it opened with. Any thread; the default is the plug-in's own
  // light, English, left-to-right look at scale 1.0.
  virtual void setAppearance(const VLQAppearance& appearance) = 0;
  virtual VLQAppearance appearance() const = 0;

  // Whether a trigger is being handled: from the trigger that started a look-up until the screen
  // is given back. Any thread.
  virtual bool isSurveyInAction() const = 0;
  // The configuration document read after the last completed sync (null before any). Any thread.
  virtual Json surveyConfig() const = 0;

 private:
  // Only the plug-in's own implementation derives from this class.
  friend class VLQSurveyPluginImpl;
  VLQSurveyPlugin() = default;
};

}  // namespace vlq::plugin
