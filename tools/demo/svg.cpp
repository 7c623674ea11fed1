#include "tools/demo/svg.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fstream>

#include "tools/render/failure.h"
#include "tools/render/text.h"

namespace demo {
namespace {

using render::text_format;

// Two hues that colour-blind readers tell apart, for either scheme. No CSS variables: many
// converters do not know them.
constexpr char kStyle[] = R"(<style>
  svg { font: 13px sans-serif; }
  .title { font-size: 15px; font-weight: bold; }
  .middle { text-anchor: middle; } .end { text-anchor: end; }
  path { fill: none; stroke-width: 2; stroke-linejoin: round; }
  line.left, line.right { stroke-width: 2; }
  .paper { fill: #fff; } text { fill: #222; }
  .grid { stroke: #ddd; } .zero { stroke: #222; }
  rect.left { fill: #0067b0; } path.left, line.left { stroke: #0067b0; }
  rect.right { fill: #c65a00; } path.right, line.right { stroke: #c65a00; }
  @media (prefers-color-scheme: dark) {
    .paper { fill: #16181c; } text { fill: #e4e4e4; }
    .grid { stroke: #3a3d44; } .zero { stroke: #e4e4e4; }
    rect.left { fill: #5cb3f5; } path.left, line.left { stroke: #5cb3f5; }
    rect.right { fill: #f5a04c; } path.right, line.right { stroke: #f5a04c; }
  }
</style>
)";

std::string text_at(double x, double y, const char* style, const std::string& words) {
  return text_format("<text x=\"%.1f\" y=\"%.1f\" class=\"%s\">", x, y, style) + words +
         "</text>\n";
}

std::string line_at(double x1, double y1, double x2, double y2, const std::string& style) {
  return text_format("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" class=\"%s\"/>\n", x1,
                     y1, x2, y2, style.c_str());
}

int tick_count(const Axis& axis) {
  return axis.tick > 0.0 ? static_cast<int>((axis.maximum - axis.minimum) / axis.tick + 0.5) : -1;
}

}  // namespace

Chart::Chart(std::string title, double left, double top, double width, double height, Axis x,
             Axis y)
    : left_(left), top_(top), width_(width), height_(height), x_(std::move(x)), y_(std::move(y)) {
  frame(title);
}

double Chart::pixel_x(double x) const {
  return left_ + width_ * (x - x_.minimum) / (x_.maximum - x_.minimum);
}

double Chart::pixel_y(double y) const {
  const double inside = std::clamp(y, y_.minimum, y_.maximum);
  return top_ + height_ * (y_.maximum - inside) / (y_.maximum - y_.minimum);
}

void Chart::frame(const std::string& title) {
  const double bottom = top_ + height_;
  for (int i = 0; i <= tick_count(y_); ++i) {
    const double value = y_.minimum + i * y_.tick;
    const double y = pixel_y(value);
    body_ += line_at(left_, y, left_ + width_, y, value == 0.0 ? "zero" : "grid");
    body_ += text_at(left_ - 8.0, y + 4.5, "end", text_format("%g", value));
  }
  for (int i = 0; i <= tick_count(x_); ++i) {
    const double value = x_.minimum + i * x_.tick;
    body_ += line_at(pixel_x(value), top_, pixel_x(value), bottom, "grid");
    body_ += text_at(pixel_x(value), bottom + 18.0, "middle", text_format("%g", value));
  }
  body_ += text_at(left_ - 44.0, top_ - 22.0, "title", title);
  body_ += text_at(left_ + 0.5 * width_, bottom + 38.0, "middle", x_.label);
  body_ += text_format("<g transform=\"translate(%.1f %.1f) rotate(-90)\">", left_ - 48.0,
                       top_ + 0.5 * height_) +
           text_at(0.0, 0.0, "middle", y_.label) + "</g>\n";
}

void Chart::line(const std::vector<std::pair<double, double>>& points, const std::string& style) {
  body_ += "<path class=\"" + style + "\" d=\"";
  const char* command = "M";
  for (const auto& [x, y] : points) {
    body_ += text_format("%s%.1f %.1f", command, pixel_x(x), pixel_y(y));
    command = "L";
  }
  body_ += "\"/>\n";
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
  const double y = top_ + 18.0 + 20.0 * legends_++;
  const double x = left_ + width_ - 210.0;
  body_ += line_at(x, y - 4.5, x + 28.0, y - 4.5, style);
  body_ += text_at(x + 36.0, y, "", words);
}

void svg_write(const std::string& path, double width, double height,
               const std::vector<Chart>& charts) {
  std::ofstream file(path);
  file << text_format("<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %g %g\">\n", width,
                      height)
       << kStyle << "<rect width=\"100%\" height=\"100%\" class=\"paper\"/>\n";
  for (const Chart& chart : charts) file << chart.body();
  file << "</svg>\n";
  file.close();
  if (!file) throw render::Failure(path, errno);
}

}  // namespace demo
