// The larger of two figures.
#ifndef ORVANE_TOOLS_VALIDATE_LARGER_H_
#define ORVANE_TOOLS_VALIDATE_LARGER_H_

namespace validate {

// Not a number where either is none, which std::max would pass over.
inline double larger(double a, double b) { return a > b || a != a ? a : b; }

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_LARGER_H_
