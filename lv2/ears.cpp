// SPDX-License-Identifier: Apache-2.0
#include "lv2/ears.h"

#include <lv2/atom/util.h>
#include <lv2/patch/patch.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

#include "lv2/host.h"
#include "lv2/ports.h"
#include "tools/ears/ears.h"

namespace lv2_plugin {
namespace {

const char* body_of(const LV2_Atom* atom) { return reinterpret_cast<const char*>(atom + 1); }

}  // namespace

Ears::Ears(const LV2_URID_Map* uri_map)
    : map_(uri_map),
      path_type_(map(LV2_ATOM__Path)),
      urid_type_(map(LV2_ATOM__URID)),
      object_type_(map(LV2_ATOM__Object)),
      set_(map(LV2_PATCH__Set)),
      property_(map(LV2_PATCH__property)),
      value_(map(LV2_PATCH__value)),
      ears_(map(kEarsUri)) {}

const char* Ears::find_request(const LV2_Atom_Sequence* messages, size_t* length) const {
  const char* found = nullptr;
  if (!messages || !map_) return found;
  LV2_ATOM_SEQUENCE_FOREACH(messages, event) {
    if (event->body.type != object_type_) continue;
    const auto* object = reinterpret_cast<const LV2_Atom_Object*>(&event->body);
    if (object->body.otype != set_) continue;
    const LV2_Atom *property = nullptr, *value = nullptr;
    lv2_atom_object_get(object, property_, &property, value_, &value, 0);
    if (!property || property->type != urid_type_ || !value || value->type != path_type_) continue;
    if (reinterpret_cast<const LV2_Atom_URID*>(property)->body != ears_) continue;
    found = body_of(value);
    *length = strnlen(found, value->size);
  }
  return found;
}

std::string Ears::load(const std::string& path) {
  Tables tables;
  try {
    if (!path.empty()) {
      tables = std::make_shared<const ears::EarTables>(ears::ears_load(path).tables);
    }
  } catch (const std::exception& failure) {  // a Failure with the path, or the memory has run out
    return failure.what();
  }
  const std::lock_guard lock(mutex_);
  path_ = path;
  tables_ = std::move(tables);
  return {};
}

Ears::Tables Ears::tables() const {
  const std::lock_guard lock(mutex_);
  return tables_;
}

LV2_State_Status Ears::save(LV2_State_Store_Function store, LV2_State_Handle handle,
                            const LV2_Feature* const* features) const {
  if (!map_) return LV2_STATE_ERR_NO_FEATURE;
  std::string path;
  {
    const std::lock_guard lock(mutex_);
    path = path_;
  }
  const auto* mapper =
      static_cast<const LV2_State_Map_Path*>(find_feature(features, LV2_STATE__mapPath));
  if (mapper && !path.empty()) {
    char* mapped = mapper->abstract_path(mapper->handle, path.c_str());
    if (mapped) path = mapped;
    const auto* freer =
        static_cast<const LV2_State_Free_Path*>(find_feature(features, LV2_STATE__freePath));
    freer ? freer->free_path(freer->handle, mapped) : std::free(mapped);
  }
  return store(handle, ears_, path.c_str(), path.size() + 1, path_type_,
               LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE);
}

LV2_State_Status Ears::restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle,
                               const LV2_Feature* const* features, std::string* problem) {
  if (!map_) return LV2_STATE_ERR_NO_FEATURE;
  size_t size = 0;
  uint32_t type = 0, flags = 0;
  const void* value = retrieve(handle, ears_, &size, &type, &flags);
  if (!value) return LV2_STATE_SUCCESS;  // saved before there were ears to choose
  if (type != path_type_) return LV2_STATE_ERR_BAD_TYPE;
  const char* text = static_cast<const char*>(value);
  std::string path(text, strnlen(text, size));
  const auto* mapper =
      static_cast<const LV2_State_Map_Path*>(find_feature(features, LV2_STATE__mapPath));
  if (mapper && !path.empty()) {
    char* mapped = mapper->absolute_path(mapper->handle, path.c_str());
    if (mapped) path = mapped;
    const auto* freer =
        static_cast<const LV2_State_Free_Path*>(find_feature(features, LV2_STATE__freePath));
    freer ? freer->free_path(freer->handle, mapped) : std::free(mapped);
  }
  *problem = load(path);
  if (!problem->empty()) {  // the file may be there next time: what is saved is what was asked for
    const std::lock_guard lock(mutex_);
    path_ = path;
  }
  return problem->empty() ? LV2_STATE_SUCCESS : LV2_STATE_ERR_UNKNOWN;
}

}  // namespace lv2_plugin
