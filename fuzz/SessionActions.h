#pragma once

// A survey session played from a fuzz target's input: the plug-in on a phone-sized window of the
// headless toolkit, the virtual main loop and a recording host, driven by actions read one byte
// at a time.
//
//   byte % 19  action                         arguments
//   0          trigger (type 15)              a byte: the "_id" of that entry, or 255 and a text
//   1          event of another type          a byte: the type
//   2          time passes                    a byte: eighths of a second (255: a day)
//   3, 4       tap yes, tap no                the front-most invitation's buttons
//   5, 6, 7    tap cancel, skip, submit       the survey page's buttons
//   8          tap a row on its margin        a byte: the row
//   9          rate                           a byte: the level, modulo 5
//   10         touch the Other field
//   11, 12     type keys, paste               a text
//   13         Return
//   14         backspace                      a byte: how many
//   15         answer the oldest post         a byte: 0-127 200, 128-253 the status in two more
//                                             bytes, 254 any 64-bit status, 255 an error
//   16         tap a point of the window      two bytes: x and y, in units of 2 points
//   17         the keyboard shows or hides    a byte: its height in points (0: hides)
//   18         a key of keyboard navigation   a byte modulo 4: tab, shift-tab, press, escape

#include <cstdint>
#include <memory>

#include <vlq/host/JsonValue.h>

#include "FuzzInput.h"

namespace vlq::toolkit {
class UIWindow;
class UIView;
class VirtualRunLoop;
}  // namespace vlq::toolkit

namespace vlq::plugin {
class VLQSurveyPlugin;
}

namespace vlq::test {
class RecordingHost;
}

namespace vlq::fuzz {

class SessionActions {
 public:
  // Installs a host, utilities that read `document` as the configuration, a key window and the
  // plug-in, and completes the plug-in's sync.
  explicit SessionActions(Json document);
  // Lets go of everything the session made, so that the fuzzer's leak check sees what is left.
  ~SessionActions();
  SessionActions(const SessionActions&) = delete;
  SessionActions& operator=(const SessionActions&) = delete;

  // Reads one action and its arguments from `input` and performs it.
  void perform(FuzzInput& input);
  // Aborts unless the survey page on screen, if any, keeps its invariants, and unless every body
  // posted since the last call is a JSON object with its keys in the body's order.
  void checkInvariants();

 private:
  void settle();
  void trigger(std::int64_t type, Json info);
  void tap(const std::shared_ptr<toolkit::UIView>& view);
  void answerPost(FuzzInput& input);

  Json document_;
  std::shared_ptr<toolkit::VirtualRunLoop> loop_;
  std::shared_ptr<test::RecordingHost> host_;
  std::shared_ptr<toolkit::UIWindow> window_;
  std::shared_ptr<plugin::VLQSurveyPlugin> plugin_;
  std::size_t postsChecked_ = 0;
};

}  // namespace vlq::fuzz
