// The page's life: frames come as server-sent events, each with the sections that have changed; they are drawn when the
// browser draws, so that a slow one leaves frames out and shows the latest.
import { panels } from './panels.js';
import { setUpReplay, showReplay } from './replay.js';
import { setUpRequests } from './requests.js';

const state = {};
const changed = new Set();
let isDrawing = false;
let lastFrame = performance.now();
let isConnected = false;
let source = null;
let refused = '';  // why the server sends no events, in words

const byId = (id) => document.getElementById(id);

function lamp(name, isGood, words) {
  let row = byId(`lamp-${name}`);
  if (!row) {
    row = document.createElement('li');
    row.id = `lamp-${name}`;
    byId('lamps').append(row);
  }
  row.className = isGood ? 'good' : 'bad';
  if (row.textContent !== words) row.textContent = words;
}

function say(words) {
  if (byId('notice').textContent !== words) byId('notice').textContent = words;
}

/// Of the recorder that runs, or ran last.
function recorderWords({ id, file, others, goneSeconds }) {
  if (goneSeconds !== null) return `recorder gone for ${goneSeconds} s`;
  const more = others ? `, and ${others} more` : '';
  return `recorder ${id}${file ? `: ${file}` : ''}${more}`;
}

/// What is not there is said in words, above all panels.
function drawLamps() {
  if (state.replay) return drawLampsOfRecording(state.status);
  const status = state.status;
  document.body.classList.toggle('gone', !isConnected || !status || !status.serviceRuns);
  if (!status) return say(isConnected ? '' : refused || 'Waiting for orvanectl serve.');
  const process = status.process;
  const cpu = process && process.cpuPercent !== null ? `, CPU ${process.cpuPercent} %` : '';
  lamp('page', isConnected, isConnected ? 'page live' : 'page not live');
  lamp('bus', isConnected && !status.busTrouble, status.busTrouble ? `bus: ${status.busTrouble}` : `bus: ${status.bus || 'silent'}`);
  lamp('process', isConnected && Boolean(process),
    process ? `process ${process.id}${cpu}, ${(process.residentKiB / 1024).toFixed(1)} MiB, ${process.threads} threads` : 'no process');
  const recorder = status.recorder;
  const isRecorderGone = Boolean(recorder) && recorder.goneSeconds !== null;
  if (recorder) lamp('recorder', isConnected && !isRecorderGone, recorderWords(recorder));
  if (status.leftOut) lamp('left-out', false, `${status.leftOut} records left out`);
  if (!isConnected) say(refused || 'orvanectl serve is gone. What is shown is the last that came; the page goes on by itself when it is back.');
  else if (status.busTrouble) say(`The bus is gone: ${status.busTrouble}. What it told is old; it is looked for once a second.`);
  else if (!status.serviceRuns) say('The service does not run. What it told is old.');
  else if (isRecorderGone) say('The recorder is gone. What comes is not recorded until there is one again.');
  else say('');
}

/// What stands there was so when it was recorded.
function drawLampsOfRecording(status) {
  document.body.classList.toggle('gone', !isConnected);
  lamp('page', isConnected, isConnected ? 'page connected' : 'page not connected');
  if (state.replay.bus)
    lamp('bus', Boolean(status && status.serviceRuns), `bus: ${(status && status.bus) || 'nothing told yet'}`);
  if (status && status.leftOut) lamp('left-out', false, `${status.leftOut} records can't be read`);
  else byId('lamp-left-out')?.remove();
  say(isConnected ? '' : refused || 'orvanectl serve is gone. What is shown is the last that came; the page goes on by itself when it is back.');
}

function draw() {
  isDrawing = false;
  if (changed.has('replay')) showReplay(state);
  for (const [sections, show] of panels) {
    if (!sections.some((name) => changed.has(name))) continue;
    try {
      show(state);
    } catch (error) {
      console.error(error);  // that panel stays as it was
    }
  }
  changed.clear();
  drawLamps();
}

function drawSoon() {
  if (isDrawing) return;
  isDrawing = true;
  requestAnimationFrame(draw);
}

function take(sections) {
  // Another run of the server has another token, and perhaps another page.
  if (state.run && sections.run && sections.run !== state.run) return location.reload();
  lastFrame = performance.now();
  isConnected = true;
  refused = '';
  for (const [name, value] of Object.entries(sections)) {
    state[name] = value;
    changed.add(name);
  }
  drawSoon();
}

/// Nothing if it does not answer.
async function learnRefusal() {
  const asking = new AbortController();
  try {
    const response = await fetch('/events', { signal: asking.signal });
    refused = response.ok ? '' : `orvanectl serve: ${(await response.json()).error}. It is asked again each second.`;
  } catch {
    refused = '';
  }
  asking.abort();  // an event that comes here is not for the page
  drawSoon();
}

function lose() {
  if (source) source.close();
  source = null;
  isConnected = false;
  drawSoon();
  setTimeout(connect, 1000);
}

function connect() {
  if (source) return;
  lastFrame = performance.now();
  const opened = new EventSource('/events');
  source = opened;
  opened.onmessage = (event) => { if (source === opened) take(JSON.parse(event.data)); };
  opened.onerror = () => {
    if (source !== opened) return;
    // It has been answered, but not by events.
    if (opened.readyState === EventSource.CLOSED) learnRefusal();
    else refused = '';
    lose();
  };
}

// A connection that is only silent is lost as well.
setInterval(() => { if (source && performance.now() - lastFrame > 8000) lose(); }, 1000);
matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => {
  for (const name of Object.keys(state)) changed.add(name);
  drawSoon();
});
setUpReplay();
setUpRequests(document.querySelector('meta[name="orvane-token"]').content);
connect();
