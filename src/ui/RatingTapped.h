#pragma once

// What a rating row tells its delegate: the level (0, the lowest, to 4) that the user pressed.
// The method is optional: an object that does not override it, or that does not take part in
// the protocol at all, receives nothing.

#include <cstdint>

namespace vlq::ui {

class RatingTapped {
 public:
  virtual ~RatingTapped() = default;
  virtual void didRatingTapped(std::uint64_t /*level*/) {}

 protected:
  RatingTapped() = default;
  RatingTapped(const RatingTapped&) = default;
  RatingTapped& operator=(const RatingTapped&) = default;
};

}  // namespace vlq::ui
