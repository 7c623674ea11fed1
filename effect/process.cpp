// SPDX-License-Identifier: Apache-2.0
// The process slot: deinterleaves the input into planar buffers, renders them and interleaves the
// output.
#include <errno.h>

#include "base/memory.h"
#include "effect/orvane.h"
#include "numerics/interleave.h"
#include "platform/log.h"

namespace {

constexpr int32_t kNumOutputs = ORVANE_NUM_EARS;

int32_t check_state(const orvane_module_s* module) {
  switch (orvane_state(module)) {
    case ORVANE_STATE_UNINITIALIZED:
      ORVANE_LOGE("orvane_Process error: trying to use an uninitialized Spatializer");
      return -EINVAL;
    case ORVANE_STATE_INITIALIZED:
      ORVANE_LOGE("orvane_Process error: trying to use a non-configured Spatializer");
      return -ENODATA;
    default:
      return 0;
  }
}

// Makes `channels` buffers of `frames` samples. After a failure the missing ones are null.
bool allocate_planar(const char* side, float*** buffers, int32_t channels, size_t frames) {
  *buffers = alloc_zeroed<float*>(static_cast<size_t>(channels));
  if (!*buffers) {
    ORVANE_LOGE("orvane_allocateBuffers: orvane %s buf allocate failed", side);
    return false;
  }
  for (int32_t c = 0; c < channels; ++c) {
    (*buffers)[c] = alloc_zeroed<float>(frames);
    if (!(*buffers)[c]) {
      ORVANE_LOGE("orvane_allocateBuffers: orvane %s buf for channel %d allocate failed", side, c);
      return false;
    }
  }
  return true;
}

// Replaces the planar buffers. Fails for more frames than the renderer's 32-bit count can hold.
bool orvane_allocateBuffers(orvane_object_t* object, int32_t channels, size_t frames) {
  orvane_deallocateBuffers(object, object->buffer_channels);
  if (frames > UINT32_MAX) return false;
  object->buffer_channels = channels;
  if (!allocate_planar("input", &object->in_buffers, channels, frames)) return false;
  object->in_frames = frames;
  if (!allocate_planar("output", &object->out_buffers, kNumOutputs, frames)) return false;
  object->out_frames = frames;
  return true;
}

bool buffers_fit(const orvane_object_t* object, int32_t channels, size_t frames) {
  return object->in_buffers && object->in_frames == frames && object->buffer_channels == channels;
}

// Renders one block; the mutex is held. Returns 0, or -EINVAL or -1 after logging.
int32_t render(orvane_module_s* module, const float* in, float* out, size_t frames) {
  orvane_object_t* object = &module->object;
  const int32_t channels = orvane_channel_count(module->config.inputCfg.channels);
  const bool accumulates = module->config.outputCfg.accessMode == EFFECT_BUFFER_ACCESS_ACCUMULATE;
  if (!buffers_fit(object, channels, frames) && !orvane_allocateBuffers(object, channels, frames)) {
    orvane_deallocateBuffers(object, object->buffer_channels);
    ORVANE_LOGE("orvane_Process error: orvane buffer allocation error");
    return -EINVAL;
  }
  // After a refused channel mask a caller may still send blocks with fewer channels than the
  // configuration says. The renderer refuses such a block by its channel count, so the input, which
  // may end early, is not read.
  if (static_cast<uint32_t>(channels) == object->renderer->num_inputs) {
    deinterleave(in, static_cast<size_t>(channels), frames, object->in_buffers);
  }
  if (const uint32_t code =
          ubr_process(object->renderer, object->in_buffers, static_cast<uint32_t>(channels),
                      object->out_buffers, kNumOutputs, static_cast<uint32_t>(frames))) {
    ORVANE_LOGE("orvane_Process: Error in orvane process %d", static_cast<int>(code));
    return -1;
  }
  interleave_stereo(object->out_buffers[0], object->out_buffers[1], frames, accumulates, out);
  return 0;
}

}  // namespace

int32_t orvane_Process(effect_handle_t self, audio_buffer_t* inBuffer, audio_buffer_t* outBuffer) {
  orvane_module_s* module = orvane_module(self);
  if (!module || !inBuffer || !inBuffer->raw || !outBuffer || !outBuffer->raw ||
      inBuffer->frameCount != outBuffer->frameCount) {
    return -EINVAL;
  }
  if (const int32_t code = check_state(module)) return code;
  const size_t frames = inBuffer->frameCount;
  if (frames == 0) return 0;  // To the renderer 0 frames mean a full block.

  const ScopedLock lock(&module->object.mutex);
  // A command may have disabled or initialised the effect since.
  if (orvane_state(module) != ORVANE_STATE_ACTIVE) return -EINVAL;
  return render(module, inBuffer->f32, outBuffer->f32, frames);
}
