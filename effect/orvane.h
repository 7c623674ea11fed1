// SPDX-License-Identifier: Apache-2.0
// One instance of the effect: the context behind the platform's handle, and the functions that work
// on it. The platform enters through the tables in library.cpp: commands from its control threads,
// orvane_Process from its audio thread.
//
// Two mutexes of the instance keep them apart. A command holds command_mutex from beginning to end,
// so commands come one after another. While it changes what a block reads or writes (configuration,
// planar buffers, renderer) it holds mutex as well, as briefly as possible. A block holds mutex and
// no other. Whoever holds both took command_mutex first.
#ifndef ORVANE_EFFECT_ORVANE_H_
#define ORVANE_EFFECT_ORVANE_H_

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>

#include "base/export.h"
#include "platform/effect_abi.h"
#include "renderer/ubr.h"

// Marks what runs on the audio thread, for clang's real-time sanitizer.
#if __has_attribute(nonblocking)
#define ORVANE_NONBLOCKING __attribute__((nonblocking))
#else
#define ORVANE_NONBLOCKING
#endif

enum {
  ORVANE_STATE_UNINITIALIZED = 0,
  ORVANE_STATE_INITIALIZED = 1,  // initialised or configured, not processing
  ORVANE_STATE_ACTIVE = 2,       // enabled
};

typedef struct orvane_object_t {
  uint32_t state;         // ORVANE_STATE_*; shared with the audio thread, see orvane_state
  uint8_t channel_count;  // input channels that the renderer was configured for
  ubr_t* renderer;        // owned
  float** in_buffers;     // owned: buffer_channels planar buffers of in_frames samples
  size_t in_frames;
  float** out_buffers;  // owned: left and right, out_frames samples each
  size_t out_frames;
  pthread_mutex_t* lock;  // to `mutex` from SET_CONFIG on, null after INIT

  int32_t buffer_channels;  // number of in_buffers; the configuration may have changed since
  pthread_mutex_t mutex;    // held by a block, and by a command that changes what a block uses
  pthread_mutex_t command_mutex;  // held by a command from beginning to end, and by no block
} orvane_object_t;

struct orvane_module_s {
  const effect_interface_s* itfe;  // first: the platform's handle points here
  effect_config_t config;          // as last accepted, defaults before; see orvane_Configure
  orvane_object_t object;
};
static_assert(offsetof(orvane_module_s, itfe) == 0, "a handle points to the interface pointer");

extern const effect_interface_s gOrvaneInterface;
extern const effect_descriptor_t gOrvaneDescriptor;

// Holds a mutex for a scope.
class ScopedLock {
 public:
  explicit ScopedLock(pthread_mutex_t* mutex) : mutex_(mutex) { pthread_mutex_lock(mutex_); }
  ~ScopedLock() { pthread_mutex_unlock(mutex_); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  pthread_mutex_t* mutex_;
};

// The context behind a handle.
inline orvane_module_s* orvane_module(effect_handle_t handle) {
  return reinterpret_cast<orvane_module_s*>(handle);
}

// The audio thread looks at the state before it takes the mutex.
inline uint32_t orvane_state(const orvane_module_s* module) {
  return __atomic_load_n(&module->object.state, __ATOMIC_ACQUIRE);
}
inline void orvane_set_state(orvane_module_s* module, uint32_t state) {
  __atomic_store_n(&module->object.state, state, __ATOMIC_RELEASE);
}

// Puts a new or used context into its defaults and state 1. Allocates a renderer if there is none,
// and otherwise keeps it as it is. Frees the planar buffers. Takes the mutex: a block under way
// ends first, in the old configuration, and a block that waits is refused. Returns 0, -1 when there
// is no memory for the renderer, or -EINVAL.
ORVANE_EXTERN_C int32_t orvane_Init(orvane_module_s* module);

// Number of channels of an AUDIO_CHANNEL_* mask; 0 for a representation other than positions or
// indices.
ORVANE_EXTERN_C int32_t orvane_channel_count(uint32_t mask);

// Frees the planar buffers, `channels` of them on the input side, if there are any.
ORVANE_EXTERN_C void orvane_deallocateBuffers(orvane_object_t* object, int32_t channels);

// Whether the effect can run in a configuration: equal sampling rates, stereo output, float
// samples. Does not look at the input channels. Returns 0, or -EINVAL after logging.
int32_t orvane_check_config(const effect_config_t* config);

// Stores an effect_config_t (at any alignment), builds the renderer for its input channels and
// places their loudspeakers. Returns 0, or -EINVAL after logging:
//   - bad rate, format or output channels: nothing has changed
//   - input channels without a layout: `config` has changed, the renderer goes on as it was
//   - no memory for the renderer: `config` has changed, the renderer is left empty
int32_t orvane_Configure(orvane_module_s* module, const void* config_data);

// Silences the renderer and turns the head straight ahead. A failure is only logged. The caller
// holds the mutex.
void orvane_Reset(orvane_module_s* module);

// Slots of the interface table.
ORVANE_EXTERN_C ORVANE_NONBLOCKING int32_t orvane_Process(effect_handle_t self,
                                                          audio_buffer_t* inBuffer,
                                                          audio_buffer_t* outBuffer);
ORVANE_EXTERN_C int32_t orvane_Command(effect_handle_t self, uint32_t cmdCode, uint32_t cmdSize,
                                       void* pCmdData, uint32_t* replySize, void* pReplyData);
ORVANE_EXTERN_C int32_t orvane_GetDescriptor(effect_handle_t self,
                                             effect_descriptor_t* pDescriptor);

// Slots of AELI: creation and release of an instance, and the descriptor by its UUID.
ORVANE_EXTERN_C int32_t orvaneLib_Create(const effect_uuid_t* uuid, int32_t sessionId, int32_t ioId,
                                         effect_handle_t* pHandle);
ORVANE_EXTERN_C int32_t orvaneLib_Release(effect_handle_t handle);
ORVANE_EXTERN_C int32_t orvaneLib_GetDescriptor(const effect_uuid_t* uuid,
                                                effect_descriptor_t* pDescriptor);

#endif  // ORVANE_EFFECT_ORVANE_H_
