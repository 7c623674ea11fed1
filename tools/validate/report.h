// The report: a page to look at, and the same figures for programs.
#ifndef ORVANE_TOOLS_VALIDATE_REPORT_H_
#define ORVANE_TOOLS_VALIDATE_REPORT_H_

#include <string>
#include <vector>

#include "tools/validate/section.h"

namespace validate {

// Figures that miss their limits.
std::vector<const Figure*> report_missed(const std::vector<Section>& sections);

// Rows of the table of limits that no section has measured.
std::vector<const Limit*> report_unmeasured(const std::vector<Section>& sections);

// Whether every figure was measured and keeps its limit.
bool report_passed(const std::vector<Section>& sections);

// One self-contained HTML page.
std::string report_page(const std::vector<Section>& sections);

// {"passed": ..., "figures": [{"id", "what", "unit", "value", "at_least", "at_most", "passed"}]};
// null stands for a limit that does not exist and for a value that is not finite.
std::string report_json(const std::vector<Section>& sections);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_REPORT_H_
