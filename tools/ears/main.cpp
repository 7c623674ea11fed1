// SPDX-License-Identifier: Apache-2.0
// orvane-ears: fits response tables to a SOFA file, tells how well, and writes them.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <fstream>

#include "ambisonics/sh_hrir.h"
#include "base/limits.h"
#include "tools/ears/ears.h"
#include "tools/render/failure.h"
#include "tools/render/shared_options.h"

namespace {

constexpr char kDescription[] =
    "Fits responses for orvane-render --ears and orvane-live --ears to head-related impulse\n"
    "responses (SOFA, SimpleFreeFieldHRIR), keeps them in the cache and tells how close they are.";

constexpr char kFooter[] =
    R"(A table is a NumPy file of the shape (2 ears, 256 taps, 25 channels), 32-bit
floats at 48 kHz, ACN and SN3D, as Renderer(ears=...) of the Python package takes it.

Exit status: 0 fitted, 1 the file cannot be used (the last line says why), 2 wrong
command line.)";

void write_table(const std::string& path, const ears::EarTables& tables) {
  std::ofstream file(path, std::ios::binary);
  std::string header = "{'descr': '<f4', 'fortran_order': False, 'shape': (" +
                       std::to_string(ORVANE_NUM_EARS) + ", " + std::to_string(SH_HRIR_TAPS) +
                       ", " + std::to_string(SH_HRIR_CHANNELS) + "), }";
  header.resize(117, ' ');  // so that the samples begin at a multiple of 64 bytes
  header += '\n';
  const char length[] = {static_cast<char>(header.size()), 0};
  file.write("\x93NUMPY\x01\x00", 8).write(length, 2);
  file << header;
  for (const std::vector<float>& table : tables.ears) {
    file.write(reinterpret_cast<const char*>(table.data()),
               static_cast<std::streamsize>(table.size() * sizeof(float)));
  }
  file.close();
  if (!file) throw render::Failure(path, "cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
  try {
    CLI::App app(kDescription, "orvane-ears");
    app.footer(kFooter);
    std::string sofa, table;
    bool again = false;
    app.add_option("FILE", sofa, "Responses: .sofa, at any sample rate, on any grid")
        ->type_name("")
        ->required();
    app.add_option("--table", table, "Write the tables of both ears")->type_name("OUT.npy");
    app.add_flag("--again", again, "Fit again, whatever the cache has");
    render::version_option_add(&app);
    if (const std::optional<int> ended = render::options_parse_line(&app, argc, argv, [] {})) {
      return *ended;
    }
    const ears::Ears ears = ears::ears_load(sofa, again);
    std::fputs(ears::ears_report(sofa, ears.report).c_str(), stdout);
    if (!table.empty()) write_table(table, ears.tables);
    return 0;
  } catch (const std::exception& failure) {  // Failure, or the memory has run out
    std::fprintf(stderr, "orvane-ears: %s\n", failure.what());
  }
  return 1;
}
