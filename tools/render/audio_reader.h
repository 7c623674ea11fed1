// SPDX-License-Identifier: Apache-2.0
// Reads the audio files that libsndfile knows, in order and block by block.
#ifndef ORVANE_TOOLS_RENDER_AUDIO_READER_H_
#define ORVANE_TOOLS_RENDER_AUDIO_READER_H_

#include <sndfile.h>

#include <map>
#include <memory>
#include <string>

#include "tools/render/audio_input.h"

namespace render {

// Tags that libsndfile knows, by the names that FFmpeg gives them.
constexpr struct {
  int sndfile;
  const char* name;
} kSndfileTags[] = {{SF_STR_TITLE, "title"},       {SF_STR_ARTIST, "artist"},
                    {SF_STR_ALBUM, "album"},       {SF_STR_DATE, "date"},
                    {SF_STR_GENRE, "genre"},       {SF_STR_COMMENT, "comment"},
                    {SF_STR_TRACKNUMBER, "track"}, {SF_STR_COPYRIGHT, "copyright"}};

class AudioReader final : public AudioInput {
 public:
  // Opens a regular file that holds audio, else throws Failure. Its length is exact; a file that
  // ends before has a warning.
  explicit AudioReader(const std::string& path);

  // Whether a file begins as one that libsndfile reads with its labels right.
  static bool reads(const std::string& path);

  std::map<std::string, std::string> tags() const override;

 private:
  size_t read_frames(float* frames, size_t count) override;

  int fd_;  // file_ closes it
  SF_INFO info_ = {};
  std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_AUDIO_READER_H_
