// SPDX-License-Identifier: Apache-2.0
// The page: first what this browser lacks, then everything else. This file keeps to the JavaScript of the first browsers
// with modules, so that the others can be told.
const kNeeds = [
  ['WebAssembly', () => typeof WebAssembly === 'object'],
  ['a secure address (https or localhost)', () => isSecureContext],
  ['Web Audio', () => typeof AudioContext === 'function' && typeof OfflineAudioContext === 'function'],
  ['audio worklets (AudioWorkletNode)', () => typeof AudioWorkletNode === 'function'],
  ['the JavaScript of 2022', () => typeof Object.hasOwn === 'function'],
];

const at = id => document.querySelector(`#${id}`);

function showInstead(notice) {
  at('app').hidden = true;
  at(notice).hidden = false;
}

function showLacks(names) {
  showInstead('unsupported');
  at('lacks').replaceChildren(...names.map(name => {
    const item = document.createElement('li');
    item.textContent = name;
    return item;
  }));
}

function showFailure(error) {
  if (error instanceof SyntaxError) {
    showLacks(['the JavaScript of 2022']);
  } else {
    showInstead('broken');
    at('reason').textContent = `The browser says: ${error.message}`;
  }
}

const lacks = kNeeds.filter(([, isThere]) => !isThere()).map(([name]) => name);
if (lacks.length > 0) showLacks(lacks);
else import('./app.js').catch(showFailure);
