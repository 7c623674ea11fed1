#include <string>

#include "tools/render/pose.h"
#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/larger.h"
#include "tools/validate/random.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;

constexpr size_t kFrames = 24000;
constexpr size_t kRandom = 0;  // blocks of 1 to 1024 frames
constexpr size_t kBlocks[] = {480, 256, 64, 7, kRandom};

const Axis kCutAxis = {"frames per block", 0.0, 5.0, 0.0};
const Axis kErrorAxis = {"difference (dB)", -200.0, -80.0, 20.0};

struct Scene {
  const char* figure;
  const char* name;
  const char* layout;
  double mode;  // of the reflections; 0 is without any room
  bool turned;  // a head that looks elsewhere
  const char* style;
};
constexpr Scene kScenes[] = {
    {"dry", "no room", "7.1", 0.0, false, measure::kStyleLeft},
    {"room", "room, turned head", "7.1.4", 4.0, true, measure::kStyleRight},
    {"large", "22.2, turned head", "22.2", 0.0, true, measure::kStyleThird},
};

// Noise in all channels, the same in every call, in blocks of `block` frames.
Ears render_scene(const Library& library, const Scene& scene, size_t block) {
  Effect effect(library, scene.layout);
  if (scene.mode != 0.0) {
    effect.set("reverb.enable", 1.0);
    effect.set("reflections.mode", scene.mode);
  }
  if (scene.turned) effect.settle_head(render::pose_rotation({70.0, -20.0, 10.0}));
  std::mt19937 generator(1);
  std::vector<float> bed(kFrames * effect.channels());
  for (float& sample : bed) sample = random_sample(&generator);
  return effect.render(bed,
                       [&](size_t) { return block != kRandom ? block : 1 + generator() % 1024; });
}

}  // namespace

Section blocks_check(const Library& library) {
  Section section = {"blocks", "The same sound in any blocks",
                     "Noise in all channels, rendered in blocks of other lengths than 1024: the "
                     "largest difference against the peak of the ears."};
  Chart chart = chart_wide("Difference from blocks of 1024", kCutAxis, kErrorAxis);
  for (const Scene& scene : kScenes) {
    const Ears reference = render_scene(library, scene, 1024);
    double worst = -1000.0;
    double x = 0.5 + 0.15 * static_cast<double>(&scene - kScenes - 1);
    for (const size_t block : kBlocks) {
      const double error_db = difference_db(render_scene(library, scene, block), reference);
      chart.dot(x, error_db, scene.style);
      worst = larger(worst, error_db);
      x += 1.0;
    }
    section.add(scene.figure, worst);
    chart.legend(scene.name, scene.style);
  }
  double x = 0.5;
  for (const size_t block : kBlocks) {
    chart.text(x, kErrorAxis.minimum, 18.0, block == kRandom ? "1 to 1024" : std::to_string(block));
    x += 1.0;
  }
  draw_level(&chart, kCutAxis, *section.figures.back().limit->at_most, measure::kStyleLimit);
  chart.legend("limit", measure::kStyleLimit);
  section.draw(kChartRow, {chart});
  return section;
}

}  // namespace validate
