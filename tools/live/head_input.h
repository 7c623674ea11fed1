// SPDX-License-Identifier: Apache-2.0
// What all trackers report goes through here: the centre, the prediction, and on to the callback.
#ifndef ORVANE_TOOLS_LIVE_HEAD_INPUT_H_
#define ORVANE_TOOLS_LIVE_HEAD_INPUT_H_

#include <cstdint>
#include <mutex>

#include "tools/live/head_predictor.h"
#include "tools/live/pose_slot.h"
#include "tools/render/rotation.h"

namespace live {

// For any threads but the audio callback.
class HeadInput {
 public:
  // Writes to `poses`, which must outlive it and which nobody else writes. Until the first pose the
  // head is `start`.
  HeadInput(const render::Rotation& start, double predict_s, PoseSlot* poses);

  // A tracker's pose that came at `now_s`, seconds of any steady clock.
  void take(const render::Rotation& head, double now_s);

  // Where the tracker's head is now is ahead from now on, in all three axes. Without a pose so far,
  // the first one will be.
  void recentre();

  // Ends a prediction that no further pose has followed; to be called now and then.
  void settle(double now_s);

  struct State {
    render::Rotation head;  // as it is heard, without the prediction
    uint64_t poses = 0;     // that have come
    double last_s = 0.0;    // when the last one came
  };
  State state() const;

 private:
  void write(double now_s);

  mutable std::mutex mutex_;
  PoseSlot* poses_;
  HeadPredictor predictor_;
  render::Rotation raw_, centre_;
  State state_;
  bool recentres_next_ = false, is_ahead_ = false;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_HEAD_INPUT_H_
