#include "tools/measure/svg.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>

#include "tools/render/failure.h"
#include "tools/render/text.h"

namespace measure {
namespace {

using render::text_format;

// Hues that colour-blind readers tell apart, for either scheme. No CSS variables: many converters
// do not know them.
constexpr char kStyle[] = R"(<style>
  svg { font: 13px sans-serif; }
  .title { font-size: 15px; font-weight: bold; }
  .middle { text-anchor: middle; } .end { text-anchor: end; }
  path { fill: none; stroke-width: 2; stroke-linejoin: round; }
  line.left, line.right, line.third, line.limit, line.reference { stroke-width: 2; }
  .limit { stroke-dasharray: 7 4; } .reference { stroke-dasharray: 2 3; }
  path.faint { stroke-width: 0.8; }
  .paper { fill: #fff; } text { fill: #222; }
  .grid { stroke: #ddd; } .zero { stroke: #222; }
  rect.left, circle.left { fill: #0067b0; } path.left, line.left { stroke: #0067b0; }
  rect.right, circle.right { fill: #c65a00; } path.right, line.right { stroke: #c65a00; }
  circle.third { fill: #00795a; } path.third, line.third { stroke: #00795a; }
  circle.limit { fill: #b3002d; } path.limit, line.limit { stroke: #b3002d; }
  circle.reference { fill: #555; } path.reference, line.reference { stroke: #555; }
  circle.faint { fill: #999; } path.faint, line.faint { stroke: #999; }
  @media (prefers-color-scheme: dark) {
    .paper { fill: #16181c; } text { fill: #e4e4e4; }
    .grid { stroke: #3a3d44; } .zero { stroke: #e4e4e4; }
    rect.left, circle.left { fill: #5cb3f5; } path.left, line.left { stroke: #5cb3f5; }
    rect.right, circle.right { fill: #f5a04c; } path.right, line.right { stroke: #f5a04c; }
    circle.third { fill: #3fd0a4; } path.third, line.third { stroke: #3fd0a4; }
    circle.limit { fill: #ff7b93; } path.limit, line.limit { stroke: #ff7b93; }
    circle.reference { fill: #bbb; } path.reference, line.reference { stroke: #bbb; }
    circle.faint { fill: #777; } path.faint, line.faint { stroke: #777; }
  }
</style>
)";

constexpr double kLegendLine = 26.0, kLegendLetter = 7.6, kLegendGap = 20.0;  // pixels

std::string text_at(double x, double y, const char* style, const std::string& words) {
  return text_format("<text x=\"%.1f\" y=\"%.1f\" class=\"%s\">", x, y, style) + words +
         "</text>\n";
}

std::string line_at(double x1, double y1, double x2, double y2, const std::string& style) {
  return text_format("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" class=\"%s\"/>\n", x1,
                     y1, x2, y2, style.c_str());
}

std::vector<double> ticks(const Axis& axis) {
  std::vector<double> values;
  if (axis.logarithmic) {
    for (double decade = std::pow(10.0, std::floor(std::log10(axis.minimum)));
         decade <= axis.maximum; decade *= 10.0) {
      for (const double value : {decade, 2.0 * decade, 5.0 * decade}) {
        if (value >= axis.minimum && value <= axis.maximum) values.push_back(value);
      }
    }
  } else if (axis.tick > 0.0) {
    const int count = static_cast<int>((axis.maximum - axis.minimum) / axis.tick + 0.5);
    for (int i = 0; i <= count; ++i) values.push_back(axis.minimum + i * axis.tick);
  }
  return values;
}

// 0 at the start of the axis, 1 at its end.
double position(const Axis& axis, double value) {
  if (axis.logarithmic) {
    return std::log(value / axis.minimum) / std::log(axis.maximum / axis.minimum);
  }
  return (value - axis.minimum) / (axis.maximum - axis.minimum);
}

}  // namespace

Chart::Chart(std::string title, double left, double top, double width, double height, Axis x,
             Axis y)
    : left_(left),
      top_(top),
      width_(width),
      height_(height),
      x_(std::move(x)),
      y_(std::move(y)),
      legend_left_(left) {
  frame(title);
}

double Chart::pixel_x(double x) const { return left_ + width_ * position(x_, x); }

double Chart::pixel_y(double y) const {
  return top_ + height_ * (1.0 - std::clamp(position(y_, y), 0.0, 1.0));
}

void Chart::frame(const std::string& title) {
  const double bottom = top_ + height_;
  for (const double value : ticks(y_)) {
    const double y = pixel_y(value);
    body_ += line_at(left_, y, left_ + width_, y, value == 0.0 ? "zero" : "grid");
    body_ += text_at(left_ - 8.0, y + 4.5, "end", text_format("%g", value));
  }
  for (const double value : ticks(x_)) {
    body_ += line_at(pixel_x(value), top_, pixel_x(value), bottom, "grid");
    body_ += text_at(pixel_x(value), bottom + 18.0, "middle", text_format("%g", value));
  }
  body_ += text_at(left_ - 44.0, top_ - 32.0, "title", title);
  body_ += text_at(left_ + 0.5 * width_, bottom + 38.0, "middle", x_.label);
  body_ += text_format("<g transform=\"translate(%.1f %.1f) rotate(-90)\">", left_ - 54.0,
                       top_ + 0.5 * height_) +
           text_at(0.0, 0.0, "middle", y_.label) + "</g>\n";
}

void Chart::line(const Curve& points, const std::string& style) {
  body_ += "<path class=\"" + style + "\" d=\"";
  const char* command = "M";
  for (const auto& [x, y] : points) {
    body_ += text_format("%s%.1f %.1f", command, pixel_x(x), pixel_y(y));
    command = "L";
  }
  body_ += "\"/>\n";
}

void Chart::dot(double x, double y, const std::string& style) {
  body_ += text_format("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3\" class=\"%s\"/>\n", pixel_x(x),
                       pixel_y(y), style.c_str());
}

void Chart::bar(double x, double y, double pixels_aside, double pixels_wide,
                const std::string& style) {
  const double top = std::min(pixel_y(y), pixel_y(0.0));
  body_ +=
      text_format("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" class=\"%s\"/>\n",
                  pixel_x(x) + pixels_aside - 0.5 * pixels_wide, top, pixels_wide,
                  std::fabs(pixel_y(y) - pixel_y(0.0)), style.c_str());
}

void Chart::text(double x, double y, double y_pixels, const std::string& words) {
  body_ += text_at(pixel_x(x), pixel_y(y) + y_pixels, "middle", words);
}

void Chart::legend(const std::string& words, const std::string& style) {
  const double y = top_ - 10.0;
  body_ += line_at(legend_left_, y - 4.5, legend_left_ + kLegendLine, y - 4.5, style);
  body_ += text_at(legend_left_ + kLegendLine + 6.0, y, "", words);
  legend_left_ += kLegendLine + kLegendGap + kLegendLetter * static_cast<double>(words.size());
}

std::string svg_style() { return kStyle; }

std::string svg_picture(double width, double height, const std::vector<Chart>& charts) {
  std::string picture =
      text_format("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\">\n", width,
                  height) +
      "<rect width=\"100%\" height=\"100%\" class=\"paper\"/>\n";
  for (const Chart& chart : charts) picture += chart.body();
  return picture + "</svg>\n";
}

void svg_write(const std::string& path, double width, double height,
               const std::vector<Chart>& charts) {
  std::string picture = svg_picture(width, height, charts);
  picture.insert(picture.find('\n') + 1, kStyle);
  std::ofstream file(path);
  file << picture;
  file.close();
  if (!file) throw render::Failure(path, errno);
}

}  // namespace measure
