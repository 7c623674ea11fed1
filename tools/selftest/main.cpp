// SPDX-License-Identifier: Apache-2.0
// orvane-selftest: the first thing to run on a device. It loads a liborvane.so as the effect HAL
// does, renders noise in every layout, compares what comes out with what a desktop heard, and times
// the blocks.
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "base/limits.h"
#include "orvane/version.h"
#include "tools/dynamic_library.h"
#include "tools/selftest/scene.h"

namespace {

using namespace selftest;

// By layout and scene; written by --expected.
constexpr double kExpected[ORVANE_NUM_LAYOUTS][kNumScenes][kNumSums] = {
#include "tools/selftest/expected.inc"
};

// Processors round and fuse differently: that moves a sum by some 1e-7.
constexpr double kTolerance = 1e-5;

#ifdef _WIN32
#define ORVANE_DEFAULT_PATH "orvane.dll"
#else
#define ORVANE_DEFAULT_PATH "./liborvane.so"
#endif

const char* const kUsage =
    "orvane-selftest [LIBRARY]   tries the effect library, default " ORVANE_DEFAULT_PATH
    ";\n"
    "                            exit status 0: it is as it should be\n"
    "orvane-selftest --expected LIBRARY   prints what is compared with, for another table\n";

double farthest(const double* sums, const double* expected) {
  double worst = 0.0;
  for (uint32_t i = 0; i < kNumSums; ++i) {
    const double distance = fabs(sums[i] - expected[i]);
    if (!(distance <= worst)) worst = distance;  // not a number is far, too
  }
  return worst;
}

int print_expected(const audio_effect_library_t& library) {
  printf("// SPDX-License-Identifier: Apache-2.0\n");
  for (const orvane_layout_t& layout : orvane_layouts) {
    printf("    {\n");
    for (int scene = 0; scene < kNumScenes; ++scene) {
      Outcome outcome;
      if (render(library, layout, static_cast<Scene>(scene), &outcome)) return 1;
      printf("        {");
      for (double sum : outcome.sums) printf("%.9f, ", sum);
      printf("},  // %s, %s\n", layout.name, kSceneNames[scene]);
    }
    printf("    },\n");
  }
  return 0;
}

bool try_scene(const audio_effect_library_t& library, uint32_t index, Scene scene) {
  const orvane_layout_t& layout = orvane_layouts[index];
  Outcome outcome;
  printf("%-6s %-10s", layout.name, kSceneNames[scene]);
  if (const char* const fault = render(library, layout, scene, &outcome)) {
    printf("FAILED: the effect %s\n", fault);
    return false;
  }
  const double distance = farthest(outcome.sums, kExpected[index][scene]);
  const bool good = distance <= kTolerance;
  constexpr double kBlockUs = 1e6 * kBlockFrames / double{ORVANE_SAMPLE_RATE};
  printf("%-7s %8.1e  %8.0f %8.0f  %5.1f %%\n", good ? "good" : "FAILED", distance,
         outcome.median_us, outcome.worst_us, 100.0 * outcome.median_us / kBlockUs);
  return good;
}

int try_library(const char* path, const audio_effect_library_t& library) {
  printf("orvane-selftest %d.%d.%d\nlibrary  %s\neffect   %s, %s\n\n", ORVANE_VERSION_MAJOR,
         ORVANE_VERSION_MINOR, ORVANE_VERSION_PATCH, path, library.name, library.implementor);
  printf("blocks of %u frames, microseconds; the share is that of one processor core\n",
         kBlockFrames);
  printf("layout scene     sound   distance    median    worst    share\n");
  bool good = true;
  for (uint32_t index = 0; index < ORVANE_NUM_LAYOUTS; ++index) {
    for (int scene = 0; scene < kNumScenes; ++scene) {
      good = try_scene(library, index, static_cast<Scene>(scene)) && good;
    }
  }
  printf("\n%s\n",
         good ? "The library is as it should be."
              : "FAILED. The sound is not that of this version, or the effect refuses what "
                "it should take.");
  return good ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const bool prints = argc == 3 && strcmp(argv[1], "--expected") == 0;
  if (!prints && (argc > 2 || (argc == 2 && argv[1][0] == '-'))) {
    fputs(kUsage, strcmp(argv[1], "--help") == 0 ? stdout : stderr);
    return strcmp(argv[1], "--help") == 0 ? 0 : 2;
  }
  const char* const path = prints ? argv[2] : argc == 2 ? argv[1] : ORVANE_DEFAULT_PATH;
  void* const loaded = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!loaded) {
    printf("FAILED: %s cannot be loaded: %s\n", path, dlerror());
    return 1;
  }
  const char* why = "";
  const audio_effect_library_t* const library = effect_client::find_record(loaded, &why);
  if (!library) {
    printf("FAILED: %s %s\n", path, why);
    return 1;
  }
  return prints ? print_expected(*library) : try_library(path, *library);
}
