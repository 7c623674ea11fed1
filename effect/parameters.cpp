// SPDX-License-Identifier: Apache-2.0
// The two parameter commands. A parameter is four little-endian words (status, size of the id, size
// of the value, id) and the value's bytes.
#include "effect/parameters.h"

#include <errno.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/rotator.h"
#include "base/result.h"
#include "effect/orvane.h"
#include "platform/log.h"
#include "renderer/loudspeaker_layouts.h"
#include "renderer/reverb_internal.h"

namespace {

// An effect_param_t and the id that follows it. The platform's record may end in a flexible array,
// so it cannot be a member here.
struct parameter_header_t {
  int32_t status;
  uint32_t psize, vsize;
  int32_t id;
};
static_assert(sizeof(parameter_header_t) == sizeof(effect_param_t) + sizeof(int32_t));

// The masks of all layouts, and that of 7.1.2.
constexpr uint32_t kNumSupportedMasks = ORVANE_NUM_LAYOUTS + 1;
using supported_masks_t = uint32_t[1 + kNumSupportedMasks];

// The value of a parameter that is read; the masks are the longest.
struct value_t {
  uint8_t bytes[sizeof(supported_masks_t)];
  uint32_t size;
};

value_t byte_value(uint8_t byte) { return {{byte}, 1}; }

// A count, then that many values.
value_t pair_of_bytes(uint8_t first, uint8_t second) { return {{2, first, second}, 3}; }

// A count, then the masks of all layouts.
value_t supported_channel_masks() {
  supported_masks_t masks = {kNumSupportedMasks};
  uint32_t next = 1;
  for (const orvane_layout_t& layout : orvane_layouts) {
    masks[next++] = layout.mask;
    // Deliberate: hosts know the list with 7.1.2, although no configuration with it is accepted.
    if (layout.mask == AUDIO_CHANNEL_OUT_7POINT1) masks[next++] = AUDIO_CHANNEL_OUT_7POINT1POINT2;
  }
  value_t value = {{}, sizeof(masks)};
  memcpy(value.bytes, masks, sizeof(masks));
  ORVANE_LOGI("orvane_getParameter %d SPATIALIZER_PARAM_SUPPORTED_CHANNEL_MASKS are %d ... %d",
              static_cast<int>(masks[0]), static_cast<int>(masks[1]),
              static_cast<int>(masks[kNumSupportedMasks]));
  return value;
}

// Reads parameter `id`. Returns 0, or -EINVAL for one that cannot be read; `value` then stays as it
// was.
int32_t get_value(int32_t id, value_t* value) {
  switch (id) {
    case SPATIALIZER_PARAM_SUPPORTED_LEVELS:
      *value = pair_of_bytes(SPATIALIZATION_LEVEL_NONE, SPATIALIZATION_LEVEL_MULTICHANNEL);
      ORVANE_LOGI("orvane_getParameter %d SPATIALIZER_PARAM_SUPPORTED_LEVELS is %d %d",
                  value->bytes[0], value->bytes[1], value->bytes[2]);
      return 0;
    case SPATIALIZER_PARAM_LEVEL:  // Deliberate: constant, because set_level stores nothing.
      *value = byte_value(SPATIALIZATION_LEVEL_MULTICHANNEL);
      ORVANE_LOGI("orvane_getParameter SPATIALIZER_PARAM_LEVEL is %d", value->bytes[0]);
      return 0;
    case SPATIALIZER_PARAM_HEADTRACKING_SUPPORTED:
      *value = byte_value(true);
      ORVANE_LOGI("orvane_getParameter SPATIALIZER_PARAM_HEADTRACKING_SUPPORTED is %d",
                  value->bytes[0]);
      return 0;
    case SPATIALIZER_PARAM_SUPPORTED_CHANNEL_MASKS:
      *value = supported_channel_masks();
      return 0;
    case SPATIALIZER_PARAM_SUPPORTED_SPATIALIZATION_MODES:
      *value = pair_of_bytes(SPATIALIZATION_MODE_BINAURAL, SPATIALIZATION_MODE_TRANSAURAL);
      ORVANE_LOGI(
          "orvane_getParameter %d SPATIALIZER_PARAM_SUPPORTED_SPATIALIZATION_MODES are %d %d",
          value->bytes[0], value->bytes[1], value->bytes[2]);
      return 0;
    default:  // Deliberate: the head-tracking mode cannot be read, since none is stored.
      ORVANE_LOGE("orvane_getParameter unknown parameter %d", id);
      return -EINVAL;
  }
}

int32_t set_level(orvane_module_s* /*module*/, int32_t /*id*/, const void* value) {
  // Deliberate: accepted without effect, because there is only one level.
  ORVANE_LOGI("orvane_setParameter SPATIALIZER_PARAM_LEVEL is %d",
              *static_cast<const int8_t*>(value));
  return 0;
}

int32_t set_headtracking_mode(orvane_module_s* /*module*/, int32_t /*id*/, const void* value) {
  // Deliberate: accepted without effect, because the head pose always applies.
  ORVANE_LOGI("orvane_setParameter SPATIALIZER_PARAM_HEADTRACKING_MODE is %d",
              *static_cast<const int8_t*>(value));
  return 0;
}

// The pose of the stage as the head sees it (+x right, +y ahead, +z up): translation in metres,
// which is not used, and rotation vector in radians.
int32_t set_head_to_stage(orvane_module_s* module, int32_t /*id*/, const void* value) {
  float pose[6];
  memcpy(pose, value, sizeof(pose));
  const float* rotation = pose + 3;
  // Deliberate: the renderer takes the inverse, the pose of the head, in its own axes (+x ahead,
  // +y left, +z up).
  const float orientation[3] = {-rotation[1], rotation[0], -rotation[2]};
  uint32_t code = UBR_OK;
  {
    const ScopedLock lock(&module->object.mutex);
    code = ubr_set_user_orientation(module->object.renderer, orientation, ROTATOR_ROTATION_VECTOR);
  }
  if (code != UBR_OK) {
    ORVANE_LOGE("orvane_setParameter error: orvane set user orientation failed");
    return -EINVAL;
  }
  return 0;
}

float float_value(const void* value) {
  float number = 0.0f;
  memcpy(&number, value, sizeof(number));
  return number;
}

// Takes the mutex twice, for a short time each, and draws the response in between, so that no block
// waits for it. The command mutex keeps other commands out meanwhile.
int32_t set_reverb(orvane_module_s* module, int32_t id, const void* value) {
  const float number = float_value(value);
  const uint32_t param = static_cast<uint32_t>(id - ORVANE_PARAM_REVERB);
  ubr_reverb_t* reverb = module->object.renderer->reverb;
  reverb_change_t change;
  uint32_t code = UBR_OK;
  {
    const ScopedLock lock(&module->object.mutex);
    code = reverb_change_begin(reverb, param, number, &change);
  }
  if (code != UBR_OK) {
    ORVANE_LOGE("orvane_setParameter error: orvane set reverb param %d and value %f failed", id,
                static_cast<double>(number));
    return -EINVAL;
  }
  reverb_change_prepare(reverb, &change);
  {
    const ScopedLock lock(&module->object.mutex);
    reverb_change_apply(reverb, &change);
  }
  reverb_change_release(&change);
  return 0;
}

// Holds the mutex through both steps, so that no block is rendered with half-changed reflections.
int32_t set_reflections(orvane_module_s* module, int32_t id, const void* value) {
  const float number = float_value(value);
  const uint32_t param = static_cast<uint32_t>(id - ORVANE_PARAM_REFLECTIONS);
  uint32_t set_code = UBR_OK, compute_code = UBR_OK;
  {
    const ScopedLock lock(&module->object.mutex);
    ubr_t* renderer = module->object.renderer;
    set_code = ubr_set_reflections_param(renderer, param, number);
    if (set_code == UBR_OK) compute_code = ubr_compute_reflections(renderer);
  }
  if (set_code == UBR_OK && compute_code == UBR_OK) return 0;
  if (set_code != UBR_OK) {
    ORVANE_LOGE("orvane_setParameter error: orvane set reflection param %d and value %f failed", id,
                static_cast<double>(number));
  } else {
    ORVANE_LOGE("orvane_setParameter error: error computing early reflections");
  }
  return -EINVAL;
}

int32_t ignore(orvane_module_s* /*module*/, int32_t /*id*/, const void* /*value*/) { return 0; }

// A range of ids and the function that sets them. The function gets value_size bytes at `value`, at
// any alignment, and returns the status to reply.
struct setter_t {
  int32_t first_id, last_id;
  uint32_t value_size;
  bool checks_vsize;  // the size that the caller states must be value_size
  int32_t (*set)(orvane_module_s* module, int32_t id, const void* value);
};

constexpr setter_t kSetters[] = {
    {SPATIALIZER_PARAM_LEVEL, SPATIALIZER_PARAM_LEVEL, sizeof(int8_t), false, set_level},
    {SPATIALIZER_PARAM_HEADTRACKING_MODE, SPATIALIZER_PARAM_HEADTRACKING_MODE, sizeof(int8_t),
     false, set_headtracking_mode},
    {SPATIALIZER_PARAM_HEAD_TO_STAGE, SPATIALIZER_PARAM_HEAD_TO_STAGE, 6 * sizeof(float), true,
     set_head_to_stage},
    {7, 8, 0, false,
     ignore},  // orientation of the display and angle of a hinge: accepted and ignored
    {ORVANE_PARAM_REVERB, ORVANE_PARAM_REVERB + int32_t{UBR_NUM_REVERB_PARAMS} - 1, sizeof(float),
     false, set_reverb},
    {ORVANE_PARAM_REFLECTIONS, ORVANE_PARAM_REFLECTIONS + int32_t{UBR_NUM_REFLECTIONS_PARAMS} - 1,
     sizeof(float), false, set_reflections},
};

int32_t wrong_size(uint32_t size, uint32_t expected) {
  ORVANE_LOGE("orvane_setParameter error: orvane wrong size %lu, should be %lu",
              static_cast<unsigned long>(size), static_cast<unsigned long>(expected));
  return -EINVAL;
}

// Sets a parameter from the `size` bytes at `value`. Returns the status to reply.
int32_t set_value(orvane_module_s* module, const parameter_header_t& header, const void* value,
                  uint32_t size) {
  for (const setter_t& setter : kSetters) {
    if (header.id < setter.first_id || header.id > setter.last_id) continue;
    if (setter.checks_vsize && header.vsize != setter.value_size) {
      return wrong_size(header.vsize, setter.value_size);
    }
    if (size < setter.value_size) return wrong_size(size, setter.value_size);
    return setter.set(module, header.id, value);
  }
  ORVANE_LOGE("orvane_setParameter unknown parameter %d", header.id);
  return -EINVAL;
}

}  // namespace

