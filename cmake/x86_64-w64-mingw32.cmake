# SPDX-License-Identifier: Apache-2.0
# Cross build for 64-bit Windows with Debian's MinGW; programs run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)  # programs run without the compiler's libraries beside them

# Highway's headers lie among those of the host's system, which must stay out of sight.
set(highway ${CMAKE_CURRENT_LIST_DIR}/../build/mingw-highway)
file(MAKE_DIRECTORY ${highway})
file(CREATE_LINK /usr/include/hwy ${highway}/hwy SYMBOLIC)
set(HWY_ROOT ${highway} CACHE PATH "Folder that holds hwy/highway.h")
