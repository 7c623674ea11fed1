// SPDX-License-Identifier: Apache-2.0
// What a plug-in has from its host.
#ifndef ORVANE_LV2_HOST_H_
#define ORVANE_LV2_HOST_H_

#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/urid/urid.h>

#include <cstdio>
#include <cstring>

namespace lv2_plugin {

// The one of the host's features with that URI, or null.
inline const void* find_feature(const LV2_Feature* const* features, const char* uri) {
  for (; features && *features; ++features) {
    if (!std::strcmp((*features)->URI, uri)) return (*features)->data;
  }
  return nullptr;
}

// The host's log, or standard error where it has none. Not for the audio thread.
class Log {
 public:
  explicit Log(const LV2_Feature* const* features)
      : log_(static_cast<const LV2_Log_Log*>(find_feature(features, LV2_LOG__log))),
        map_(static_cast<const LV2_URID_Map*>(find_feature(features, LV2_URID__map))) {}

  void error(const char* line) const {
    if (log_ && map_) {
      log_->printf(log_->handle, map_->map(map_->handle, LV2_LOG__Error), "orvane: %s\n", line);
    } else {
      std::fprintf(stderr, "orvane: %s\n", line);
    }
  }

 private:
  const LV2_Log_Log* log_;
  const LV2_URID_Map* map_;
};

}  // namespace lv2_plugin

#endif  // ORVANE_LV2_HOST_H_
