// SPDX-License-Identifier: Apache-2.0
// The renderer on a browser's audio thread: one render quantum is one block.
import { OrvaneRenderer } from './renderer.js';

const kStatusSeconds = 0.5;

class OrvaneProcessor extends AudioWorkletProcessor {
  static get parameterDescriptors() {
    return ['yaw', 'pitch', 'roll'].map(name => ({ name, defaultValue: 0, automationRate: 'k-rate' }));
  }

  constructor({ processorOptions: { bytes, settings } }) {
    super();
    this.renderer = new OrvaneRenderer(new WebAssembly.Module(bytes), settings);
    this.writes = [];
    this.running = true;
    this.startStatus();
    this.port.onmessage = ({ data }) => {
      if (data.writes) this.writes.push(...data.writes);
      if (data.responses) this.renderer.setResponses(...data.responses);
      if (data.close) this.running = false;
    };
  }

  startStatus() {
    this.busy = 0;
    this.from = Date.now();
    this.until = currentTime + kStatusSeconds;
  }

  // One change a quantum: a reverb parameter draws its tail anew, and several in one quantum could make it late.
  applyNextWrite() {
    if (this.writes.length === 0) return;
    this.renderer.write(this.writes.shift());
    if (this.writes.length === 0) this.renderer.computeReflections();
  }

  process([bed], [ears], { yaw, pitch, roll }) {
    // This clock has whole milliseconds; over hundreds of quanta their mean is right all the same.
    const begin = Date.now();
    this.applyNextWrite();
    this.renderer.setPose({ yaw: yaw[0], pitch: pitch[0], roll: roll[0] });
    this.renderer.process(bed, ears);
    this.busy += Date.now() - begin;
    if (currentTime >= this.until) {
      this.port.postMessage({ load: this.busy / Math.max(1, Date.now() - this.from) });
      this.startStatus();
    }
    return this.running;
  }
}
registerProcessor('orvane', OrvaneProcessor);
