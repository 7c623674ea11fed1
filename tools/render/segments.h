// SPDX-License-Identifier: Apache-2.0
// Long stretches of a bed, read by one thread, rendered by several and handed over in order.
#ifndef ORVANE_TOOLS_RENDER_SEGMENTS_H_
#define ORVANE_TOOLS_RENDER_SEGMENTS_H_

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace render {

class Segments {
 public:
  // A stretch of the bed. It begins with frames of the stretch before, so that an instance of the
  // effect that renders all of it sounds in the rest as one that has rendered everything before.
  struct Segment {
    uint64_t first = 0;  // frame of the bed with which `bed` begins
    size_t warm_up = 0;  // frames that belong to the stretch before
    size_t frames = 0;   // all of them
    std::vector<float> bed, ears;

   private:
    friend class Segments;
    enum { kFree, kRead, kRendering, kDone } state = kFree;
    std::exception_ptr failure;
  };

  // Fills a segment; false at the end of the bed, without one. Called in a thread of its own.
  using Read = std::function<bool(Segment* segment)>;
  // Renders a segment. Called in the thread number `worker`.
  using Render = std::function<void(size_t worker, Segment* segment)>;

  // Starts reading and rendering, at most `workers` + 2 segments ahead of take().
  Segments(size_t workers, Read read, Render render);
  ~Segments();
  Segments(const Segments&) = delete;
  Segments& operator=(const Segments&) = delete;

  // The next segment, rendered, until the next call; null at the end. Throws what reading and
  // rendering it threw, and Interrupted.
  Segment* take();

 private:
  void run_reader();
  void run_worker(size_t worker);
  Segment& slot(uint64_t number) { return slots_[number % slots_.size()]; }

  Read read_;
  Render render_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Segment> slots_;
  uint64_t next_render_ = 0, next_take_ = 0;
  uint64_t end_ = UINT64_MAX;  // number of segments when it is known
  bool stop_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_SEGMENTS_H_
