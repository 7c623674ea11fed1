// SPDX-License-Identifier: Apache-2.0
// The part of the platform's audio effect interface that the library uses, declared from its binary
// layout for hosts without the platform's headers. Include platform/effect_abi.h, which makes the
// choice.
#ifndef ORVANE_PLATFORM_EFFECT_ABI_DECLARED_H_
#define ORVANE_PLATFORM_EFFECT_ABI_DECLARED_H_

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
  AUDIO_EFFECT_LIBRARY_TAG = ('A' << 24) | ('E' << 16) | ('L' << 8) | 'T',
  EFFECT_STRING_LEN_MAX = 64,
};

#define EFFECT_MAKE_API_VERSION(major, minor) (((major) << 16) | ((minor)&0xFFFF))
#define EFFECT_CONTROL_API_VERSION EFFECT_MAKE_API_VERSION(2, 0)

typedef struct effect_uuid_s {
  uint32_t timeLow;
  uint16_t timeMid;
  uint16_t timeHiAndVersion;
  uint16_t clockSeq;
  uint8_t node[6];
} effect_uuid_t;

typedef struct effect_descriptor_s {
  effect_uuid_t type;  // kind of effect
  effect_uuid_t uuid;  // this implementation of it
  uint32_t apiVersion;
  uint32_t flags;        // EFFECT_FLAG_*
  uint16_t cpuLoad;      // 0.1 MIPS
  uint16_t memoryUsage;  // KB
  char name[EFFECT_STRING_LEN_MAX];
  char implementor[EFFECT_STRING_LEN_MAX];
} effect_descriptor_t;

enum {
  EFFECT_FLAG_TYPE_INSERT = 0,        // bits 0 to 2: how the effect is connected
  EFFECT_FLAG_INSERT_FIRST = 1 << 3,  // bits 3 to 5: where in the chain
};

// Interleaved samples.
typedef struct audio_buffer_s {
  size_t frameCount;
  union {
    void* raw;
    float* f32;
    int32_t* s32;
    int16_t* s16;
    uint8_t* u8;
  };
} audio_buffer_t;

typedef int32_t (*buffer_function_t)(void* cookie, audio_buffer_t* buffer);

typedef struct buffer_provider_s {
  buffer_function_t getBuffer;
  buffer_function_t releaseBuffer;
  void* cookie;
} buffer_provider_t;

typedef struct buffer_config_s {
  audio_buffer_t buffer;
  uint32_t samplingRate;  // Hz
  uint32_t channels;      // AUDIO_CHANNEL_OUT_*
  buffer_provider_t bufferProvider;
  uint8_t format;      // AUDIO_FORMAT_*
  uint8_t accessMode;  // EFFECT_BUFFER_ACCESS_*
  uint16_t mask;       // EFFECT_CONFIG_*: the fields that count
} buffer_config_t;

typedef struct effect_config_s {
  buffer_config_t inputCfg;
  buffer_config_t outputCfg;
} effect_config_t;

enum effect_buffer_access_e {
  EFFECT_BUFFER_ACCESS_WRITE = 0,       // replace what the buffer holds
  EFFECT_BUFFER_ACCESS_READ = 1,        // input
  EFFECT_BUFFER_ACCESS_ACCUMULATE = 2,  // add to what the buffer holds
};

enum {
  EFFECT_CONFIG_BUFFER = 0x01,
  EFFECT_CONFIG_SMP_RATE = 0x02,
  EFFECT_CONFIG_CHANNELS = 0x04,
  EFFECT_CONFIG_FORMAT = 0x08,
  EFFECT_CONFIG_ACC_MODE = 0x10,
  EFFECT_CONFIG_ALL = EFFECT_CONFIG_BUFFER | EFFECT_CONFIG_SMP_RATE | EFFECT_CONFIG_CHANNELS |
                      EFFECT_CONFIG_FORMAT | EFFECT_CONFIG_ACC_MODE,
};

