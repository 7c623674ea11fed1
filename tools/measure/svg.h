// Charts as SVG text: axes with labels and ticks, lines, dots and bars. Follows the reader's light
// or dark colour scheme.
#ifndef ORVANE_TOOLS_MEASURE_SVG_H_
#define ORVANE_TOOLS_MEASURE_SVG_H_

#include <string>
#include <vector>

#include "tools/measure/curve.h"

namespace measure {

struct Axis {
  std::string label;  // with the unit
  double minimum, maximum;
  double tick;               // distance between ticks; 0 for none
  bool logarithmic = false;  // ticks at 1, 2 and 5 times the powers of ten instead
};

// One chart: data coordinates within `x` and `y`, drawn into a box of the picture.
class Chart {
 public:
  // The box in pixels, without room for labels: about 60 to its left and above it, 50 below.
  Chart(std::string title, double left, double top, double width, double height, Axis x, Axis y);

  void line(const Curve& points, const std::string& style);
  void dot(double x, double y, const std::string& style);
  void bar(double x, double y, double pixels_aside, double pixels_wide, const std::string& style);

  // In data coordinates, centred; `y_pixels` moves it down.
  void text(double x, double y, double y_pixels, const std::string& words);

  // A name for a style, above the box, one beside the other.
  void legend(const std::string& words, const std::string& style);

  // For svg_picture.
  const std::string& body() const { return body_; }

 private:
  double pixel_x(double x) const;
  double pixel_y(double y) const;
  void frame(const std::string& title);

  double left_, top_, width_, height_;
  Axis x_, y_;
  std::string body_;
  double legend_left_;  // where the next legend begins, in pixels
};

// Styles that `line`, `dot` and, the first two, `bar` take.
constexpr char kStyleLeft[] = "left";            // the left ear, or the first of several
constexpr char kStyleRight[] = "right";          // the right ear, or the second
constexpr char kStyleThird[] = "third";          // the third
constexpr char kStyleLimit[] = "limit";          // what a figure must not cross
constexpr char kStyleReference[] = "reference";  // what a figure is compared with
constexpr char kStyleFaint[] = "faint";          // one of many

// The rules for those styles as an SVG or HTML element. A page needs it once.
std::string svg_style();

// A picture of `width` by `height` pixels as an element, to be used with svg_style.
std::string svg_picture(double width, double height, const std::vector<Chart>& charts);

// Writes such a picture, with its style, to a file. Throws render::Failure.
void svg_write(const std::string& path, double width, double height,
               const std::vector<Chart>& charts);

}  // namespace measure

#endif  // ORVANE_TOOLS_MEASURE_SVG_H_
