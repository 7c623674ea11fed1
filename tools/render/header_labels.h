// SPDX-License-Identifier: Apache-2.0
// Channel labels that libsndfile leaves in the headers of audio files.
#ifndef ORVANE_TOOLS_RENDER_HEADER_LABELS_H_
#define ORVANE_TOOLS_RENDER_HEADER_LABELS_H_

#include <cstddef>
#include <optional>
#include <vector>

#include "tools/render/channel_labels.h"

namespace render {

// The order that FLAC fixes for so many channels (RFC 9639, section 9.1.3); empty beyond eight.
std::vector<Speaker> flac_order(size_t channels);

// The labels of the FLAC, CAF or AIFF file `fd`, whose position does not move: the order that FLAC
// fixes or its channel mask comment, the channel layout chunk of the others. Nothing where there
// are none, and for all other files.
std::optional<ChannelLabels> header_labels_read(int fd, size_t channels);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_HEADER_LABELS_H_
