// SPDX-License-Identifier: Apache-2.0
#include "tools/render/audio_output.h"

#include "tools/render/audio_writer.h"
#include "tools/render/failure.h"
#include "tools/render/mux_writer.h"
#include "tools/render/pipe_writer.h"

namespace render {

bool audio_output_is_known(const std::string& path) {
  return path == "-" || AudioWriter::writes(path) || MuxWriter::writes(path);
}

std::unique_ptr<AudioOutput> audio_output_open(const std::string& path, const AudioSpec& spec) {
  if (MuxWriter::writes(path)) return std::make_unique<MuxWriter>(path, spec);
  if (!spec.codec.empty())
    throw Failure(path, "its format has one codec, so --codec has no effect");
  if (spec.replace) throw Failure(path, "is no film, so --replace has no effect");
  if (path == "-") return std::make_unique<PipeWriter>(spec);
  return std::make_unique<AudioWriter>(path, spec);
}

}  // namespace render
