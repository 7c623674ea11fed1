// SPDX-License-Identifier: Apache-2.0
// The ears that a plug-in listens with, as its host says: by a message, or by its saved state.
#ifndef ORVANE_LV2_EARS_H_
#define ORVANE_LV2_EARS_H_

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <memory>
#include <mutex>
#include <string>

#include "tools/ears/ear_fit.h"

namespace lv2_plugin {

// Reads messages on the audio thread, and is otherwise for the host's other threads.
class Ears {
 public:
  // Null for the built-in ones.
  using Tables = std::shared_ptr<const ears::EarTables>;

  // Without the feature urid:map nothing is read or saved.
  explicit Ears(const LV2_URID_Map* map);

  // The path in the last message that sets the ears, of `*length` letters; null where there is
  // none. Empty: the built-in ears. Neither waits nor allocates.
  const char* find_request(const LV2_Atom_Sequence* messages, size_t* length) const;

  // Fits the ears of a SOFA file, or takes those that were fitted before; takes about a second.
  // Empty: the built-in ones. Returns why not, where the ears stay as they were, or nothing.
  std::string load(const std::string& path);

  Tables tables() const;

  LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle,
                        const LV2_Feature* const* features) const;

  // Loads the saved ones. `*problem` says why they cannot be used; the ears stay as they were then,
  // and their path is saved all the same.
  LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle,
                           const LV2_Feature* const* features, std::string* problem);

 private:
  LV2_URID map(const char* uri) const { return map_ ? map_->map(map_->handle, uri) : 0; }

  const LV2_URID_Map* map_;
  const LV2_URID path_type_, urid_type_, object_type_, set_, property_, value_, ears_;
  mutable std::mutex mutex_;  // of what follows; the audio thread does not take it
  std::string path_;          // that is saved
  Tables tables_;
};

}  // namespace lv2_plugin

#endif  // ORVANE_LV2_EARS_H_
