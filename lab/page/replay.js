// A recording in place of a unit: which time of it is shown. All who look on see the same; what is asked for here is done
// by the server, whose frames tell what came of it.
import { post } from './requests.js';

const byId = (id) => document.getElementById(id);
const setWords = (node, words) => { if (node.textContent !== words) node.textContent = words; };

let state = null;      // as the server told it last
let asked = 0;         // the changes that it is to know of before its place is taken over
const wanted = [];     // changes that wait until the one before was answered
let isAsking = false;
let isHeld = false;    // by the mouse

/// A change at a time. Of places that wait the last one counts.
async function ask(change) {
  const last = wanted.at(-1);
  if (last && last.to !== undefined && change.to !== undefined) wanted.pop();
  if (wanted.length < 100) wanted.push(change);
  if (isAsking) return;
  isAsking = true;
  while (wanted.length) {
    const answer = await post('/position', wanted.shift());
    if (answer.ok) asked = answer.changes;
    setWords(byId('replay-trouble'), answer.ok ? '' : answer.error);
  }
  isAsking = false;
  showPlaceTold();  // whose frame may have come before the answer
}

const two = (value) => String(value).padStart(2, '0');
/// "1:05.2", "25:00:03.0"
function clock(seconds) {
  const tenths = Math.floor(seconds * 10);
  const [hours, minutes] = [Math.floor(tenths / 36000), Math.floor(tenths / 600) % 60];
  const rest = `${two(Math.floor(tenths / 10) % 60)}.${tenths % 10}`;
  return hours ? `${hours}:${two(minutes)}:${rest}` : `${minutes}:${rest}`;
}

const utc = (time) => time.replace('T', ' ').replace('Z', ' UTC');

/// The time of a place that the slider is moved to, before the server has told it.
function utcAt(seconds) {
  const milliseconds = Date.parse(state.time) + (seconds - state.at) * 1000;
  return Number.isFinite(milliseconds) && Math.abs(milliseconds) < 8.64e15 ? utc(new Date(milliseconds).toISOString()) : utc(state.time);
}

function showPlace(seconds, time) {
  const words = `${clock(seconds)} of ${clock(state.seconds)}`;
  setWords(byId('replay-time'), time);
  setWords(byId('replay-place'), words);
  byId('replay-slider').setAttribute('aria-valuetext', `${time}, ${words}`);
}

/// Unless something was asked for that the server has not told of yet.
function showPlaceTold() {
  if (!state || isHeld || isAsking || state.changes < asked) return;
  byId('replay-slider').value = String(state.at);
  showPlace(state.at, utc(state.time));
}

function moveTo(seconds) {
  const place = Math.min(Math.max(seconds, 0), state.seconds);
  byId('replay-slider').value = String(place);
  showPlace(place, utcAt(place));
  ask({ to: place });
}

/// What the recording lacks, in words.
function wordsOf(replay) {
  const words = [];
  if (!replay.closed) words.push('it was cut off');
  if (replay.problems) words.push(`${replay.problems} damaged ${replay.problems === 1 ? 'place is' : 'places are'} left out`);
  for (const [count, what] of [[replay.topicsPassedOver, 'topic'], [replay.queuesPassedOver, 'queue']])
    if (count) words.push(`${count} more ${what}${count === 1 ? ' is' : 's are'} not shown`);
  if (!replay.bus) words.push('the bus was not recorded');
  if (!replay.receiver) words.push("the receiver's queue was not recorded");
  return words.length ? `Of this recording ${words.join('; ')}.` : '';
}

export function showReplay({ replay }) {
  if (!replay) return;
  state = replay;
  byId('replay').hidden = false;
  setWords(byId('replay-title'), `Recording ${replay.file}`);
  setWords(byId('replay-lacks'), wordsOf(replay));
  setWords(byId('replay-play'), replay.paused ? 'Play' : 'Pause');
  const rate = byId('replay-rate');
  if (document.activeElement !== rate) {
    const known = [...rate.options].find((option) => Number(option.value) === replay.rate);
    if (known) rate.value = known.value;
    else rate.selectedIndex = -1;
  }
  setWords(byId('replay-reads'), replay.reads ? `reads the recording: ${Math.round(replay.known * 100)} % is known` : '');
  byId('panels').setAttribute('aria-busy', String(replay.reads));
  byId('replay-slider').max = String(replay.seconds);
  showPlaceTold();
}

/// The keys of a slider, by steps that are good for a recording. Home and End are the browser's own.
function onKey(event) {
  const place = Number(byId('replay-slider').value);
  const tenth = state ? state.seconds / 10 : 0;
  const steps = { ArrowRight: 1, ArrowUp: 1, ArrowLeft: -1, ArrowDown: -1, PageUp: tenth, PageDown: -tenth };
  if (!state || !Object.hasOwn(steps, event.key) || event.ctrlKey || event.altKey || event.metaKey) return;
  event.preventDefault();
  moveTo(place + steps[event.key] * (event.shiftKey ? 10 : 1));
}

export function setUpReplay() {
  const slider = byId('replay-slider');
  slider.addEventListener('keydown', onKey);
  slider.addEventListener('input', () => { if (state) moveTo(Number(slider.value)); });
  slider.addEventListener('pointerdown', () => { isHeld = true; });
  for (const name of ['pointerup', 'pointercancel', 'change', 'blur'])
    slider.addEventListener(name, () => {
      isHeld = false;
      showPlaceTold();
    });
  byId('replay-play').addEventListener('click', () => { if (state) ask({ paused: !state.paused }); });
  byId('replay-back').addEventListener('click', () => ask({ step: -1 }));
  byId('replay-on').addEventListener('click', () => ask({ step: 1 }));
  byId('replay-rate').addEventListener('change', (event) => ask({ rate: Number(event.target.value) }));
}
