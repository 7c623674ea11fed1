// SPDX-License-Identifier: Apache-2.0
// The processors that the library is for; elsewhere compilers stop here. Every header of functions
// and the effect interface include this one.
#ifndef ORVANE_BASE_PROCESSOR_H_
#define ORVANE_BASE_PROCESSOR_H_

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "liborvane is for little-endian processors: hosts hand over parameters as they lie in memory"
#endif

// In a browser there is the renderer alone, without the effect.
#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ != 8 && !defined(__EMSCRIPTEN__)
#error "liborvane is for 64-bit processors: the effect interface's records have no other layout"
#endif

#endif  // ORVANE_BASE_PROCESSOR_H_
