#include "tools/render/text.h"
#include "tools/validate/report.h"

namespace validate {
namespace {

using render::text_format;

constexpr char kHead[] = R"(<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Validation of liborvane</title>
<style>
  :root { color-scheme: light dark; }
  body { font: 16px/1.5 sans-serif; margin: 0 auto; max-width: 1000px; padding: 1em;
         background: #fff; color: #222; }
  h2 { margin: 2em 0 0; } svg { display: block; width: 100%; margin-top: 1em; }
  table { border-collapse: collapse; width: 100%; }
  th, td { text-align: left; padding: 0.2em 0.8em 0.2em 0; border-bottom: 1px solid #ddd; }
  td.number { text-align: right; } td { vertical-align: top; }
  td:nth-child(n + 3) { white-space: nowrap; }
  a { color: #0067b0; } .kept { color: #00795a; } .missed { color: #b3002d; font-weight: bold; }
  @media (prefers-color-scheme: dark) {
    body { background: #16181c; color: #e4e4e4; } th, td { border-color: #3a3d44; }
    a { color: #5cb3f5; } .kept { color: #3fd0a4; } .missed { color: #ff7b93; }
  }
</style>
)";

std::string verdict(const std::vector<Section>& sections) {
  if (report_passed(sections)) {
    return text_format("<p class=\"kept\">All %zu figures keep their limits.</p>\n",
                       limits().size());
  }
  return text_format(
      "<p class=\"missed\">Of %zu figures %zu miss their limits, %zu were not measured.</p>\n",
      limits().size(), report_missed(sections).size(), report_unmeasured(sections).size());
}

std::string row(const Section& section, const Figure& figure) {
  const char* style = figure.kept() ? "kept" : "missed";
  return text_format("<tr><td><a href=\"#%s\">%s</a></td><td>%s</td>", section.id.c_str(),
                     figure.limit->id, figure.limit->what) +
         text_format("<td class=\"number\">%.4g %s</td><td>", figure.value, figure.limit->unit) +
         limit_text(*figure.limit) +
         text_format("</td><td class=\"%s\">%s</td></tr>\n", style, style);
}

std::string table(const std::vector<Section>& sections) {
  std::string text =
      "<table id=\"figures\">\n<thead><tr><th>figure</th><th>what</th><th>found</th>"
      "<th>limit</th><th></th></tr></thead>\n<tbody>\n";
  for (const Section& section : sections) {
    for (const Figure& figure : section.figures) text += row(section, figure);
  }
  return text + "</tbody>\n</table>\n";
}

std::string chapter(const Section& section) {
  std::string text = "<section id=\"" + section.id + "\">\n<h2>" + section.title + "</h2>\n<p>" +
                     section.text + "</p>\n";
  for (const std::string& picture : section.pictures) text += picture;
  return text + "</section>\n";
}

}  // namespace

std::string report_page(const std::vector<Section>& sections) {
  std::string page =
      kHead + measure::svg_style() +
      "</head>\n<body>\n<h1>Validation of liborvane</h1>\n"
      "<p>Measured on the shared library as an application loads it. What each figure "
      "means, and where its limit comes from: docs/validation.md.</p>\n" +
      verdict(sections) + table(sections);
  for (const Section& section : sections) page += chapter(section);
  return page + "</body>\n</html>\n";
}

}  // namespace validate
