// SPDX-License-Identifier: Apache-2.0
// The page: first what this browser lacks, then everything else.
const kNeeds = [
  ['WebAssembly', () => typeof WebAssembly === 'object'],
  ['a secure address (https or localhost)', () => isSecureContext],
  ['Web Audio', () => typeof AudioContext === 'function' && typeof OfflineAudioContext === 'function'],
  ['audio worklets (AudioWorkletNode)', () => typeof AudioWorkletNode === 'function'],
];

const lacks = kNeeds.filter(([, isThere]) => !isThere()).map(([name]) => name);
if (lacks.length > 0) {
  document.querySelector('#app').hidden = true;
  document.querySelector('#unsupported').hidden = false;
  document.querySelector('#lacks').replaceChildren(...lacks.map(name => {
    const item = document.createElement('li');
    item.textContent = name;
    return item;
  }));
} else {
  await import('./app.js');
}
