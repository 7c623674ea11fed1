// SPDX-License-Identifier: Apache-2.0
// What a system needs before a program reads its command line.
#ifndef ORVANE_TOOLS_RENDER_PROGRAM_START_H_
#define ORVANE_TOOLS_RENDER_PROGRAM_START_H_

namespace render {

// The arguments become UTF-8 and the standard streams carry bytes as they are.
void program_start(int* argc, char*** argv);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PROGRAM_START_H_