// Command codes; the payload of each is described where effect/ handles it.
enum effect_command_e {
  EFFECT_CMD_INIT,
  EFFECT_CMD_SET_CONFIG,
  EFFECT_CMD_RESET,
  EFFECT_CMD_ENABLE,
  EFFECT_CMD_DISABLE,
  EFFECT_CMD_SET_PARAM,
  EFFECT_CMD_SET_PARAM_DEFERRED,
  EFFECT_CMD_SET_PARAM_COMMIT,
  EFFECT_CMD_GET_PARAM,
  EFFECT_CMD_SET_DEVICE,
  EFFECT_CMD_SET_VOLUME,
  EFFECT_CMD_SET_AUDIO_MODE,
  EFFECT_CMD_SET_CONFIG_REVERSE,
  EFFECT_CMD_SET_INPUT_DEVICE,
};

// Head of a parameter: `psize` bytes of id, padded to four, and `vsize` bytes of value follow. (No
// flexible array member for them: C++ has none.)
typedef struct effect_param_s {
  int32_t status;
  uint32_t psize;
  uint32_t vsize;
} effect_param_t;

struct effect_interface_s;
typedef struct effect_interface_s** effect_handle_t;

struct effect_interface_s {
  int32_t (*process)(effect_handle_t self, audio_buffer_t* inBuffer, audio_buffer_t* outBuffer);
  int32_t (*command)(effect_handle_t self, uint32_t cmdCode, uint32_t cmdSize, void* pCmdData,
                     uint32_t* replySize, void* pReplyData);
  int32_t (*get_descriptor)(effect_handle_t self, effect_descriptor_t* pDescriptor);
  int32_t (*process_reverse)(effect_handle_t self, audio_buffer_t* inBuffer,
                             audio_buffer_t* outBuffer);
};

// What a library exports under the name AELI.
typedef struct audio_effect_library_s {
  uint32_t tag;
  uint32_t version;
  const char* name;
  const char* implementor;
  int32_t (*create_effect)(const effect_uuid_t* uuid, int32_t sessionId, int32_t ioId,
                           effect_handle_t* pHandle);
  int32_t (*release_effect)(effect_handle_t handle);
  int32_t (*get_descriptor)(const effect_uuid_t* uuid, effect_descriptor_t* pDescriptor);
} audio_effect_library_t;

enum {
  AUDIO_FORMAT_PCM_16_BIT = 1,
  AUDIO_FORMAT_PCM_FLOAT = 5,
};

// One bit per loudspeaker position; a stream holds its channels in ascending bit order.
enum {
  AUDIO_CHANNEL_OUT_STEREO = 0x3,
  AUDIO_CHANNEL_OUT_5POINT1 = 0x3F,
  AUDIO_CHANNEL_OUT_7POINT1 = 0x63F,
  AUDIO_CHANNEL_OUT_7POINT1POINT2 = 0xC063F,
  AUDIO_CHANNEL_OUT_9POINT1POINT4 = 0x302D63F,
  AUDIO_CHANNEL_OUT_9POINT1POINT6 = 0x30ED63F,
};

// Spatializer parameters.
enum {
  SPATIALIZER_PARAM_SUPPORTED_LEVELS = 0,                // count, then that many levels, bytes
  SPATIALIZER_PARAM_LEVEL = 1,                           // SPATIALIZATION_LEVEL_*, a byte
  SPATIALIZER_PARAM_HEADTRACKING_SUPPORTED = 2,          // a byte
  SPATIALIZER_PARAM_HEADTRACKING_MODE = 3,               // a byte
  SPATIALIZER_PARAM_SUPPORTED_CHANNEL_MASKS = 4,         // count, then that many masks, uint32
  SPATIALIZER_PARAM_SUPPORTED_SPATIALIZATION_MODES = 5,  // count, then that many modes, bytes
  SPATIALIZER_PARAM_HEAD_TO_STAGE = 6,                   // translation and rotation, six floats
};

enum {
  SPATIALIZATION_LEVEL_NONE = 0,
  SPATIALIZATION_LEVEL_MULTICHANNEL = 1,
};

enum {
  SPATIALIZATION_MODE_BINAURAL = 0,
  SPATIALIZATION_MODE_TRANSAURAL = 1,
};

#ifdef __cplusplus
}
#endif

#endif  // ORVANE_PLATFORM_EFFECT_ABI_DECLARED_H_
