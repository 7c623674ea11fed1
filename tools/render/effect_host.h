// SPDX-License-Identifier: Apache-2.0
// Runs one instance of the effect as the platform does: the library is loaded at run time and
// driven through its AELI record alone.
#ifndef ORVANE_TOOLS_RENDER_EFFECT_HOST_H_
#define ORVANE_TOOLS_RENDER_EFFECT_HOST_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "ambisonics/binauralizer.h"
#include "base/limits.h"
#include "tools/ears/renderer_host.h"
#include "tools/effect_client.h"

namespace render {

constexpr int kEffectRateHz = ORVANE_SAMPLE_RATE;  // what the effect's filters are made for
constexpr size_t kEffectMaxFrames = ORVANE_MAX_FRAME_SIZE;    // longest block it takes
constexpr unsigned kEarLatencyFrames = BINAURALIZER_LATENCY;  // from the bed to the ears

// Where the library is: `requested` if not empty, else next to this program or in the library
// directory of its installation, else left to the loader's search.
std::string effect_library_find(const std::string& requested);

// Its handle, for dlclose(). Throws Failure with the loader's reason.
void* effect_library_load(const std::string& path);

class EffectHost {
 public:
  // Loads `library`, creates the Spatializer and enables it for a bed of `channel_mask` at
  // kEffectRateHz. With `ears`, a SOFA file, the library's renderer takes the place of the effect,
  // which has no way to set ears. Throws Failure with the effect's own last error line.
  EffectHost(const std::string& library, uint32_t channel_mask, const std::string& ears = "");
  ~EffectHost();
  EffectHost(const EffectHost&) = delete;
  EffectHost& operator=(const EffectHost&) = delete;

  // Renders an ambisonic field instead, through the library's renderer: the effect takes beds only.
  EffectHost(const std::string& library, const ears::Field& field, const std::string& ears);

  // Goes on with a bed of another mask; room and reverb return to their defaults.
  void configure(uint32_t channel_mask);

  // translation, then rotation vector in radians, in the platform's head frame. The next block
  // fades over to it. Allocates nothing unless it fails.
  void set_head_to_stage(const std::array<float, 6>& pose);

  // One of the effect's own parameters of room and reverb. `name` is for the Failure.
  void set_parameter(int32_t id, float value, const std::string& name);

  // Renders one block of at most kEffectMaxFrames interleaved frames into stereo. Allocates nothing
  // if the block before had as many frames and it does not fail.
  void process(float* bed, float* ears, size_t frames);

 private:
  void require(bool succeeded, const char* what) const;

  using Library = std::unique_ptr<void, int (*)(void*)>;

  std::string path_;
  Library library_;
  std::optional<effect_client::Effect> effect_;   // released before its library is unloaded
  std::unique_ptr<ears::RendererHost> renderer_;  // likewise; in the place of the effect
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_EFFECT_HOST_H_
