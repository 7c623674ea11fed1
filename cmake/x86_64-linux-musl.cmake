# SPDX-License-Identifier: Apache-2.0
# Build for musl, the C library of Alpine and others, with clang, the headers of libc++ and Debian's musl-dev. libc++
# itself is not there for musl, and nothing of it is needed.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-linux-musl)
set(CMAKE_CXX_COMPILER_TARGET x86_64-linux-musl)

# Debian keeps musl in folders of its own beside those of the GNU library, which must stay out of sight, and Highway's
# headers among those.
set(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/musl-sysroot)
file(MAKE_DIRECTORY ${sysroot}/usr ${sysroot}/highway)
file(CREATE_LINK /usr/include/x86_64-linux-musl ${sysroot}/usr/include SYMBOLIC)
file(CREATE_LINK /usr/lib/x86_64-linux-musl ${sysroot}/usr/lib SYMBOLIC)
file(CREATE_LINK /usr/include/hwy ${sysroot}/highway/hwy SYMBOLIC)
set(CMAKE_SYSROOT ${sysroot})
set(HWY_ROOT ${sysroot}/highway CACHE PATH "Folder that holds hwy/highway.h")

set(CMAKE_CXX_FLAGS_INIT "-stdlib=libc++ -D_LIBCPP_HAS_MUSL_LIBC")
set(link_flags "--gcc-toolchain=/usr -fuse-ld=lld -nostdlib++ -static-libgcc -Wl,--no-undefined")
set(CMAKE_EXE_LINKER_FLAGS_INIT ${link_flags})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${link_flags})
