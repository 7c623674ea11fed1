// orvane-validate: measures the shared library and writes a report of what was found.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/shared_options.h"
#include "tools/validate/checks.h"
#include "tools/validate/report.h"

namespace validate {
namespace {

constexpr Section (*kChecks[])(const Library&) = {
    rotation_check, consistency_check, ears_check, loudspeakers_check, latency_check,
    reverb_check,   reflections_check, sine_check, turns_check,        blocks_check};

void write_file(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  file.close();
  if (!file) throw render::Failure(path.string(), errno);
}

void make_folder(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw render::Failure(folder, error.value());
}

void summarise(const std::vector<Section>& sections, const std::string& folder) {
  const auto missed = report_missed(sections);
  const auto unmeasured = report_unmeasured(sections);
  for (const Figure* figure : missed) {
    std::printf("%s is %.4g %s, not %s\n", figure->limit->id, figure->value, figure->limit->unit,
                limit_text(*figure->limit).c_str());
  }
  for (const Limit* limit : unmeasured) std::printf("%s was not measured\n", limit->id);
  std::printf("%zu of %zu figures keep their limits; see %s/index.html\n",
              limits().size() - missed.size() - unmeasured.size(), limits().size(), folder.c_str());
}

int run(int argc, char** argv) {
  std::string folder;
  std::string library_path;
  CLI::App app("Measures the library and writes index.html and report.json.", "orvane-validate");
  app.add_option("FOLDER", folder, "Where to write the report; made if it does not exist")
      ->required();
  app.add_option("--library", library_path, "The liborvane.so to measure");
  const auto ended = render::options_parse_line(&app, argc, argv, [] {});
  if (ended) return *ended;
  const Library library(render::effect_library_find(library_path));
  make_folder(folder);
  std::vector<Section> sections;
  for (const auto check : kChecks) sections.push_back(check(library));
  write_file(std::filesystem::path(folder) / "index.html", report_page(sections));
  write_file(std::filesystem::path(folder) / "report.json", report_json(sections));
  summarise(sections, folder);
  return report_passed(sections) ? 0 : 1;
}

}  // namespace
}  // namespace validate

int main(int argc, char** argv) {
  try {
    return validate::run(argc, argv);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "orvane-validate: %s\n", failure.what());
    return 1;
  }
}
