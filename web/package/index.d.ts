// SPDX-License-Identifier: Apache-2.0
import type { LayoutName, Layout, ParameterName, PresetName } from './tables.js';

export type {
  ChannelLabel, FileOrder, Layout, LayoutName, Loudspeaker, Parameter, ParameterName, PresetName,
} from './tables.js';
export { descriptions, layouts, parameters, presets, responseShape, sampleRate, unlabelled } from './tables.js';

/**
 * A head in degrees: right-handed turns about its own axes, yaw first. Yaw is positive to the left, pitch nose down,
 * roll towards the right shoulder. What is left out is 0.
 */
export interface Pose { yaw?: number; pitch?: number; roll?: number; }

export type ParameterValues = Partial<Record<ParameterName, number>>;

export interface Settings {
  /** Which loudspeakers the channels feed, in the order of the layout's table. "7.1.4" unless given. */
  layout?: LayoutName;
  /** Room and reverb; without, those of a new effect: a short tail and no reflections. */
  preset?: PresetName;
  /** On top of the preset. */
  parameters?: ParameterValues;
  /** Of the first sample. */
  pose?: Pose;
  /** Ears of your own, as setResponses takes them; without, the built-in ones. */
  responses?: { left: Float32Array; right?: Float32Array };
}

export interface LoadOptions extends Settings {
  /** Whether to take the module with vector instructions: hasVectors() unless given. */
  vectors?: boolean;
}

/**
 * The renderer as a node of Web Audio: one input with the layout's channels, one output with two ears. The parameters
 * of the head are sampled once a render quantum, and the sound fades over within it.
 */
export class OrvaneNode extends AudioWorkletNode {
  /**
   * Loads module and processor from beside this file. Rejects with a RangeError for a context whose rate is not
   * `sampleRate`, and for a name or a value that does not exist.
   */
  static create(context: BaseAudioContext, options?: LoadOptions): Promise<OrvaneNode>;
  private constructor();
  readonly layout: Layout;
  readonly yaw: AudioParam;
  readonly pitch: AudioParam;
  readonly roll: AudioParam;
  setPose(pose: Pose): void;
  /** Throws a RangeError, nothing changed, for a name or a value that the renderer would refuse. */
  setParameters(values: ParameterValues): void;
  /** The room of a preset; without a name that of a new effect. */
  setPreset(name?: PresetName): void;
  /** As OrvaneRenderer's. The audio thread takes a moment for it, so rather set them before the sound starts. */
  setResponses(left?: Float32Array, right?: Float32Array): void;
  /** Ends the renderer and disconnects the node. */
  close(): void;
  /** Twice a second: the fraction of the time that the audio thread spent here. */
  addEventListener(type: 'load', listener: (event: Event & { load: number }) => void): void;
  addEventListener(type: string, listener: EventListenerOrEventListenerObject): void;
}

/** The renderer without Web Audio, in Node or on a page. */
export class OrvaneRenderer {
  static create(options?: LoadOptions): Promise<OrvaneRenderer>;
  private constructor();
  readonly layout: Layout;
  /** The next block fades over to it. Throws a RangeError for an angle that is not finite. */
  setPose(pose: Pose): void;
  /** As OrvaneNode's, at once. */
  setParameters(values: ParameterValues): void;
  /**
   * The ears to render for, from the next block on: tables of `responseShape`, tap after tap, at 48 kHz. Without a right
   * one the head is symmetric; without any the built-in ears return. Throws a RangeError, nothing changed, for another
   * length and for values that are not finite.
   */
  setResponses(left?: Float32Array, right?: Float32Array): void;
  /** Silences what sounds on, and puts the head straight ahead. */
  reset(): void;
  /**
   * Renders channels of equal length at 48 kHz, in the layout's order; a missing one is silent. Returns `ears`, left
   * and right; without `ears` new ones, as long as the channels, and a RangeError is thrown where no channel is there.
   * Long signals go in blocks of `block` samples, at most 1024.
   */
  process(channels: (Float32Array | undefined)[], ears?: Float32Array[], block?: number): Float32Array[];
}

/** Whether this engine has the vector instructions that the faster module uses. */
export function hasVectors(): boolean;

/**
 * The pose of a head that looks where the back of a phone looks, from the angles of a DeviceOrientationEvent and
 * `screen.orientation.angle`. Its yaw counts from an arbitrary direction.
 */
export function poseFromDevice(
  angles: { alpha: number; beta: number; gamma: number }, screenAngle?: number): Required<Pose>;
