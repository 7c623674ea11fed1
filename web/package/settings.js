// SPDX-License-Identifier: Apache-2.0
// Parameters of room and reverb by name: checked against the library's table, in the order in which the renderer
// accepts each.
import { parameters, presets } from './tables.js';

const byName = new Map(parameters.map(parameter => [parameter.name, parameter]));
const kMode = 'reflections.mode';

/** What a new renderer has, by name. */
export function defaults() {
  return Object.fromEntries(parameters.filter(p => p.default !== null).map(p => [p.name, p.default]));
}

/** A preset's values; throws RangeError for a name that does not exist. */
export function presetValues(name) {
  if (!Object.hasOwn(presets, name)) {
    throw new RangeError(`${name} is no preset: there are ${Object.keys(presets).join(', ')}`);
  }
  return presets[name];
}

function limits(parameter, current) {
  const limiting = parameters.find(other => other.number === parameter.limiting);
  if (!limiting) return [parameter.minimum, parameter.maximum];
  const limit = current[limiting.name];
  return parameter.limit === 'between' ? [-0.5 * limit, 0.5 * limit] : [parameter.minimum, limit];
}

/** Throws RangeError for a name or value that the renderer would refuse once `current` is in force. */
function check(name, value, current) {
  const parameter = byName.get(name);
  if (!parameter) throw new RangeError(`${name} is no parameter`);
  const [least, most] = limits(parameter, current);
  const fits = value >= least && value <= most && (parameter.kind === 'number' || Number.isInteger(value));
  if (!fits) throw new RangeError(`${name} takes ${least} to ${most}, not ${value}`);
}

/**
 * The changes that `values` ask for, as [number, value] in the order to send: by number, but the mode of the
 * reflections last. Throws RangeError before anything is changed; then takes the values over into `current`.
 */
export function settle(values, current) {
  const next = { ...current, ...values };
  for (const [name, value] of Object.entries(next)) {
    if (Object.hasOwn(values, name) || byName.get(name).limiting) check(name, value, next);
  }
  Object.assign(current, values);
  for (const name of Object.keys(values)) delete current[sameWall(name)];
  return Object.keys(values)
    .map(name => [byName.get(name).number, values[name]])
    .sort(([a], [b]) => isMode(a) - isMode(b) || a - b);
}

/** Absorption and material of a wall are one value of the renderer: the name that a change of `name` overrules. */
function sameWall(name) {
  const [what, wall] = name.split('.');
  return { absorption: `material.${wall}`, material: `absorption.${wall}` }[what];
}

const isMode = number => Number(number === byName.get(kMode).number);
