// SPDX-License-Identifier: Apache-2.0
#include "tools/render/trajectory.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <utility>

#include "tools/render/failure.h"
#include "tools/render/pose.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr double kUnitTolerance = 0.01;  // more than rounding: the columns are something else

Rotation from_quaternion(const std::vector<double>& row) {
  const double length = std::hypot(std::hypot(row[1], row[2]), std::hypot(row[3], row[4]));
  if (std::fabs(length - 1.0) > kUnitTolerance) {
    throw BadText(text_format("the quaternion has length %g, not 1", length));
  }
  return {row[1] / length, row[2] / length, row[3] / length, row[4] / length};
}

Rotation from_rotation_vector(const std::vector<double>& row) {
  if (!std::isfinite(std::hypot(row[1], row[2], row[3]))) {
    throw BadText("the rotation vector is too long");
  }
  return pose_from_head_to_stage({row[1], row[2], row[3]});
}

}  // namespace

struct Trajectory::Format {
  std::vector<std::string_view> columns;
  Rotation (*head)(const std::vector<double>& row);
  bool are_angles = false;

  static const Format& of(std::string_view header) {
    static const Format formats[] = {
        {{"time", "yaw", "pitch", "roll"},
         [](const std::vector<double>& row) {
           return pose_rotation({.yaw_deg = row[1], .pitch_deg = row[2], .roll_deg = row[3]});
         },
         true},
        {{"time", "qw", "qx", "qy", "qz"}, from_quaternion},
        {{"time", "rx", "ry", "rz"}, from_rotation_vector},
    };
    std::string lower(header);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const Format& format : formats) {
      if (text_split(lower, ',') == format.columns) return format;
    }
    throw BadText(
        "expected time,yaw,pitch,roll or time,qw,qx,qy,qz or time,rx,ry,rz as the first line");
  }
};

Trajectory::Trajectory(const std::string& path) {
  const Format* format = nullptr;
  text_file_read(path, [&](std::string_view line) {
    if (format) {
      add_row(*format, line);
    } else {
      format = &Format::of(line);
    }
  });
  if (rows_.empty()) throw Failure(path, "holds no pose");
}

void Trajectory::add_row(const Format& format, std::string_view text) {
  const auto row = text_numbers(text, ',', format.columns.size());
  if (!row) throw BadText("expected " + std::to_string(format.columns.size()) + " numbers");
  const double time_s = row->front();
  if (!rows_.empty() && !(time_s > rows_.back().time_s)) {
    throw BadText(text_format("time %g does not follow %g", time_s, rows_.back().time_s));
  }
  if (!rows_.empty() && format.are_angles) note_full_turn(time_s, *row);
  last_row_ = *row;
  rows_.push_back({time_s, format.head(*row)});
}

// Up to a full turn the angles may be those of a tracker, which jump from 180 to -180.
void Trajectory::note_full_turn(double time_s, const std::vector<double>& row) {
  constexpr double kFullTurn = 360.0;
  for (size_t i = 1; i < row.size(); ++i) {
    const double turn = row[i] - last_row_[i];
    if (std::fabs(turn) < kFullTurn || !notice_.empty()) continue;
    notice_ = text_format(
        "turns by %g degrees up to %g s: it takes the shorter way round, give lines in between",
        turn, time_s);
  }
}

Rotation Trajectory::at(double seconds) const {
  const auto next = std::partition_point(rows_.begin(), rows_.end(),
                                         [=](const Row& row) { return row.time_s <= seconds; });
  if (next == rows_.begin()) return rows_.front().head;
  if (next == rows_.end()) return rows_.back().head;
  const Row& last = *std::prev(next);
  return rotation_slerp(last.head, next->head,
                        (seconds - last.time_s) / (next->time_s - last.time_s));
}

}  // namespace render
