// Charts as SVG text: axes with labels and ticks, lines and bars. Follows the reader's light or
// dark colour scheme.
#ifndef ORVANE_TOOLS_DEMO_SVG_H_
#define ORVANE_TOOLS_DEMO_SVG_H_

#include <string>
#include <utility>
#include <vector>

namespace demo {

struct Axis {
  std::string label;  // with the unit
  double minimum, maximum;
  double tick;  // distance between ticks
};

// One chart: data coordinates within `x` and `y`, drawn into a box of the picture.
class Chart {
 public:
  // The box in pixels, without room for labels: kMarginX to its left, kMarginY below and above it.
  Chart(std::string title, double left, double top, double width, double height, Axis x, Axis y);

  void line(const std::vector<std::pair<double, double>>& points, const std::string& style);
  void bar(double x, double y, double pixels_aside, double pixels_wide, const std::string& style);

  // In data coordinates, centred; `y_pixels` moves it down.
  void text(double x, double y, double y_pixels, const std::string& words);

  // A name for a style, in the top right corner, one below the other.
  void legend(const std::string& words, const std::string& style);

  // For svg_write.
  const std::string& body() const { return body_; }

 private:
  double pixel_x(double x) const;
  double pixel_y(double y) const;
  void frame(const std::string& title);

  double left_, top_, width_, height_;
  Axis x_, y_;
  std::string body_;
  int legends_ = 0;
};

// Styles that `line` and `bar` take.
constexpr char kStyleLeft[] = "left";    // the left ear
constexpr char kStyleRight[] = "right";  // the right ear

// Writes a picture of `width` by `height` pixels. Throws render::Failure.
void svg_write(const std::string& path, double width, double height,
               const std::vector<Chart>& charts);

}  // namespace demo

#endif  // ORVANE_TOOLS_DEMO_SVG_H_
