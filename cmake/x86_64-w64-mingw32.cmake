# SPDX-License-Identifier: Apache-2.0
# Cross build for 64-bit Windows with Debian's MinGW; programs run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine64)
set(libraries ${CMAKE_CURRENT_LIST_DIR}/../build/mingw-libraries)  # what scripts/windows-libraries builds
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${libraries})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${libraries}/lib/pkgconfig)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)  # programs run without the compiler's libraries beside them

# Headers that need no library lie among those of the host's system, which must stay out of sight.
file(MAKE_DIRECTORY ${libraries}/include ${libraries}/share/cmake)
foreach(shared IN ITEMS include/CLI share/cmake/CLI11)
  file(CREATE_LINK /usr/${shared} ${libraries}/${shared} SYMBOLIC)
endforeach()
