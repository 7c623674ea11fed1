// SPDX-License-Identifier: Apache-2.0
// What the controls do and the figures show.
import { descriptions, presets, sampleRate } from './orvane/index.js';
import { bedOfFile, fileChannels, findLayout, layoutsFor } from './beds.js';
import { Head } from './head.js';
import { decibels, readPeaks } from './levels.js';
import { Player, measureDelay } from './player.js';
import { RoomSliders } from './room.js';
import { scenes } from './scenes.js';
import { TopView } from './topview.js';

const at = id => document.querySelector(`#${id}`);
const player = new Player();
const head = new Head();
const view = new TopView(at('view'));
const sliders = new RoomSliders(at('detail'));
const beds = new Map();  // scene -> the promise of its bed
let file;  // { name, decoded }
let waiting = 0;  // of the latest wish to play
let reading = 0;  // of the latest file that was chosen

const channelCounts = `${fileChannels.slice(0, -1).join(', ')} or ${fileChannels.at(-1)} channels`;

function say(text) {
  at('message').textContent = text;
}

function fill(select, items) {
  select.replaceChildren(...items.map(([value, text]) => new Option(text, value)));
}

function currentBed() {
  if (at('scene').value === 'file') return bedOfFile(file.decoded, at('layout').value, at('order').value);
  const scene = scenes.find(({ id }) => id === at('scene').value);
  if (!beds.has(scene)) {
    beds.set(scene, scene.load(player.context));
    beds.get(scene).catch(() => beds.delete(scene));  // to be tried again
  }
  return beds.get(scene);
}

async function play() {
  const wish = ++waiting;
  say('Getting ready …');
  showPlaying(true);
  try {
    await player.context.resume();
    const bed = await currentBed();
    if (wish !== waiting) return;
    view.showLayout(bed.layout);
    await player.play(bed);
    const delay = await measureDelay(bed);
    if (wish !== waiting) return;
    gapsBefore = countGaps();
    at('layout-text').textContent = `${bed.layout.name}, ${bed.layout.loudspeakers.length} channels`;
    at('delay').textContent = `${(1000 * delay / sampleRate).toFixed(1)} ms`;
    say(`${at('scene').selectedOptions[0].text} is playing.`);
  } catch (error) {
    if (wish === waiting) stop(`It cannot be played: ${error.message}`);
  }
}

function stop(text = 'Stopped.') {
  ++waiting;
  player.stop();
  showPlaying(false);
  say(text);
}

function showPlaying(on) {
  at('play').textContent = on ? 'Stop' : 'Play';
  at('play').toggleAttribute('data-playing', on);
}

const isPlaying = () => at('play').hasAttribute('data-playing');

const nameOfRoom = name => name[0].toUpperCase() + name.slice(1).replace('-', ' ');

async function tryRoom(change) {
  try {
    await change();
  } catch (error) {
    say(`The room cannot be set: ${error.message}`);
  }
}

function setPreset(name) {
  at('preset').value = name;
  at('room').textContent = descriptions[name] ?? 'A short tail without reflections, as a new effect has it.';
  sliders.showPreset(name);
  return tryRoom(() => player.setPreset(name || undefined));
}

async function openFile(chosen) {
  if (!chosen) return;
  const turn = ++reading;
  stop(`Reading ${chosen.name} …`);
  let decoded;
  try {
    decoded = await player.context.decodeAudioData(await chosen.arrayBuffer());
  } catch {
    if (turn === reading) say(`${chosen.name} is nothing that this browser can decode. WAV and FLAC work everywhere.`);
    return;
  }
  if (turn !== reading) return;
  const fitting = layoutsFor(decoded.numberOfChannels);
  if (fitting.length === 0) {
    say(`${chosen.name} has ${decoded.numberOfChannels} channels, and files of ${channelCounts} can be played.`);
    return;
  }
  file = { name: chosen.name, decoded };
  const own = at('scene').querySelector('[value=file]') ?? at('scene').appendChild(new Option('', 'file'));
  own.text = file.name;
  at('scene').value = 'file';
  fill(at('layout'), fitting.map(({ name }) => [name, name]));
  fill(at('order'), Object.keys(fitting[0].orders).map(name => [name, name]));
  at('order').value = 'wave';
  at('file-order').hidden = decoded.numberOfChannels <= 2;
  await play();
}

function onScene() {
  at('file-order').hidden = at('scene').value !== 'file' || file.decoded.numberOfChannels <= 2;
  const { preset } = scenes.find(({ id }) => id === at('scene').value) ?? {};
  if (preset) setPreset(preset);
  if (isPlaying()) play();
}

const turnText = yaw => (Math.round(yaw) === 0 ? 'ahead' : `${Math.abs(Math.round(yaw))}° ${yaw > 0 ? 'left' : 'right'}`);
const sideText = (angle, [more, less]) =>
  (Math.round(angle) === 0 ? 'level' : `${Math.abs(Math.round(angle))}° ${angle > 0 ? more : less}`);

