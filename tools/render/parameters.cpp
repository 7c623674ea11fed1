// SPDX-License-Identifier: Apache-2.0
#include "tools/render/parameters.h"

#include <cmath>
#include <optional>
#include <vector>

#include "tools/render/failure.h"
#include "tools/render/text.h"

namespace render {
namespace {

std::string number_text(float number) { return text_format("%g", static_cast<double>(number)); }

bool is_whole(const Parameter& parameter) { return parameter.kind != ORVANE_KIND_NUMBER; }

std::string meaning_text(const Parameter& parameter) {
  std::string text = parameter.meaning;
  if (parameter.limiting)
    text += std::string(", within ") + render::parameter(parameter.limiting).name;
  return text;
}

}  // namespace

std::span<const Parameter> parameters() { return orvane_parameters; }

const Parameter& parameter(int32_t number) { return *orvane_find_parameter(number); }

const Parameter& parameter_find(std::string_view name_or_number) {
  const std::optional<double> number = text_number(name_or_number);
  for (const Parameter& parameter : parameters()) {
    if (number ? *number == parameter.number : name_or_number == parameter.name) return parameter;
  }
  std::vector<std::string> family;
  const std::string_view prefix = name_or_number.substr(0, name_or_number.find('.') + 1);
  for (const Parameter& parameter : parameters()) {
    if (!prefix.empty() && std::string_view(parameter.name).starts_with(prefix)) {
      family.emplace_back(parameter.name);
    }
  }
  throw BadText("there is no parameter " + std::string(name_or_number) + ": " +
                (family.empty() ? "--parameters lists them" : "it may be " + text_choices(family)));
}

bool parameter_takes(const Parameter& parameter, double value) {
  const float sent = static_cast<float>(value);
  return sent >= parameter.minimum && sent <= parameter.maximum &&
         (!is_whole(parameter) || value == std::trunc(value));
}

std::string parameter_range(const Parameter& parameter) {
  return std::string(is_whole(parameter) ? "a whole number from " : "") +
         number_text(parameter.minimum) + " to " + number_text(parameter.maximum);
}

std::string parameter_ends(const Parameter& parameter) {
  return number_text(parameter.minimum) + "..." + number_text(parameter.maximum);
}

std::string parameters_text() {
  std::string text = " id  name                range          unit     starts at  meaning\n";
  for (const Parameter& parameter : parameters()) {
    const std::string start = parameter.has_default ? number_text(parameter.default_value) : "-";
    text += text_format("%d  %-18s  %-13s  %-7s  %-9s  %s\n", parameter.number, parameter.name,
                        parameter_ends(parameter).c_str(), parameter.unit, start.c_str(),
                        meaning_text(parameter).c_str());
  }
  return text;
}

}  // namespace render
