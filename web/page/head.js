// SPDX-License-Identifier: Apache-2.0
// The head: what turns it, one pose for everybody who shows or hears it.
import { poseFromDevice } from './orvane/index.js';

const kStep = 5;  // degrees a key
const kTurnSeconds = 16;  // once around

const wrap = angle => ((angle + 180) % 360 + 360) % 360 - 180;
const clamp = (angle, most) => Math.max(-most, Math.min(most, angle));

export class Head extends EventTarget {
  pose = { yaw: 0, pitch: 0, roll: 0 };
  turning = false;
  #deviceListener;
  #deviceZero;

  /** Changes some angles, in degrees. */
  set(angles) {
    const { yaw, pitch, roll } = { ...this.pose, ...angles };
    this.pose = { yaw: wrap(yaw), pitch: clamp(pitch, 90), roll: clamp(roll, 90) };
    this.dispatchEvent(new Event('pose'));
  }

  /** Turns around without end, from where it is, until told otherwise. */
  setTurning(turning) {
    this.turning = turning;
    let before;
    const step = now => {
      if (!this.turning) return;
      this.set({ yaw: this.pose.yaw + 0.36 * (now - (before ?? now)) / kTurnSeconds });
      before = now;
      requestAnimationFrame(step);
    };
    if (turning) requestAnimationFrame(step);
  }

  get hasDevice() { return Boolean(this.#deviceListener); }

  /** Follows the phone's orientation; ahead is where its back looks at first. Throws where it is not allowed. */
  async setDevice(on) {
    removeEventListener('deviceorientation', this.#deviceListener);
    this.#deviceListener = undefined;
    if (!on) return;
    if (typeof DeviceOrientationEvent === 'undefined') throw new Error('This browser does not tell how the device is turned.');
    const answer = await DeviceOrientationEvent.requestPermission?.();
    if (answer && answer !== 'granted') throw new Error('The browser was not allowed to tell how the device is turned.');
    this.#deviceZero = undefined;
    this.#deviceListener = event => {
      if (event.alpha === null) {  // what computers send, once
        this.setDevice(false);
        this.dispatchEvent(new Event('nodevice'));
        return;
      }
      const pose = poseFromDevice(event, screen.orientation?.angle);
      this.#deviceZero ??= pose.yaw;
      this.set({ ...pose, yaw: pose.yaw - this.#deviceZero });
    };
    addEventListener('deviceorientation', this.#deviceListener);
  }

  /** Mouse, touch and keys on the picture from above. */
  listenTo(view) {
    const angleAt = event => {
      const box = view.getBoundingClientRect();
      return Math.atan2(box.left + box.width / 2 - event.clientX, box.top + box.height / 2 - event.clientY) * 180 / Math.PI;
    };
    let grabbed;
    view.addEventListener('pointerdown', event => {
      view.setPointerCapture(event.pointerId);
      grabbed = { angle: angleAt(event), yaw: this.pose.yaw };
    });
    view.addEventListener('pointermove', event => {
      if (grabbed) this.set({ yaw: grabbed.yaw + angleAt(event) - grabbed.angle });
    });
    for (const end of ['pointerup', 'pointercancel']) view.addEventListener(end, () => { grabbed = undefined; });
    view.addEventListener('keydown', event => {
      const { yaw, pitch, roll } = this.pose;
      const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;  // also with Shift or Caps Lock
      const change = {
        ArrowLeft: { yaw: yaw + kStep }, ArrowRight: { yaw: yaw - kStep },
        ArrowUp: { pitch: pitch - kStep }, ArrowDown: { pitch: pitch + kStep },
        q: { roll: roll - kStep }, e: { roll: roll + kStep }, Home: { yaw: 0, pitch: 0, roll: 0 },
      }[key];
      if (!change || event.ctrlKey || event.metaKey || event.altKey) return;
      event.preventDefault();
      this.set(change);
    });
  }
}
