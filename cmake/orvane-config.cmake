# SPDX-License-Identifier: Apache-2.0
# liborvane for CMake: orvane::orvane is the shared library, orvane::orvane_static the archive, which is there
# where what it links is.
include(${CMAKE_CURRENT_LIST_DIR}/orvane-targets.cmake)

include(CMakeFindDependencyMacro)
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
foreach(dependency IN ITEMS Threads AndroidLog hwy)
  find_package(${dependency} QUIET)
endforeach()
list(POP_FRONT CMAKE_MODULE_PATH)
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/orvane-static-targets.cmake orvane_archive REGEX "INTERFACE_LINK_LIBRARIES")
set(orvane_archive_links ON)
foreach(dependency IN ITEMS Threads::Threads AndroidLog::log hwy::hwy)
  if(orvane_archive MATCHES ${dependency} AND NOT TARGET ${dependency})
    set(orvane_archive_links OFF)
  endif()
endforeach()
if(orvane_archive_links)
  include(${CMAKE_CURRENT_LIST_DIR}/orvane-static-targets.cmake)
endif()
