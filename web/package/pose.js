// SPDX-License-Identifier: Apache-2.0
// Head poses in degrees, as orvane-render has them: right-handed turns about the head's own axes, yaw first. Yaw is
// positive to the left, pitch nose down, roll towards the right shoulder. The room is +x ahead, +y left, +z up.

const kRadians = Math.PI / 180;

/** The turn of a head that looked ahead, as a rotation vector in radians of at most pi. */
export function rotationVector({ yaw = 0, pitch = 0, roll = 0 }) {
  const [cy, cp, cr] = [yaw, pitch, roll].map(angle => Math.cos(0.5 * kRadians * angle));
  const [sy, sp, sr] = [yaw, pitch, roll].map(angle => Math.sin(0.5 * kRadians * angle));
  const w = cy * cp * cr + sy * sp * sr;
  const axis = [cy * cp * sr - sy * sp * cr, cy * sp * cr + sy * cp * sr, sy * cp * cr - cy * sp * sr];
  const sine = Math.hypot(...axis);
  if (sine === 0) return [0, 0, 0];
  const sign = w < 0 ? -1 : 1;  // both signs are the same rotation
  const scale = sign * 2 * Math.atan2(sine, sign * w) / sine;
  return axis.map(part => part * scale);
}

/**
 * The pose of a head that looks where the back of a phone looks, from a DeviceOrientationEvent's angles and the angle
 * of the screen, all in degrees. Its yaw counts from an arbitrary direction.
 */
export function poseFromDevice({ alpha, beta, gamma }, screenAngle = 0) {
  const [ca, cb, cg] = [alpha, beta, gamma].map(angle => Math.cos(kRadians * angle));
  const [sa, sb, sg] = [alpha, beta, gamma].map(angle => Math.sin(kRadians * angle));
  const ahead = [-(ca * sg + sa * sb * cg), -(sa * sg - ca * sb * cg), -cb * cg];
  const leftUp = cb * sg;  // how far the left ear, and the top of the head, point up
  const topUp = sb;
  return {
    yaw: Math.atan2(ahead[1], ahead[0]) / kRadians,
    pitch: Math.asin(Math.max(-1, Math.min(1, -ahead[2]))) / kRadians,
    roll: Math.atan2(leftUp, topUp) / kRadians + screenAngle,
  };
}
