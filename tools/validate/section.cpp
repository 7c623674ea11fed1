#include "tools/validate/section.h"

namespace validate {
namespace {

constexpr double kWidth = 960.0;
constexpr double kLeft = 80.0, kTop = 64.0, kHeight = 200.0;
constexpr double kHalfWidth = 380.0, kWideWidth = 840.0, kSecondLeft = 540.0;

}  // namespace

bool Figure::kept() const {
  return (!limit->at_least || value >= *limit->at_least) &&
         (!limit->at_most || value <= *limit->at_most) && value == value;
}

void Section::add(const std::string& what, double value) {
  figures.push_back({&limit_find(id + "." + what), value});
}

void Section::draw(double height, const std::vector<measure::Chart>& charts) {
  pictures.push_back(measure::svg_picture(kWidth, height, charts));
}

measure::Chart chart_wide(const std::string& title, const measure::Axis& x,
                          const measure::Axis& y) {
  return {title, kLeft, kTop, kWideWidth, kHeight, x, y};
}

measure::Chart chart_half(const std::string& title, size_t column, size_t row,
                          const measure::Axis& x, const measure::Axis& y) {
  const double top = kTop + kChartRow * static_cast<double>(row);
  return {title, column == 0 ? kLeft : kSecondLeft, top, kHalfWidth, kHeight, x, y};
}

void draw_level(measure::Chart* chart, const measure::Axis& x, double level,
                const std::string& style) {
  chart->line({{x.minimum, level}, {x.maximum, level}}, style);
}

}  // namespace validate
