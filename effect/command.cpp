// SPDX-License-Identifier: Apache-2.0
// The command slot: checks the buffers of each command, then carries it out.
#include <errno.h>

#include "effect/orvane.h"
#include "effect/parameters.h"
#include "platform/log.h"

namespace {

int32_t init(orvane_module_s* module, const command_buffers_t& command) {
  if (!has_status_reply(command)) return -EINVAL;
  reply_status(command, orvane_Init(module));
  return 0;
}

int32_t set_config(orvane_module_s* module, const command_buffers_t& command) {
  if (!command.data || command.size != sizeof(effect_config_t) || !has_status_reply(command)) {
    return -EINVAL;
  }
  reply_status(command, orvane_Configure(module, command.data));
  return 0;
}

int32_t reset(orvane_module_s* module) {
  const ScopedLock lock(&module->object.mutex);
  orvane_Reset(module);
  return 0;
}

int32_t enable(orvane_module_s* module, const command_buffers_t& command) {
  if (!has_status_reply(command)) return -EINVAL;
  if (orvane_state(module) != ORVANE_STATE_INITIALIZED) return -ENOSYS;
  reset(module);
  orvane_set_state(module, ORVANE_STATE_ACTIVE);
  ORVANE_LOGI("EFFECT_CMD_ENABLE() OK");
  reply_status(command, 0);
  return 0;
}

int32_t disable(orvane_module_s* module, const command_buffers_t& command) {
  if (!has_status_reply(command)) return -EINVAL;
  if (orvane_state(module) != ORVANE_STATE_ACTIVE) return -ENOSYS;
  orvane_set_state(module, ORVANE_STATE_INITIALIZED);
  ORVANE_LOGI("EFFECT_CMD_DISABLE() OK");
  reply_status(command, 0);
  return 0;
}

// For commands with an int32 that the effect does not use.
int32_t ignore_int32(const command_buffers_t& command) {
  return command.data && command.size == sizeof(int32_t) ? 0 : -EINVAL;
}

int32_t refuse(uint32_t code) {
  ORVANE_LOGW("orvane_Command invalid command %u", code);
  return -EINVAL;
}

}  // namespace

// NOLINTBEGIN(readability-non-const-parameter): the signature is the platform's.
int32_t orvane_Command(effect_handle_t self, uint32_t cmdCode, uint32_t cmdSize, void* pCmdData,
                       uint32_t* replySize, void* pReplyData) {
  // NOLINTEND(readability-non-const-parameter)
  orvane_module_s* module = orvane_module(self);
  if (!module || orvane_state(module) == ORVANE_STATE_UNINITIALIZED) return -EINVAL;
  const command_buffers_t command = {cmdSize, pCmdData, replySize, pReplyData};
  const ScopedLock lock(&module->object.command_mutex);

  switch (cmdCode) {
    case EFFECT_CMD_INIT:
      return init(module, command);
    case EFFECT_CMD_SET_CONFIG:
      return set_config(module, command);
    case EFFECT_CMD_RESET:
      return reset(module);
    case EFFECT_CMD_ENABLE:
      return enable(module, command);
    case EFFECT_CMD_DISABLE:
      return disable(module, command);
    case EFFECT_CMD_SET_PARAM:
      return orvane_setParameter(module, command);
    case EFFECT_CMD_SET_PARAM_DEFERRED:
      ORVANE_LOGW("orvane_Command command EFFECT_CMD_SET_PARAM_DEFERRED not supported, FIXME");
      return 0;
    case EFFECT_CMD_SET_PARAM_COMMIT:
      ORVANE_LOGW("orvane_Command command EFFECT_CMD_SET_PARAM_COMMIT not supported, FIXME");
      return 0;
    case EFFECT_CMD_GET_PARAM:
      return orvane_getParameter(command);
    case EFFECT_CMD_SET_DEVICE:
    case EFFECT_CMD_SET_AUDIO_MODE:
      return ignore_int32(command);
    case EFFECT_CMD_SET_VOLUME:  // Deliberate: the platform keeps control of the volume.
      return refuse(cmdCode);
    case EFFECT_CMD_SET_CONFIG_REVERSE:
    case EFFECT_CMD_SET_INPUT_DEVICE:
      return 0;
    default:
      return refuse(cmdCode);
  }
}