int32_t orvane_getParameter(const command_buffers_t& command) {
  parameter_header_t header;
  if (!command.data || command.size < sizeof(header) || !command.reply || !command.reply_size ||
      *command.reply_size < sizeof(header)) {
    return -EINVAL;
  }
  ORVANE_LOGI("orvane_Command EFFECT_CMD_GET_PARAM pCmdData %p, *replySize %u, pReplyData: %p",
              command.data, *command.reply_size, command.reply);
  memcpy(&header, command.data, sizeof(header));
  value_t value = {};
  header.status = get_value(header.id, &value);
  if (header.status == 0) header.vsize = value.size;

  // As with snprintf, a value that is too long is cut, and the sizes are those of the whole value.
  memcpy(command.reply, &header, sizeof(header));
  const uint32_t room = *command.reply_size - uint32_t{sizeof(header)};
  memcpy(static_cast<uint8_t*>(command.reply) + sizeof(header), value.bytes,
         std::min(room, value.size));
  *command.reply_size = header.vsize + uint32_t{sizeof(header)};
  return 0;
}

int32_t orvane_setParameter(orvane_module_s* module, const command_buffers_t& command) {
  parameter_header_t header;
  if (!command.data || command.size < sizeof(header) || !has_status_reply(command)) return -EINVAL;
  memcpy(&header, command.data, sizeof(header));
  if (header.psize != sizeof(header.id)) {
    ORVANE_LOG_SECURITY_EVENT("63662938");
    return -EINVAL;
  }
  const void* value = static_cast<const uint8_t*>(command.data) + sizeof(header);
  reply_status(command, set_value(module, header, value, command.size - uint32_t{sizeof(header)}));
  return 0;
}
