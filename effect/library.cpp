// SPDX-License-Identifier: Apache-2.0
// What the platform finds in the library: the record AELI, the effect's descriptor and the table of
// an instance's functions; creation and release of instances.
#include <errno.h>
#include <string.h>

#include "base/export.h"
#include "base/memory.h"
#include "effect/orvane.h"
#include "effect/uuid.h"
#include "platform/log.h"

#define ORVANE_NAME "KRN Spatial Audio Renderer (orvane)"
#define ORVANE_IMPLEMENTOR "Tessaly Technologies, Inc."

const effect_interface_s gOrvaneInterface = {
    .process = orvane_Process,
    .command = orvane_Command,
    .get_descriptor = orvane_GetDescriptor,
    .process_reverse = nullptr,
};

const effect_descriptor_t gOrvaneDescriptor = {
    // The platform's type of spatializers, FX_IID_SPATIALIZER.
    .type = {0xccd4cf09, 0xa79d, 0x46c2, 0x9aae, {0x06, 0xa1, 0x69, 0x8d, 0x6c, 0x8f}},
    .uuid = orvane_uuid,
    .apiVersion = EFFECT_CONTROL_API_VERSION,
    .flags = EFFECT_FLAG_TYPE_INSERT | EFFECT_FLAG_INSERT_FIRST,
    .cpuLoad = 0,
    .memoryUsage = 0,
    .name = ORVANE_NAME,
    .implementor = ORVANE_IMPLEMENTOR,
};

namespace {

bool is_our_uuid(const effect_uuid_t* uuid) {
  return memcmp(uuid, &gOrvaneDescriptor.uuid, sizeof(*uuid)) == 0;
}

bool init_mutexes(orvane_object_t* object) {
  if (pthread_mutex_init(&object->mutex, nullptr) != 0) return false;
  if (pthread_mutex_init(&object->command_mutex, nullptr) == 0) return true;
  pthread_mutex_destroy(&object->mutex);
  return false;
}

void destroy_mutexes(orvane_object_t* object) {
  pthread_mutex_destroy(&object->command_mutex);
  pthread_mutex_destroy(&object->mutex);
}

// Frees a context and everything it owns. Its mutexes must exist, all else may be missing.
void destroy_module(orvane_module_s* module) {
  orvane_object_t* object = &module->object;
  {
    const ScopedLock lock(&object->mutex);
    orvane_set_state(module, ORVANE_STATE_UNINITIALIZED);
    orvane_deallocateBuffers(object, object->buffer_channels);
    if (object->renderer) ubr_cleanup(object->renderer);
    release(object->renderer);
  }
  destroy_mutexes(object);
  release(module);
}

}  // namespace

int32_t orvaneLib_Create(const effect_uuid_t* uuid, int32_t /*sessionId*/, int32_t /*ioId*/,
                         effect_handle_t* pHandle) {
  ORVANE_LOGI("orvaneLib_Create()");
  if (!pHandle || !uuid) return -EINVAL;
  if (!is_our_uuid(uuid)) return -ENOENT;

  orvane_module_s* module = alloc_zeroed<orvane_module_s>();
  if (!module || !init_mutexes(&module->object)) {
    ORVANE_LOGE("orvaneLib_Create() init failed");
    release(module);
    return -1;
  }
  module->itfe = &gOrvaneInterface;
  if (const int32_t code = orvane_Init(module)) {
    ORVANE_LOGE("orvaneLib_Create() init failed");
    destroy_module(module);
    return code;
  }
  *pHandle = reinterpret_cast<effect_handle_t>(module);
  return 0;
}

int32_t orvaneLib_Release(effect_handle_t handle) {
  ORVANE_LOGI("orvaneLib_Release() %p", static_cast<void*>(handle));
  if (!handle) return -EINVAL;
  destroy_module(orvane_module(handle));
  return 0;
}

int32_t orvaneLib_GetDescriptor(const effect_uuid_t* uuid, effect_descriptor_t* pDescriptor) {
  if (!uuid || !pDescriptor) {
    // Deliberate: the text names Create, because readers of the log look for it.
    ORVANE_LOGE("orvaneLib_Create() called with NULL pointer");
    return -EINVAL;
  }
  // Deliberate: an unknown UUID is -EINVAL here but -ENOENT at creation, because
  // the platform tells the two calls' failures apart.
  if (!is_our_uuid(uuid)) return -EINVAL;
  *pDescriptor = gOrvaneDescriptor;
  return 0;
}

int32_t orvane_GetDescriptor(effect_handle_t self, effect_descriptor_t* pDescriptor) {
  if (!self || orvane_state(orvane_module(self)) == ORVANE_STATE_UNINITIALIZED) return -EINVAL;
  *pDescriptor = gOrvaneDescriptor;
  return 0;
}

ORVANE_API const audio_effect_library_t AELI;
const audio_effect_library_t AELI = {
    .tag = AUDIO_EFFECT_LIBRARY_TAG,
    .version = EFFECT_MAKE_API_VERSION(3, 0),
    .name = ORVANE_NAME,
    .implementor = ORVANE_IMPLEMENTOR,
    .create_effect = orvaneLib_Create,
    .release_effect = orvaneLib_Release,
    .get_descriptor = orvaneLib_GetDescriptor,
};
