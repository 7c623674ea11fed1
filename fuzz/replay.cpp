// SPDX-License-Identifier: Apache-2.0
// Runs a fuzzer's function once over each of the given files, or over each file of a folder: what
// the ordinary tests do with the seeds, without a fuzzing engine.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/input.h"

namespace {

namespace fs = std::filesystem;

void replay(const fs::path& path) {
  printf("%s\n", path.c_str());
  fflush(stdout);  // so that the last line names the culprit
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
  const std::vector<uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    if (!fs::is_directory(argv[i])) {
      replay(argv[i]);
      ++count;
      continue;
    }
    for (const auto& entry : fs::directory_iterator(argv[i])) {
      replay(entry.path());
      ++count;
    }
  }
  require(count > 0, "there is something to replay");
  return 0;
}
