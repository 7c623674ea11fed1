# Finds PFFFT, a real-input FFT, and gives the target PFFFT::pffft.
#
# Looked for in this order: PFFFT_ROOT, the system, the folder that scripts/setup fills. The header may
# be pffft.h or pffft/pffft.h; either way it is included as <pffft.h>. The library may be static: then
# none of its symbols leaves liborvane.so, which hides what it takes from archives.
set(PFFFT_FETCHED ${CMAKE_CURRENT_LIST_DIR}/../third_party/pffft)
list(APPEND CMAKE_FIND_ROOT_PATH ${PFFFT_ROOT})  # also where a tool chain keeps to its own folders

find_path(PFFFT_INCLUDE_DIR pffft.h
  PATH_SUFFIXES include include/pffft pffft)
find_library(PFFFT_LIBRARY NAMES pffft
  PATH_SUFFIXES lib lib/${CMAKE_LIBRARY_ARCHITECTURE})

if(NOT PFFFT_INCLUDE_DIR OR NOT PFFFT_LIBRARY)
  unset(PFFFT_INCLUDE_DIR CACHE)
  unset(PFFFT_LIBRARY CACHE)
  find_path(PFFFT_INCLUDE_DIR pffft.h
    PATHS ${PFFFT_FETCHED}/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  find_library(PFFFT_LIBRARY NAMES pffft
    PATHS ${PFFFT_FETCHED}/lib/${CMAKE_LIBRARY_ARCHITECTURE} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PFFFT
  REQUIRED_VARS PFFFT_LIBRARY PFFFT_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "run scripts/setup, or set PFFFT_ROOT")

if(PFFFT_FOUND AND NOT TARGET PFFFT::pffft)
  add_library(PFFFT::pffft UNKNOWN IMPORTED)
  set_target_properties(PFFFT::pffft PROPERTIES
    IMPORTED_LOCATION ${PFFFT_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${PFFFT_INCLUDE_DIR})
endif()
mark_as_advanced(PFFFT_INCLUDE_DIR PFFFT_LIBRARY)
