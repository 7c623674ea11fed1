// SPDX-License-Identifier: Apache-2.0
// Writes what JavaScript knows of layouts, channel orders, parameters and presets, taken from the
// tables of the library and of orvane-render: an ES module and its types.
//
//   orvane-web-tables FOLDER   writes tables.js and tables.d.ts there
#include <charconv>
#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ambisonics/binauralizer.h"
#include "base/limits.h"
#include "renderer/loudspeaker_layouts.h"
#include "renderer/parameters.h"
#include "tools/render/channel_map.h"
#include "tools/render/failure.h"
#include "tools/render/layouts.h"
#include "tools/render/presets.h"
#include "tools/render/text.h"

namespace {

const std::string kHead =
    "// SPDX-License-Identifier: Apache-2.0\n"
    "// Made by orvane-web-tables from the tables of the library and of orvane-render.\n";

// The texts of the tables have no character that JSON would escape.
std::string quoted(const std::string& text) {
  return std::string(1, '"').append(text).append("\"");
}

template <typename Items, typename ToText>
std::string joined(const Items& items, const char* separator, const ToText& to_text) {
  std::string text;
  for (const auto& item : items) {
    if (!text.empty()) text += separator;
    text += to_text(item);
  }
  return text;
}

// The shortest text that reads back as the same number.
template <typename Number>
std::string number(Number value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof(text), value).ptr};
}

std::vector<std::string> order_names() {
  std::string choices = render::file_order_choices();  // "a, b or c"
  std::istringstream words(choices);
  std::vector<std::string> names;
  for (std::string word; words >> word;) {
    if (word.back() == ',') word.pop_back();
    if (render::file_order_find(word)) names.push_back(word);
  }
  return names;
}

std::string labels(const std::vector<render::Speaker>& speakers) {
  const auto label = [](render::Speaker speaker) { return quoted(render::speaker_name(speaker)); };
  return std::string(1, '[').append(joined(speakers, ",", label)).append("]");
}

std::string loudspeaker(const orvane_loudspeaker_t& row) {
  const orvane_channel_name_t& name = orvane_channel_names[row.channel];
  return "{label:" + quoted(name.abbreviation) + ",name:" + quoted(name.name) +
         ",isLfe:" + (row.is_lfe ? "true" : "false") + ",x:" + number(row.x) +
         ",y:" + number(row.y) + ",z:" + number(row.z) + "}";
}

std::string layout(const orvane_layout_t& row) {
  const render::Layout* named = render::layout_find(row.name);
  std::string text = "  {name:" + quoted(row.name) + ",loudspeakers:[\n    ";
  const std::vector<orvane_loudspeaker_t> rows(row.loudspeakers,
                                               row.loudspeakers + row.num_channels);
  text += joined(rows, ",\n    ", loudspeaker) + "],\n   orders:{";
  return text +
         joined(order_names(), ",\n     ",
                [&](const std::string& order) {
                  return order + ":" +
                         labels(channel_order(*named, *render::file_order_find(order)));
                }) +
         "}}";
}

// What files of so many channels without labels are taken as.
std::string unlabelled() {
  std::vector<std::string> lines;
  for (size_t channels = 1; channels <= ORVANE_NUM_CHANNELS; ++channels) {
    render::ChannelLabels unknown;
    unknown.speakers.resize(channels);
    unknown.names.resize(channels);
    try {
      const render::ChannelPlan plan = render::channel_plan_make("", unknown, {});
      lines.push_back("  " + std::to_string(channels) + ":{layout:" + quoted(plan.layout->name) +
                      ",labels:" + labels(plan.labels) + "}");
    } catch (const render::Failure&) {  // anybody's guess
    }
  }
  return joined(lines, ",\n", [](const std::string& line) { return line; });
}

std::string parameter(const orvane_parameter_t& row) {
  static const char* const kKinds[] = {"number", "whole", "switch"};
  static const char* const kLimits[] = {"none", "order", "between", "below"};
  return "  {number:" + std::to_string(row.number) + ",name:" + quoted(row.name) +
         ",unit:" + quoted(row.unit) + ",minimum:" + number(row.minimum) +
         ",maximum:" + number(row.maximum) +
         ",default:" + (row.has_default ? number(row.default_value) : "null") +
         ",kind:" + quoted(kKinds[row.kind]) + ",limit:" + quoted(kLimits[row.limit]) +
         ",limiting:" + std::to_string(row.limiting) + ",meaning:" + quoted(row.meaning) + "}";
}

