// SPDX-License-Identifier: Apache-2.0
// Constants and constant functions in headers that both C and C++ read.
#ifndef ORVANE_BASE_CONSTANT_H_
#define ORVANE_BASE_CONSTANT_H_

#ifdef __cplusplus
#define ORVANE_CONSTANT inline constexpr
#define ORVANE_CONSTANT_FUNCTION constexpr
#else
#define ORVANE_CONSTANT static const
#define ORVANE_CONSTANT_FUNCTION static inline
#endif

#endif  // ORVANE_BASE_CONSTANT_H_
