// SPDX-License-Identifier: Apache-2.0
#include "tools/render/segments.h"

#include <chrono>
#include <utility>

#include "tools/render/interrupt.h"

namespace render {
namespace {

constexpr std::chrono::milliseconds kLook(kInterruptLookMs);

}  // namespace

Segments::Segments(size_t workers, Read read, Render render)
    : read_(std::move(read)), render_(std::move(render)), slots_(workers + 2) {
  threads_.emplace_back([this] { run_reader(); });
  for (size_t i = 0; i < workers; ++i) threads_.emplace_back([this, i] { run_worker(i); });
}

Segments::~Segments() {
  {
    const std::lock_guard lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void Segments::run_reader() {
  for (uint64_t number = 0;; ++number) {
    std::unique_lock lock(mutex_);
    Segment& segment = slot(number);
    changed_.wait(lock, [&] { return stop_ || segment.state == Segment::kFree; });
    if (stop_) return;
    lock.unlock();
    bool is_there = true;
    std::exception_ptr failure;
    try {
      is_there = read_(&segment);
    } catch (...) {
      failure = std::current_exception();
    }
    lock.lock();
    segment.failure = failure;
    segment.state = failure ? Segment::kDone : Segment::kRead;
    if (!is_there) end_ = number;
    if (failure) end_ = number + 1;
    changed_.notify_all();
    if (number + 1 >= end_) return;
  }
}

void Segments::run_worker(size_t worker) {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [&] {
      return stop_ || next_render_ >= end_ || slot(next_render_).state == Segment::kRead;
    });
    if (stop_ || next_render_ >= end_) return;
    Segment& segment = slot(next_render_++);
    segment.state = Segment::kRendering;
    lock.unlock();
    std::exception_ptr failure;
    try {
      render_(worker, &segment);
    } catch (...) {
      failure = std::current_exception();
    }
    lock.lock();
    segment.failure = failure;
    segment.state = Segment::kDone;
    changed_.notify_all();
  }
}

Segments::Segment* Segments::take() {
  std::unique_lock lock(mutex_);
  if (next_take_ > 0) {
    slot(next_take_ - 1).state = Segment::kFree;
    changed_.notify_all();
  }
  Segment& segment = slot(next_take_);
  while (!changed_.wait_for(
      lock, kLook, [&] { return next_take_ >= end_ || segment.state == Segment::kDone; })) {
    interrupt_check();
  }
  if (next_take_ >= end_) return nullptr;
  ++next_take_;
  if (segment.failure) std::rethrow_exception(segment.failure);
  return &segment;
}

}  // namespace render