std::string preset(const std::string& name) {
  render::Settings settings;
  render::preset_read(render::preset_find(name), &settings);
  return "  " + quoted(name) + ":{" +
         joined(settings.writes(), ",",
                [](const auto& write) {
                  return quoted(write.parameter->name) + ":" + number(write.value);
                }) +
         "}";
}

// The comment that a preset's file begins with.
std::string description(const std::string& name) {
  std::ifstream file(render::preset_find(name));
  std::string line;
  if (!std::getline(file, line) || line.rfind("# ", 0) != 0) {
    throw render::Failure(name, "begins with no comment that describes it");
  }
  return "  " + quoted(name) + ":" + quoted(line.substr(2));
}

std::string module_text() {
  return kHead + "export const sampleRate = " + std::to_string(ORVANE_SAMPLE_RATE) +
         ";\n"
         "export const responseShape = {taps:" +
         std::to_string(BINAURALIZER_TAPS) +
         ",channels:" + std::to_string(BINAURALIZER_RESPONSE_CHANNELS) +
         "};\n"
         "export const layouts = [\n" +
         joined(orvane_layouts, ",\n", layout) +
         "\n];\n"
         "export const unlabelled = {\n" +
         unlabelled() +
         "\n};\n"
         "export const parameters = [\n" +
         joined(orvane_parameters, ",\n", parameter) +
         "\n];\n"
         "export const presets = {\n" +
         joined(render::preset_names(), ",\n", preset) +
         "\n};\n"
         "export const descriptions = {\n" +
         joined(render::preset_names(), ",\n", description) + "\n};\n";
}

std::string types_text() {
  const auto name_of = [](const auto& row) { return quoted(row.name); };
  return kHead + "export type LayoutName = " + joined(orvane_layouts, " | ", name_of) +
         ";\n"
         "export type ParameterName = " +
         joined(orvane_parameters, " | ", name_of) +
         ";\n"
         "export type PresetName = " +
         joined(render::preset_names(), " | ", quoted) +
         ";\n"
         "export type FileOrder = " +
         joined(order_names(), " | ", quoted) +
         ";\n"
         "export type ChannelLabel = " +
         joined(orvane_channel_names, " | ",
                [](const auto& row) { return quoted(row.abbreviation); }) +
         ";\n"
         "/** A direction on the unit sphere: +x ahead, +y left, +z up. */\n"
         "export interface Loudspeaker {\n"
         "  label: ChannelLabel; name: string; isLfe: boolean; x: number; y: number; z: number;\n"
         "}\n"
         "export interface Layout {\n"
         "  name: LayoutName;\n"
         "  /** In the order of the renderer's inputs. */\n"
         "  loudspeakers: Loudspeaker[];\n"
         "  /** Orders in which files without labels have its channels. */\n"
         "  orders: Record<FileOrder, ChannelLabel[]>;\n"
         "}\n"
         "export interface Parameter {\n"
         "  number: number; name: ParameterName; unit: string; minimum: number; maximum: number;\n"
         "  /** Null where a new renderer has no value. */\n"
         "  default: number | null;\n"
         "  kind: \"number\" | \"whole\" | \"switch\";\n"
         "  /** What else bounds the value: nothing, the ambisonic order, from minus half to plus\n"
         "      half of the parameter `limiting`, or that parameter from above. */\n"
         "  limit: \"none\" | \"order\" | \"between\" | \"below\";\n"
         "  limiting: number; meaning: string;\n"
         "}\n"
         "/** Hz: the only rate that the renderer works at. */\n"
         "export const sampleRate: number;\n"
         "/** Of the responses of an ear: one row of SH channels (ACN, SN3D) per tap. */\n"
         "export const responseShape: { taps: number; channels: number };\n"
         "export const layouts: Layout[];\n"
         "/** What a file of so many channels without labels is taken as. */\n"
         "export const unlabelled: Record<number, {layout: LayoutName, labels: ChannelLabel[]}>;\n"
         "export const parameters: Parameter[];\n"
         "export const presets: Record<PresetName, Partial<Record<ParameterName, number>>>;\n"
         "/** A sentence about each preset. */\n"
         "export const descriptions: Record<PresetName, string>;\n";
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc != 2) throw render::BadText("one argument: the folder to write to");
    render::text_file_write(std::string(argv[1]) + "/tables.js", module_text());
    render::text_file_write(std::string(argv[1]) + "/tables.d.ts", types_text());
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "orvane-web-tables: %s\n", failure.what());
    return 1;
  }
}