function onPose() {
  const { yaw, pitch, roll } = head.pose;
  player.setPose(head.pose);
  view.showPose(head.pose);
  const texts = { yaw: turnText(yaw), pitch: sideText(pitch, ['down', 'up']), roll: sideText(roll, ['right', 'left']) };
  for (const [name, value] of Object.entries({ yaw: -yaw, pitch: -pitch, roll })) {
    at(name).value = value;
    at(name).setAttribute('aria-valuetext', texts[name]);
    document.querySelector(`output[for=${name}]`).textContent = texts[name];
  }
  at('view').setAttribute('aria-valuenow', Math.round(-yaw));
  const nod = texts.pitch === 'level' ? '' : `, nod ${texts.pitch}`;
  const lean = texts.roll === 'level' ? '' : `, lean ${texts.roll}`;
  at('view').setAttribute('aria-valuetext', texts.yaw + nod + lean);
}

const minus = text => text.replace('-', '−');

function showEar(id, peak) {
  const level = Math.max(-60, decibels(peak));
  at(id).value = level;
  at(`${id}-text`).textContent = level <= -60 ? 'silent' : minus(`${level.toFixed(1)} dB`);
}

/** Gaps in the sound that the browser has counted, [number, seconds]; undefined where it does not count. */
function countGaps() {
  const stats = player.context.playbackStats;
  return stats && [stats.underrunEvents, stats.underrunDuration];
}

let gapsBefore = [0, 0];  // what getting ready cost
function showGaps() {
  const gaps = countGaps();
  if (!gaps) return 'not told here';
  const [number, seconds] = gaps.map((now, i) => now - gapsBefore[i]);
  return `${number} (${(1000 * seconds).toFixed(0)} ms)`;
}

let speakerPeaks = [], earPeaks = [];
function drawLevels() {
  speakerPeaks = readPeaks(player.loudspeakers, speakerPeaks);
  earPeaks = readPeaks(player.ears, earPeaks);
  view.showLevels(speakerPeaks);
  showEar('left', earPeaks[0]);
  showEar('right', earPeaks[1]);
  requestAnimationFrame(drawLevels);
}

function showSlowFigures() {
  if (!player.playing) return;
  const { baseLatency, outputLatency } = player.context;
  const delay = 1000 * ((baseLatency || 0) + (outputLatency || 0));
  at('output-delay').textContent = `${delay.toFixed(0)} ms`;
  at('gaps').textContent = showGaps();
}

function toggle(button, on) {
  button.setAttribute('aria-pressed', on);
}

function connectControls() {
  at('play').onclick = () => (isPlaying() ? stop() : play());
  at('scene').onchange = onScene;
  at('layout').onchange = at('order').onchange = () => play();
  at('preset').onchange = () => setPreset(at('preset').value);
  for (const choice of document.querySelectorAll('[name=how]')) choice.onchange = () => player.setHow(choice.value);
  at('file').onchange = () => openFile(at('file').files[0]);
  at('yaw').oninput = () => head.set({ yaw: -at('yaw').value });
  at('pitch').oninput = () => head.set({ pitch: -at('pitch').value });
  at('roll').oninput = () => head.set({ roll: Number(at('roll').value) });
  at('ahead').onclick = () => head.set({ yaw: 0, pitch: 0, roll: 0 });
  at('turning').onclick = () => {
    head.setTurning(!head.turning);
    toggle(at('turning'), head.turning);
  };
  at('device').onclick = async () => {
    try {
      await head.setDevice(!head.hasDevice);
    } catch (error) {
      say(error.message);
    }
    toggle(at('device'), head.hasDevice);
  };
  addEventListener('keydown', event => {
    if (event.key.toLowerCase() !== 'b' || event.ctrlKey || event.metaKey || event.altKey) return;
    const other = document.querySelector('[name=how]:not(:checked)');
    other.checked = true;
    player.setHow(other.value);
  });
}

function connectDrop() {
  addEventListener('dragover', event => {
    event.preventDefault();
    at('drop').classList.add('over');
  });
  addEventListener('dragleave', () => at('drop').classList.remove('over'));
  addEventListener('drop', event => {
    event.preventDefault();
    at('drop').classList.remove('over');
    openFile(event.dataTransfer.files[0]);
  });
}

at('channels').textContent = channelCounts;
fill(at('scene'), scenes.map(({ id, name }) => [id, name]));
fill(at('preset'), [['', 'As a device starts'], ...Object.keys(presets).map(name => [name, nameOfRoom(name)])]);
connectControls();
connectDrop();
head.listenTo(at('view'));
head.addEventListener('pose', onPose);
head.addEventListener('nodevice', () => {
  toggle(at('device'), false);
  say('This device does not tell how it is turned.');
});
sliders.addEventListener('change', ({ values }) => tryRoom(() => player.setParameters(values)));
player.addEventListener('load', ({ load }) => { at('load').textContent = `${(100 * load).toFixed(1)} %`; });
player.addEventListener('failure', ({ message }) => stop(`The renderer has stopped: ${message || 'the browser says no more.'}`));
player.addEventListener('level', ({ level }) => {
  at('level').textContent = minus(`${level > 1 ? '+' : ''}${decibels(level).toFixed(1)} dB`);
});
view.showLayout(findLayout('7.1'));
setPreset('');
onPose();
drawLevels();
setInterval(showSlowFigures, 500);
Object.assign(window, { orvanePlayer: player, orvaneHead: head });  // for the console and the tests
document.documentElement.dataset.ready = 'true';
