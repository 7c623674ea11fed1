# SPDX-License-Identifier: Apache-2.0
# Finds Android's log library and gives the target AndroidLog::log. Android's own tool chains have it
# on their default paths; Debian's android-liblog-dev keeps it in folders named android.
find_path(AndroidLog_INCLUDE_DIR android/log.h PATH_SUFFIXES android)
find_library(AndroidLog_LIBRARY NAMES log PATH_SUFFIXES android)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(AndroidLog REQUIRED_VARS AndroidLog_LIBRARY AndroidLog_INCLUDE_DIR)

if(AndroidLog_FOUND AND NOT TARGET AndroidLog::log)
  get_filename_component(AndroidLog_DIRECTORY ${AndroidLog_LIBRARY} DIRECTORY)
  add_library(AndroidLog::log UNKNOWN IMPORTED)
  set_target_properties(AndroidLog::log PROPERTIES
    IMPORTED_LOCATION ${AndroidLog_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${AndroidLog_INCLUDE_DIR})
endif()
mark_as_advanced(AndroidLog_INCLUDE_DIR AndroidLog_LIBRARY)
