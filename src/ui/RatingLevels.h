#pragma once

// The look of each rating level, from the lowest (0) to the highest (4). Levels 0 and 1 share
// the red selected background, and levels 2 to 4 share both images, so that unselected the three
// top buttons look alike and selected they differ by colour alone.

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include <vlq/host/VLQSurveyConstants.h>
#include <vlq/toolkit/UIColor.h>

namespace vlq::ui {

struct RatingLevelLook {
  std::string_view unselectedImage;
  std::string_view selectedImage;
  toolkit::UIColor selectedBackground;
};

// The unselected image of the top three levels; the survey page's "veryGood.png" is another file.
inline constexpr std::string_view kRatingVeryGoodImage = "verygood.png";

inline constexpr std::array<RatingLevelLook, 5> kRatingLevelLooks{{
    {kPoorImageString, kSmileyPoorImageString, toolkit::UIColor::redColor()},
    {kOkImageString, kSmileyAverageImageString, toolkit::UIColor::redColor()},
    {kRatingVeryGoodImage, kSmileyGoodImageString, toolkit::UIColor::orangeColor()},
    {kRatingVeryGoodImage, kSmileyGoodImageString, toolkit::UIColor::greenColor()},
    {kRatingVeryGoodImage, kSmileyGoodImageString, toolkit::UIColor::blueColor()},
}};

// The look of `level`, or none for a level outside 0 to 4.
inline std::optional<RatingLevelLook> ratingLevelLook(std::uint64_t level) {
  if (level >= kRatingLevelLooks.size()) return std::nullopt;
  return kRatingLevelLooks[level];
}

}  // namespace vlq::ui
