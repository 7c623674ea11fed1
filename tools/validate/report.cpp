#include "tools/validate/report.h"

#include <algorithm>
#include <cmath>

#include "tools/render/text.h"

namespace validate {
namespace {

using render::text_format;

// No texts of this program hold a quote or a backslash.
std::string json_number(std::optional<double> value) {
  return value && std::isfinite(*value) ? text_format("%.9g", *value) : "null";
}

std::string json_figure(const Figure& figure) {
  const Limit& limit = *figure.limit;
  return text_format("    {\"id\": \"%s\", \"what\": \"%s\", \"unit\": \"%s\", ", limit.id,
                     limit.what, limit.unit) +
         "\"value\": " + json_number(figure.value) +
         ", \"at_least\": " + json_number(limit.at_least) +
         ", \"at_most\": " + json_number(limit.at_most) +
         ", \"passed\": " + (figure.kept() ? "true" : "false") + "}";
}

}  // namespace

std::vector<const Figure*> report_missed(const std::vector<Section>& sections) {
  std::vector<const Figure*> missed;
  for (const Section& section : sections) {
    for (const Figure& figure : section.figures) {
      if (!figure.kept()) missed.push_back(&figure);
    }
  }
  return missed;
}

std::vector<const Limit*> report_unmeasured(const std::vector<Section>& sections) {
  std::vector<const Limit*> unmeasured;
  for (const Limit& limit : limits()) {
    const bool measured =
        std::any_of(sections.begin(), sections.end(), [&](const Section& section) {
          return std::any_of(section.figures.begin(), section.figures.end(),
                             [&](const Figure& figure) { return figure.limit == &limit; });
        });
    if (!measured) unmeasured.push_back(&limit);
  }
  return unmeasured;
}

bool report_passed(const std::vector<Section>& sections) {
  return report_missed(sections).empty() && report_unmeasured(sections).empty();
}

std::string report_json(const std::vector<Section>& sections) {
  std::string json = "{\n  \"passed\": ";
  json += report_passed(sections) ? "true" : "false";
  json += ",\n  \"figures\": [\n";
  const char* separator = "";
  for (const Section& section : sections) {
    for (const Figure& figure : section.figures) {
      json += separator + json_figure(figure);
      separator = ",\n";
    }
  }
  return json + "\n  ]\n}\n";
}

}  // namespace validate
