// SPDX-License-Identifier: Apache-2.0
// Result codes of every renderer and module function, passed upwards unchanged.
#ifndef ORVANE_BASE_RESULT_H_
#define ORVANE_BASE_RESULT_H_

enum ubr_result {
  UBR_OK = 0,         // done
  UBR_MISSING = 1,    // null object, module not built, unsupported mode, block over the capacity
  UBR_INVALID = 2,    // invalid argument or value out of range; nothing changed
  UBR_NO_MEMORY = 3,  // an allocation failed; inits also report a null record with it
};

#endif  // ORVANE_BASE_RESULT_H_
