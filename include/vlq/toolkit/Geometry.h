#pragma once

// Points, sizes and rectangles in points, with the platform's names and rules (a rectangle's
// origin is its top-left corner; y grows downwards).

#include <algorithm>

#include <vlq/Export.h>

namespace vlq::toolkit {

struct CGPoint {
  double x = 0;
  double y = 0;
  friend bool operator==(const CGPoint&, const CGPoint&) = default;
};

struct CGSize {
  double width = 0;
  double height = 0;
  friend bool operator==(const CGSize&, const CGSize&) = default;
};

struct VLQ_API CGRect {
  CGPoint origin;
  CGSize size;
  friend bool operator==(const CGRect&, const CGRect&) = default;

  double minX() const { return std::min(origin.x, origin.x + size.width); }
  double minY() const { return std::min(origin.y, origin.y + size.height); }
  double maxX() const { return std::max(origin.x, origin.x + size.width); }
  double maxY() const { return std::max(origin.y, origin.y + size.height); }
  double midX() const { return origin.x + size.width / 2; }
  double midY() const { return origin.y + size.height / 2; }
  double width() const { return size.width < 0 ? -size.width : size.width; }
  double height() const { return size.height < 0 ? -size.height : size.height; }
  bool isEmpty() const { return size.width == 0 || size.height == 0; }

  // Inclusive of the top and left edges, exclusive of the bottom and right ones.
  bool contains(CGPoint point) const {
    return point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
  }
  CGRect offsetBy(double dx, double dy) const { return {{origin.x + dx, origin.y + dy}, size}; }
};

inline constexpr CGRect CGRectZero{};

inline CGRect CGRectMake(double x, double y, double width, double height) {
  return {{x, y}, {width, height}};
}

struct UIEdgeInsets {
  double top = 0;
  double left = 0;
  double bottom = 0;
  double right = 0;
  friend bool operator==(const UIEdgeInsets&, const UIEdgeInsets&) = default;
};

}  // namespace vlq::toolkit
