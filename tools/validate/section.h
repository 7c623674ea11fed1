// What one check of the report found: figures, each with its limit, and pictures.
#ifndef ORVANE_TOOLS_VALIDATE_SECTION_H_
#define ORVANE_TOOLS_VALIDATE_SECTION_H_

#include <string>
#include <vector>

#include "tools/measure/svg.h"
#include "tools/validate/limits.h"

namespace validate {

struct Figure {
  const Limit* limit;
  double value;

  bool kept() const;  // false also for a value that is not a number
};

struct Section {
  std::string id;     // a word, which begins the names of its figures
  std::string title;  //
  std::string text;   // what is measured, in a sentence or two
  std::vector<Figure> figures = {};
  std::vector<std::string> pictures = {};  // SVG elements

  // Adds the figure `id`.`what`, which has to be in the table of limits.
  void add(const std::string& what, double value);

  // Adds one picture of `charts` that are `height` pixels high and laid out as chart_wide or
  // chart_half say.
  void draw(double height, const std::vector<measure::Chart>& charts);
};

// A chart over the whole width of a picture, and one of two side by side (0 left, 1 right) in a row
// counted from 0.
measure::Chart chart_wide(const std::string& title, const measure::Axis& x, const measure::Axis& y);
measure::Chart chart_half(const std::string& title, size_t column, size_t row,
                          const measure::Axis& x, const measure::Axis& y);

constexpr double kChartRow = 320.0;  // pixels, with all labels

// A straight line across the chart.
void draw_level(measure::Chart* chart, const measure::Axis& x, double level,
                const std::string& style);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_SECTION_H_
