# SPDX-License-Identifier: Apache-2.0
# Takes the place of the NDK's tool chain file where there is no NDK: clang, lld and the headers of
# libc++ as in the NDK, Debian's C library for the processor of ANDROID_ABI, and in NDK_STAND_IN_SYSROOT the part of
# liblog that the NDK offers. Nothing may stay undefined, and libc++ is not there to be linked.
set(ANDROID ON)
set(CMAKE_SYSTEM_NAME Linux)
if(ANDROID_ABI STREQUAL x86_64)
  set(CMAKE_SYSTEM_PROCESSOR x86_64)
  set(flags "-msse4.2 -mpopcnt")  # what every such device has; the NDK's compiler takes them for granted
else()
  set(CMAKE_SYSTEM_PROCESSOR aarch64)
endif()
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ANDROID_ABI)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
set(CMAKE_CXX_COMPILER_TARGET ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
set(CMAKE_CXX_FLAGS_INIT "-stdlib=libc++ ${flags}")
set(link_flags "-fuse-ld=lld -nostdlib++ -Wl,--no-undefined")
set(CMAKE_EXE_LINKER_FLAGS_INIT ${link_flags})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${link_flags})

set(CMAKE_FIND_ROOT_PATH $ENV{NDK_STAND_IN_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
