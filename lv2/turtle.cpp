// SPDX-License-Identifier: Apache-2.0
#include "lv2/turtle.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string_view>

#include "ambisonics/binauralizer.h"
#include "lv2/ports.h"
#include "lv2/vocabulary.h"
#include "tools/render/presets.h"
#include "tools/render/text.h"

namespace lv2_plugin {
namespace {

using render::text_format;

// "reverb.tone-gain" as a symbol of C.
std::string symbol_of(std::string_view name) {
  std::string symbol(name);
  std::replace_if(
      symbol.begin(), symbol.end(), [](unsigned char letter) { return !std::isalnum(letter); },
      '_');
  return symbol;
}

// "reverb.tone-gain" as "Reverb tone gain".
std::string title_of(std::string_view name) {
  std::string title = symbol_of(name);
  std::replace(title.begin(), title.end(), '_', ' ');
  if (!title.empty()) title[0] = static_cast<char>(std::toupper(title[0]));
  return title;
}

std::string number(float value) { return text_format("%.9g", static_cast<double>(value)); }

class Port {
 public:
  Port(std::string_view kind, uint32_t index, const std::string& symbol, const std::string& name)
      : text_(text_format("[\n    a %s ;\n    lv2:index %u ;\n    lv2:symbol \"%s\" ;\n"
                          "    lv2:name \"%s\"",
                          std::string(kind).c_str(), index, symbol.c_str(), name.c_str())) {}

  Port& add(std::string_view predicate, std::string_view object) {
    if (!object.empty()) {
      text_.append(" ;\n    ").append(predicate).append(" ").append(object);
    }
    return *this;
  }
  Port& range(float minimum, float maximum, std::optional<float> start) {
    if (start) add("lv2:default", number(*start));
    return add("lv2:minimum", number(minimum)).add("lv2:maximum", number(maximum));
  }
  std::string text() const { return text_ + "\n  ]"; }

