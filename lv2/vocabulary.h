// SPDX-License-Identifier: Apache-2.0
// LV2's words for what the library has names for.
#ifndef ORVANE_LV2_VOCABULARY_H_
#define ORVANE_LV2_VOCABULARY_H_

#include <cstdint>
#include <string_view>

#include "renderer/loudspeaker_layouts.h"

namespace lv2_plugin {

// The head of a file: its licence, and every prefix that the words below and turtle.cpp use.
inline constexpr char kPrefixes[] =
    R"(# SPDX-License-Identifier: Apache-2.0
@prefix atom: <http://lv2plug.in/ns/ext/atom#> .
@prefix doap: <http://usefulinc.com/ns/doap#> .
@prefix lv2: <http://lv2plug.in/ns/lv2core#> .
@prefix patch: <http://lv2plug.in/ns/ext/patch#> .
@prefix pg: <http://lv2plug.in/ns/ext/port-groups#> .
@prefix pprops: <http://lv2plug.in/ns/ext/port-props#> .
@prefix pset: <http://lv2plug.in/ns/ext/presets#> .
@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .
@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .
@prefix rsz: <http://lv2plug.in/ns/ext/resize-port#> .
@prefix state: <http://lv2plug.in/ns/ext/state#> .
@prefix units: <http://lv2plug.in/ns/extensions/units#> .
@prefix work: <http://lv2plug.in/ns/ext/worker#> .
@prefix log: <http://lv2plug.in/ns/ext/log#> .
@prefix urid: <http://lv2plug.in/ns/ext/urid#> .

)";

// LV2's word for a channel's place, where it has one: none for heights.
std::string_view designation_of(uint32_t channel);

// LV2's word for a set of loudspeakers; one with heights is a group without a further name.
std::string_view group_of(const orvane_layout_t& layout);

// LV2's word for a unit of parameters; empty where it has none.
std::string_view unit_of(std::string_view unit);

}  // namespace lv2_plugin

#endif  // ORVANE_LV2_VOCABULARY_H_
