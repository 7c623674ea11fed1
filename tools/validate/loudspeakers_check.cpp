#include <algorithm>
#include <cmath>
#include <numeric>

#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/geometry.h"
#include "tools/validate/larger.h"
#include "tools/validate/power_spectrum.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;
using measure::Curve;
using render::Speaker;

constexpr size_t kDiffuseDirections = 400;  // the sum of products of harmonics is exact to 0.01 dB

const Axis kFrequencyAxis = {"frequency (Hz)", 100.0, 16000.0, 0.0, true};
const Axis kLevelAxis = {"level (dB)", -20.0, 10.0, 5.0};
const Axis kDiffuseAxis = {"level (dB)", -3.0, 3.0, 1.0};

struct Response {
  ErbLevels left, right;  // powers
};

Response measure_response(const Ears& ears) {
  return {erb_powers(ears.ear(0)), erb_powers(ears.ear(1))};
}

// In dB, of both ears and all responses.
ErbLevels average_db(const std::vector<Response>& responses) {
  ErbLevels average = {};
  for (size_t band = 0; band < kErbBands; ++band) {
    for (const Response& response : responses) {
      average[band] += response.left[band] + response.right[band];
    }
    average[band] = power_db(average[band] / (2.0 * static_cast<double>(responses.size())));
  }
  return average;
}

// Against a level of 0 dB.
Curve curve_of(const ErbLevels& level_db, double zero_db) {
  Curve curve;
  for (size_t band = 0; band < kErbBands; ++band) {
    curve.emplace_back(std::min(erb_centres_hz()[band], kFrequencyAxis.maximum),
                       level_db[band] - zero_db);
  }
  return curve;
}

ErbLevels diffuse_field_db(const Library& library) {
  Effect effect(library, "7.1");
  std::vector<Response> responses;
  for (const Direction& direction : spread_directions(kDiffuseDirections)) {
    effect.settle_head(head_hearing_ahead_at(direction));
    responses.push_back(measure_response(effect.respond(Speaker::kFrontCenter, kResponseFrames)));
  }
  return average_db(responses);
}

// Adds its level and flatness; returns the level, which all others are shown against.
double check_diffuse_field(ErbLevels level_db, Section* section) {
  const double mean =
      std::accumulate(level_db.begin(), level_db.end(), 0.0) / static_cast<double>(kErbBands);
  double worst = 0.0;
  for (double& level : level_db) {
    level -= mean;
    worst = larger(worst, std::fabs(level));
  }
  section->add("level", mean);
  section->add("diffuse_field", worst);
  const double limit = *section->figures.back().limit->at_most;
  Chart chart =
      chart_wide("Average of both ears over all directions", kFrequencyAxis, kDiffuseAxis);
  chart.line(curve_of(level_db, 0.0), measure::kStyleLeft);
  draw_level(&chart, kFrequencyAxis, limit, measure::kStyleLimit);
  draw_level(&chart, kFrequencyAxis, -limit, measure::kStyleLimit);
  chart.legend("diffuse field, against its mean", measure::kStyleLeft);
  chart.legend("limits", measure::kStyleLimit);
  section->draw(kChartRow, {chart});
  return mean;
}

// Pairs that stand symmetrically.
struct Pair {
  Speaker left, right;
};
constexpr Pair kPairs[] = {
    {Speaker::kFrontLeft, Speaker::kFrontRight},
    {Speaker::kBackLeft, Speaker::kBackRight},
    {Speaker::kSideLeft, Speaker::kSideRight},
    {Speaker::kTopFrontLeft, Speaker::kTopFrontRight},
    {Speaker::kTopBackLeft, Speaker::kTopBackRight},
    {Speaker::kTopSideLeft, Speaker::kTopSideRight},
    {Speaker::kFrontLeftOfCenter, Speaker::kFrontRightOfCenter},
    {Speaker::kBottomFrontLeft, Speaker::kBottomFrontRight},
};

// The worst pair of a layout: ears that the right one gives against the exchanged ears of the left.
double asymmetry_db(Effect* effect) {
  double worst = -1000.0;
  for (const Pair& pair : kPairs) {
    if (effect->channel(pair.left) == effect->channels()) continue;
    Ears mirrored = effect->respond(pair.left, kResponseFrames);
    for (size_t t = 0; t < mirrored.frames(); ++t) {
      std::swap(mirrored.samples[2 * t], mirrored.samples[2 * t + 1]);
    }
    worst = larger(worst, difference_db(effect->respond(pair.right, kResponseFrames), mirrored));
  }
  return worst;
}

// Draws a layout; the largest distance of its average from the diffuse field.
double draw_layout(Effect* effect, const render::Layout& layout, const ErbLevels& diffuse_db,
                   double zero_db, Chart* chart) {
  std::vector<Response> responses;
  for (size_t channel = 0; channel < layout.rows.size(); ++channel) {
    if (render::speaker_is_lfe(layout.rows[channel])) continue;
    responses.push_back(measure_response(effect->respond(channel, kResponseFrames)));
    ErbLevels left_db = responses.back().left;
    for (double& level : left_db) level = power_db(level);
    chart->line(curve_of(left_db, zero_db), measure::kStyleFaint);
  }
  const ErbLevels average = average_db(responses);
  chart->line(curve_of(average, zero_db), measure::kStyleLeft);
  chart->line(curve_of(diffuse_db, zero_db), measure::kStyleReference);
  chart->legend("each", measure::kStyleFaint);
  chart->legend("average", measure::kStyleLeft);
  chart->legend("diffuse field", measure::kStyleReference);
  chart->legend("limits", measure::kStyleLimit);
  double worst = 0.0;
  for (size_t band = 0; band < kErbBands; ++band) {
    worst = larger(worst, std::fabs(average[band] - diffuse_db[band]));
  }
  return worst;
}

}  // namespace

Section loudspeakers_check(const Library& library) {
  Section section = {"loudspeakers", "Loudspeakers of the layouts",
                     "Responses at the ears in bands of one ERB, without a room: averaged over 400 "
                     "directions from all around (the diffuse field); and at the left ear of "
                     "every loudspeaker of a layout, with their average over both ears. All levels "
                     "are against the mean of the diffuse field."};
  const ErbLevels diffuse_db = diffuse_field_db(library);
  const double zero_db = check_diffuse_field(diffuse_db, &section);
  std::vector<Chart> charts;
  double asymmetry = -1000.0;
  for (const render::Layout& layout : render::layouts()) {
    Effect effect(library, layout.name);
    charts.push_back(
        chart_half(layout.name, charts.size() % 2, charts.size() / 2, kFrequencyAxis, kLevelAxis));
    section.add("average_" + layout.name,
                draw_layout(&effect, layout, diffuse_db, zero_db, &charts.back()));
    for (const double sign : {-1.0, 1.0}) {
      draw_level(&charts.back(), kFrequencyAxis, sign * *section.figures.back().limit->at_most,
                 measure::kStyleLimit);
    }
    asymmetry = larger(asymmetry, asymmetry_db(&effect));
  }
  section.add("asymmetry", asymmetry);
  section.draw(kChartRow * static_cast<double>((charts.size() + 1) / 2), charts);
  return section;
}

}  // namespace validate