 private:
  std::string text_;
};

constexpr char kAudioIn[] = "lv2:InputPort , lv2:AudioPort";
constexpr char kAudioOut[] = "lv2:OutputPort , lv2:AudioPort";
constexpr char kControlIn[] = "lv2:InputPort , lv2:ControlPort";
constexpr char kControlOut[] = "lv2:OutputPort , lv2:ControlPort";

// What belongs to a layout's plug-in, as "#in"; the plug-in itself without a suffix.
std::string uri(const orvane_layout_t& layout, const std::string& suffix = "") {
  return text_format("<%s%s>", Uri(layout.name).text, suffix.c_str());
}

std::string quoted(const std::string& text) { return text_format("\"%s\"", text.c_str()); }

std::string channel_port(const orvane_layout_t& layout, uint32_t index) {
  const uint32_t channel = layout.loudspeakers[index].channel;
  const orvane_channel_name_t& name = orvane_channel_names[channel];
  return Port(kAudioIn, index, name.abbreviation, title_of(name.name))
      .add("lv2:shortName", quoted(name.abbreviation))
      .add("lv2:designation", designation_of(channel))
      .add("pg:group", uri(layout, "#in"))
      .text();
}

std::string ear_port(const orvane_layout_t& layout, uint32_t side) {
  const char* const name = side == 0 ? "left" : "right";
  return Port(kAudioOut, Ports{layout.num_channels}.ear(side), name, title_of(name) + " ear")
      .add("lv2:designation", std::string("pg:") + name)
      .add("pg:group", uri(layout, "#out"))
      .text();
}

std::string head_port(const orvane_layout_t& layout, uint32_t angle) {
  struct Angle {
    const char *symbol, *meaning;
  };
  constexpr Angle kAngles[kNumHeadPorts] = {{"yaw", "positive: the head turns to the left"},
                                            {"pitch", "positive: nose down"},
                                            {"roll", "positive: towards the right shoulder"}};
  const Angle& a = kAngles[angle];
  return Port(kControlIn, Ports{layout.num_channels}.head(angle), a.symbol,
              "Head " + std::string(a.symbol))
      .range(-kMaxAngle, kMaxAngle, 0.0f)
      .add("units:unit", unit_of("degrees"))
      .add("rdfs:comment", quoted(a.meaning))
      .text();
}

std::string parameter_port(const orvane_layout_t& layout, uint32_t row) {
  const orvane_parameter_t& parameter = orvane_parameters[row];
  Port port(kControlIn, Ports{layout.num_channels}.parameter(row), symbol_of(parameter.name),
            title_of(parameter.name));
  port.range(port_minimum(parameter), parameter.maximum, port_default(parameter))
      .add("units:unit", unit_of(parameter.unit))
      .add("rdfs:comment", quoted(parameter.meaning))
      .add("lv2:portProperty", "pprops:expensive");
  if (parameter.kind == ORVANE_KIND_SWITCH) port.add("lv2:portProperty", "lv2:toggled");
  if (parameter.kind == ORVANE_KIND_WHOLE) port.add("lv2:portProperty", "lv2:integer");
  if (parameter.unit == std::string_view("Hz")) {
    port.add("lv2:portProperty", "pprops:logarithmic");
  }
  if (!parameter.has_default) {
    port.add("lv2:scalePoint",
             "[ rdfs:label \"none: the absorption counts\" ; rdf:value " + number(kUnset) + " ]");
  }
  return port.text();
}

std::string latency_port(const orvane_layout_t& layout) {
  const float latency = static_cast<float>(BINAURALIZER_LATENCY);
  return Port(kControlOut, Ports{layout.num_channels}.latency(), "latency", "Latency")
      .range(0.0f, latency, latency)
      .add("units:unit", unit_of("samples"))
      .add("lv2:designation", "lv2:latency")
      .add("lv2:portProperty", "lv2:reportsLatency , lv2:integer , pprops:notOnGUI")
      .text();
}

std::string messages_port(const orvane_layout_t& layout) {
  return Port("lv2:InputPort , atom:AtomPort", Ports{layout.num_channels}.messages(), "messages",
              "Messages")
      .add("atom:bufferType", "atom:Sequence")
      .add("atom:supports", "patch:Message")
      .add("lv2:designation", "lv2:control")
      .add("lv2:portProperty", "lv2:connectionOptional")
      .add("rsz:minimumSize", "8192")
      .text();
}

std::string ports_text(const orvane_layout_t& layout) {
  std::vector<std::string> ports;
  for (uint32_t i = 0; i < layout.num_channels; ++i) ports.push_back(channel_port(layout, i));
  for (uint32_t side = 0; side < 2; ++side) ports.push_back(ear_port(layout, side));
  for (uint32_t angle = 0; angle < kNumHeadPorts; ++angle) {
    ports.push_back(head_port(layout, angle));
  }
  for (uint32_t row = 0; row < ORVANE_NUM_PARAMETERS; ++row) {
    ports.push_back(parameter_port(layout, row));
  }
  ports.push_back(latency_port(layout));
  ports.push_back(messages_port(layout));
  std::string text = "  lv2:port ";
  for (const std::string& port : ports) text += (&port == &ports.front() ? "" : " , ") + port;
  return text + " .\n\n";
}

std::string plugin_text(const orvane_layout_t& layout, int minor, int micro) {
  const std::string in = uri(layout, "#in"), out = uri(layout, "#out");
  return in + " a pg:InputGroup , " + std::string(group_of(layout)) +
         " ;\n  lv2:symbol \"loudspeakers\" ;\n  lv2:name \"Loudspeakers\" .\n\n" + out +
         " a pg:OutputGroup , pg:StereoGroup ;\n  lv2:symbol \"ears\" ;\n  lv2:name \"Ears\" ;\n"
         "  pg:source " +
         in + " .\n\n" + uri(layout) +
         " a lv2:Plugin , lv2:SpatialPlugin ;\n  doap:name \"Orvane headphones " + layout.name +
         text_format("\" ;\n  lv2:minorVersion %d ;\n  lv2:microVersion %d ;\n", minor, micro) +
         "  rdfs:comment \"Loudspeakers around the head, for headphones.\" ;\n"
         "  lv2:optionalFeature lv2:hardRTCapable , work:schedule , log:log , urid:map ;\n"
         "  lv2:extensionData work:interface , state:interface ;\n"
         "  patch:writable <" +
         kEarsUri +
         "> ;\n"
         "  pg:mainInput " +
         in + " ;\n  pg:mainOutput " + out + " ;\n" + ports_text(layout);
}

std::string preset_uri(const orvane_layout_t& layout, const Preset& preset) {
  return uri(layout, ":" + preset.name);
}

std::string preset_text(const orvane_layout_t& layout, const Preset& preset) {
  std::string text = preset_uri(layout, preset) + " a pset:Preset ;\n  lv2:appliesTo " +
                     uri(layout) + " ;\n  rdfs:label \"" + title_of(preset.name) +
                     "\" ;\n  lv2:port ";
  for (const orvane_parameter_t& parameter : orvane_parameters) {
    const float value =
        static_cast<float>(parameter.has_default ? preset.settings.value(parameter.number)
                                                 : static_cast<double>(kUnset));
    text += (&parameter == orvane_parameters ? "" : " , ");
    text +=
        "[ lv2:symbol \"" + symbol_of(parameter.name) + "\" ; pset:value " + number(value) + " ]";
  }
  return text + " .\n\n";
}

}  // namespace

Preset preset_read(const std::string& path) {
  Preset preset;
  preset.name = std::filesystem::path(path).stem();
  render::preset_read(path, &preset.settings);
  return preset;
}

std::string manifest_turtle(const std::vector<Preset>& presets) {
  std::string text = kPrefixes;
  for (const std::string_view name : kLayoutNames) {
    const orvane_layout_t& layout = *find_layout(name);
    text += uri(layout) +
            " a lv2:Plugin ;\n  lv2:binary <orvane.so> ;\n  rdfs:seeAlso <orvane.ttl> .\n\n";
    for (const Preset& preset : presets) {
      text += preset_uri(layout, preset) + " a pset:Preset ;\n  lv2:appliesTo " + uri(layout) +
              " ;\n  rdfs:label \"" + title_of(preset.name) +
              "\" ;\n  rdfs:seeAlso <presets.ttl> .\n\n";
    }
  }
  return text;
}

std::string plugins_turtle(const std::string& version) {
  int major = 0, minor = 0, micro = 0;
  std::sscanf(version.c_str(), "%d.%d.%d", &major, &minor, &micro);
  // LV2 has two numbers, of which an odd one is one under development: what makes ports or their
  // meaning new has to change a plug-in's URI.
  std::string text = kPrefixes;
  text += text_format(
      "<%s> a lv2:Parameter ;\n  rdfs:label \"Ears (SOFA file)\" ;\n  rdfs:range atom:Path .\n\n",
      kEarsUri);
  for (const std::string_view name : kLayoutNames) {
    text += plugin_text(*find_layout(name), 2 * minor, 2 * micro);
  }
  return text;
}

std::string presets_turtle(const std::vector<Preset>& presets) {
  std::string text = kPrefixes;
  for (const std::string_view name : kLayoutNames) {
    for (const Preset& preset : presets) text += preset_text(*find_layout(name), preset);
  }
  return text;
}

}  // namespace lv2_plugin
