#pragma once

// What a view draws with. The backend that renders windows walks the tree and draws each layer
// itself (background, corners, border, shadow, clipping, opacity, stacking); a view draws only its
// own content (text, an image, a bar) through this interface, in its bounds' coordinates.

#include <string_view>

#include <vlq/Export.h>
#include <vlq/toolkit/Geometry.h>
#include <vlq/toolkit/UIColor.h>
#include <vlq/toolkit/UIFont.h>

namespace vlq::toolkit {

class UIImage;
enum class UIViewContentMode;

enum class NSTextAlignment { Left = 0, Center = 1, Right = 2, Justified = 3, Natural = 4 };

enum class NSLineBreakMode {
  ByWordWrapping = 0,
  ByCharWrapping = 1,
  ByClipping = 2,
  ByTruncatingHead = 3,
  ByTruncatingTail = 4,
  ByTruncatingMiddle = 5,
};

class VLQ_API DrawingContext {
 public:
  virtual ~DrawingContext() = default;

  virtual void fillRect(CGRect rect, UIColor color, double cornerRadius) = 0;
  // A line of `lineWidth` along the inside of `rect`.
  virtual void strokeRect(CGRect rect, UIColor color, double lineWidth, double cornerRadius) = 0;
  // `image` placed in `rect` as `mode` says (scaled to fill, aspect-fit, ...).
  virtual void drawImage(const UIImage& image, CGRect rect, UIViewContentMode mode) = 0;
  // Text in `rect`: at most `numberOfLines` lines (0: as many as fit), broken and truncated as
  // `lineBreakMode` says, aligned horizontally as `alignment` says and centred vertically.
  virtual void drawText(std::string_view text, CGRect rect, const UIFont& font, UIColor color,
                        NSTextAlignment alignment, NSLineBreakMode lineBreakMode,
                        int numberOfLines) = 0;
};

}  // namespace vlq::toolkit
