#pragma once

#include <any>

#include <vlq/Export.h>

namespace vlq {

// What the host SDK calls on every plug-in it loads.
class VLQ_API VelqoPlugin {
 public:
  virtual ~VelqoPlugin() = default;

  // Called once after the plug-in is created; the argument is the host's and may be ignored.
  virtual void initialize(const std::any& object) = 0;
  virtual bool start() = 0;
  virtual bool stop() = 0;
};

}  // namespace vlq
