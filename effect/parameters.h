// SPDX-License-Identifier: Apache-2.0
// The two parameter commands, and the buffers of any command.
#ifndef ORVANE_EFFECT_PARAMETERS_H_
#define ORVANE_EFFECT_PARAMETERS_H_

#include <stdint.h>
#include <string.h>

#include "effect/orvane.h"

// As the platform passes them: any pointer may be null, and data and reply need not be aligned.
// `reply_size` holds the room for the reply and receives the reply's length.
struct command_buffers_t {
  uint32_t size;
  const void* data;
  uint32_t* reply_size;
  void* reply;
};

// Whether there is room for exactly an int32 status.
inline bool has_status_reply(const command_buffers_t& command) {
  return command.reply && command.reply_size && *command.reply_size == sizeof(int32_t);
}

inline void reply_status(const command_buffers_t& command, int32_t status) {
  memcpy(command.reply, &status, sizeof(status));
}

// EFFECT_CMD_GET_PARAM and EFFECT_CMD_SET_PARAM. Both return 0 where the buffers are well-formed,
// and put the outcome into the reply; otherwise they return -EINVAL and leave the reply as it was.
int32_t orvane_getParameter(const command_buffers_t& command);
int32_t orvane_setParameter(orvane_module_s* module, const command_buffers_t& command);

#endif  // ORVANE_EFFECT_PARAMETERS_H_
