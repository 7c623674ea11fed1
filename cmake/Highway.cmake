# SPDX-License-Identifier: Apache-2.0
# Gives orvane_objects Google Highway, from which the vector kernels are made. ORVANE_HWY_LIBRARY is what a program
# links for it.
#
#   HWY_ROOT   folder that holds hwy/highway.h or include/hwy/highway.h; without, Highway is looked for on
#              the system, as its CMake package
#
# The package brings a library that chooses the instructions when the program runs. Headers alone are
# enough where there is one vector target: on 64-bit ARM, or for the instructions that the compiler may use.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  # The kernels are header-only and the library links nothing for them.
  # It is NEON whatever the compiler may use: vectors of SVE, whose size is not known, cannot stand in records.
  set(hwy_static HWY_COMPILE_ONLY_STATIC
    "HWY_DISABLED_TARGETS=(HWY_SVE|HWY_SVE2|HWY_SVE_256|HWY_SVE2_128)")
elseif(HWY_ROOT OR ANDROID)
  set(hwy_static HWY_COMPILE_ONLY_STATIC)
else()
  find_package(hwy QUIET)
  if(NOT hwy_FOUND)
    message(FATAL_ERROR "Highway is missing: install it (Debian: libhwy-dev; for MinGW: scripts/windows-libraries), "
      "or give -DHWY_ROOT= the folder that holds hwy/highway.h")
  endif()
  set(ORVANE_HWY_LIBRARY hwy::hwy)
  target_link_libraries(orvane_objects PUBLIC ${ORVANE_HWY_LIBRARY})
  if(ORVANE_FUZZ)
    # A processor takes one of the targets: the others would take a fuzzer half of its build and count as not covered.
    target_compile_definitions(orvane_objects PUBLIC
      "HWY_DISABLED_TARGETS=(HWY_SSSE3|HWY_SSE4|HWY_AVX3|HWY_AVX3_DL)")
  endif()
  return()
endif()

target_compile_definitions(orvane_objects PUBLIC ${hwy_static})
if(HWY_ROOT OR ANDROID)
  find_path(HWY_INCLUDE_DIR hwy/highway.h PATHS ${HWY_ROOT} PATH_SUFFIXES include
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH  # never the host's own headers
    NO_CACHE)
  if(NOT HWY_INCLUDE_DIR)
    message(FATAL_ERROR "HWY_ROOT has to be the folder that holds hwy/highway.h")
  endif()
  target_include_directories(orvane_objects SYSTEM PUBLIC ${HWY_INCLUDE_DIR})
endif()
