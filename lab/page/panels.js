// What stands in each panel. A panel is drawn when one of its sections has changed.
import { drawErrors, drawEllipse, drawThreats, drawTrack } from './plots.js';
import { showButtons } from './requests.js';

const NONE = '–';
const panel = (id) => document.getElementById(id);
const within = (id, selector) => panel(id).querySelector(selector);

export function element(name, words, className) {
  const node = document.createElement(name);
  if (words !== undefined) node.textContent = words;
  if (className) node.className = className;
  return node;
}

/// A number as people read it; what is no number as it stands.
export function number(value, digits, unit = '') {
  if (value === null || value === undefined) return NONE;
  if (typeof value !== 'number') return String(value);
  return value.toFixed(digits) + (unit ? ` ${unit}` : '');
}

const degrees = (radians, digits = 1) => number(typeof radians === 'number' ? radians * 180 / Math.PI : radians, digits);
/// The rows of a list; what is none is left out.
const rowsIn = (list) => (Array.isArray(list) ? list.filter((row) => row !== null && typeof row === 'object') : []);
const rowsOf = (section, list) => rowsIn(section && section.record && section.record[list]);
const setWords = (node, words) => { if (node.textContent !== words) node.textContent = words; };

/// Puts rows in the place of those that stand there, where they differ: who reads or selects one is not disturbed.
function setRows(parent, rows) {
  rows.forEach((row, index) => {
    const old = parent.children[index];
    if (!old) parent.append(row);
    else if (!old.isEqualNode(row)) old.replaceWith(row);
  });
  while (parent.children.length > rows.length) parent.lastElementChild.remove();
}

/// A row of cells; the first is its heading.
function tableRow(cells) {
  const row = element('tr');
  cells.forEach((cell, index) => {
    const node = index ? element('td') : element('th');
    if (!index) node.scope = 'row';
    if (cell instanceof Node) node.append(cell);
    else node.textContent = cell;
    row.append(node);
  });
  return row;
}

function values(rows) {
  return rows.flatMap(([name, value, className]) => [element('dt', name), element('dd', value, className)]);
}

const two = (value) => String(value).padStart(2, '0');
export function timeWords(time) {
  if (!time) return NONE;
  const milliseconds = String(Math.floor((time.nanoseconds || 0) / 1e6)).padStart(3, '0');
  return `${time.year}-${two(time.month)}-${two(time.day)} ${two(time.hour)}:${two(time.minute)}:${two(time.seconds)}.${milliseconds}`;
}

function showAges({ ages, replay }) {
  for (const place of document.querySelectorAll('.told')) {
    const age = ages ? ages[place.dataset.of] : undefined;
    const words = age === undefined ? 'not told yet' : age === null ? (replay ? 'told before it was recorded' : 'told before this page was served') : `told ${number(age, 0)} s ago`;
    setWords(place, words);
    place.classList.toggle('old', place.dataset.of !== 'configuration' && typeof age === 'number' && age > 5);
  }
}

const AVAILABILITY = { 1: ['available', 'good'], 2: ['not available', 'bad'] };

function showNavigation({ navigation }) {
  const record = (navigation && navigation.record) || {};
  const valid = (name, flag, digits, unit) => (record[flag] ? number(record[name], digits, unit) : NONE);
  const [gps, gpsClass] = AVAILABILITY[record.gpsAvailability] || [NONE, ''];
  const assured = record.assuranceKnown ? number(record.assuranceConfidence * 100, 0, '%') : NONE;
  setRows(within('navigation', '.values'), values([
    ['Time of validity', navigation ? timeWords(navigation.timeOfValidity) : NONE],
    ['GPS seconds', number(record.gpsSeconds, 3, 's')],
    ['FOM', valid('fom', 'fomValid', 0)],
    ['EFOM', valid('efom', 'efomValid', 0)],
    ['TFOM', valid('tfom', 'tfomValid', 0)],
    ['Horizontal error', valid('horizontalPositionError_m', 'horizontalPositionErrorValid', 2, 'm')],
    ['Vertical error', valid('verticalPositionError_m', 'verticalPositionErrorValid', 2, 'm')],
    ['Horizontal velocity', valid('horizontalVelocityError_m_per_s', 'horizontalVelocityErrorValid', 3, 'm/s')],
    ['Vertical velocity', valid('verticalVelocityError_m_per_s', 'verticalVelocityErrorValid', 3, 'm/s')],
    ['Time error', valid('timeError_ms', 'timeErrorValid', 6, 'ms')],
    ['Attitude error', valid('attitudeError_deg', 'attitudeErrorValid', 3, '°')],
    ['Assurance', assured],
    ['GPS', gps, gpsClass],
  ]));
  const sources = rowsOf(navigation, 'sources').map((row) =>
    element('li', row.descriptionValid && row.description ? row.description : `type ${row.sourceType}`));
  setRows(within('navigation', '.words'), sources.length ? sources : [element('li', 'none')]);
}

/// How far an input's time is from that of UTCTime, up to a second to either side.
function offsetBar(seconds) {
  const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  svg.setAttribute('viewBox', '-50 -6 100 12');
  svg.setAttribute('class', 'bar');
  svg.setAttribute('aria-hidden', 'true');
  const part = (name, attributes) => {
    const node = document.createElementNS(svg.namespaceURI, name);
    for (const [key, value] of Object.entries(attributes)) node.setAttribute(key, value);
    svg.append(node);
  };
  part('line', { x1: 0, x2: 0, y1: -6, y2: 6 });
  if (typeof seconds === 'number') {
    const width = Math.min(Math.abs(seconds), 1) * 48;
    part('rect', { x: seconds < 0 ? -width : 0, y: -4, width: Math.max(width, 0.5), height: 8,
      class: Math.abs(seconds) >= 1 ? 'far' : 'near' });
  }
  return svg;
}

function showInputs({ inputs }) {
  setWords(within('inputs', '.join'), inputs.join || 'no time message yet');
  setRows(within('inputs', 'tbody'), inputs.rows.map((row) => {
    const line = tableRow([row.name, number(row.ageSeconds, 1), number(row.offsetSeconds, 3), offsetBar(row.offsetSeconds)]);
    if (row.ageSeconds === null || row.ageSeconds > 2) line.children[1].className = 'bad';
    if (Math.abs(row.offsetSeconds) >= 1) line.children[2].className = 'bad';
    return line;
  }));
}

function showTrack({ position, track }) {
  let words = 'No position yet';
  if (position && position.error) words = position.error;
  else if (position)
    words = `${number(position.latitudeDegrees, 6)}° ${number(position.longitudeDegrees, 6)}°, ` +
      `${number(position.altitudeMetres, 1)} m, heading ${number(position.headingDegrees, 1)}°, ${number(position.speed, 1)} m/s`;
  setWords(within('track', '.place'), words);
  drawTrack(track || [], position);
  drawEllipse(position && position.ellipse);
}

function showNavwar({ navwar }) {
  const threats = rowsOf(navwar, 'threats');
  drawThreats(threats);
  const rows = threats.map((threat, index) => tableRow([
    String(index + 1), degrees(threat.azimuth_rad), degrees(threat.elevation_rad),
    threat.powerValid ? number(threat.power, 0) : NONE,
    threat.azimuthConfidenceValid ? number(threat.azimuthConfidence_percent, 0) : NONE,
    number(threat.centreFrequency_Hz / 1e6, 3), number(threat.bandwidth_Hz / 1e6, 3), threat.sensorName || NONE,
  ]));
  for (const row of rows) row.lastElementChild.className = 'text';
  setRows(within('navwar', 'tbody'), rows);
}

function showWarnings({ warnings }) {
  const rows = rowsOf(warnings, 'warnings').map((row) =>
    element('li', `${row.warningId}${row.customTextValid && row.customText ? ` ${row.customText}` : ''}`));
  setRows(within('warnings', '.lines'), rows.length ? rows : [element('li', 'none', 'good')]);
}

const TEST_STATUS = { 0: ['queued', ''], 1: ['running', 'doubtful'], 2: ['failed', 'bad'], 3: ['passed', 'good'] };

function showTests({ tests, status }) {
  setWords(within('tests', '.state'), status ? status.builtInTest : NONE);
  const rows = rowsOf(tests, 'results').map((row) => {
    const [words, className] = TEST_STATUS[row.status] || [`status ${row.status}`, 'doubtful'];
    const line = element('li', `test ${row.builtInTestId}${row.namePresent && row.name ? ` ${row.name}` : ''}: ${words}`, className);
    for (const sensor of rowsIn(row.sensors)) {
      const [result, sensorClass] = TEST_STATUS[sensor.status] || [`status ${sensor.status}`, 'doubtful'];
      const text = sensor.textPresent && sensor.text ? ` (${sensor.text})` : '';
      line.append(element('div', `${sensor.sensorId}: ${result}${text}`, sensorClass));
    }
    return line;
  });
  setRows(within('tests', '.lines'), rows.length ? rows : [element('li', 'no results were told')]);
}

function showClearData({ status }) {
  const words = status.clearData === '-' ? 'nothing was asked for' : status.clearData;
  setWords(within('clear-data', '.state'), words);
}

const EVENT_CLASS = [[/ (FAULT|ERROR|FATAL|CRITICAL) /, 'bad'], [/ WARNING /, 'doubtful']];

function showEvents({ events }) {
  const rows = events.slice().reverse().map((text) => {
    const found = EVENT_CLASS.find(([pattern]) => pattern.test(text));
    return element('li', text, found && found[1]);
  });
  setRows(within('events', '.lines'), rows.length ? rows : [element('li', 'none yet')]);
}

function showConsole({ console: lines }) {
  panel('console').hidden = !lines;
  setRows(within('console', '.lines'), (lines || []).slice().reverse().map((text) => element('li', text)));
}

/// A recording can't be asked for anything.
function showRequests({ requests, replay }) {
  setWords(within('requests', '.state'), replay ? 'This is a recording: nothing can be requested of its unit.' : '');
  if (requests) showButtons(requests);
}

/// What a recording tells of a queue, or what is seen of one.
function queueWords(row) {
  if (row.records !== undefined) return `${row.name}: ${row.records} records, ${row.rest} pieces that are none, faults ${row.faults}`;
  return row.isThere
    ? `${row.name} ${row.device}: written ${row.written}, taken ${row.taken}, faults ${row.faults}; ${row.holders || 'nobody has it open'}`
    : `${row.name} ${row.device}: not there`;
}

function showConfiguration({ configuration }) {
  const record = (configuration && configuration.record) || {};
  setRows(within('configuration', '.values'), values([
    ['System', record.systemName || NONE],
    ['Serial number', record.systemSerialNumber || NONE],
    ['Software', (record.softwarePresent && record.systemSoftware) || NONE],
    ['Hardware', (record.hardwarePresent && record.systemHardware) || NONE],
  ]));
  setRows(within('configuration', 'tbody'), rowsOf(configuration, 'components').map((row) => {
    const line = tableRow([row.componentId, row.name, row.serialNumber, row.softwarePresent ? row.software : NONE,
      row.hardwarePresent ? row.hardware : NONE]);
    for (const cell of line.children) cell.classList.add('text');
    return line;
  }));
}

function showTopics({ topics, queues, replay }) {
  setRows(within('topics', 'tbody'), (topics || []).map((row) => {
    const line = tableRow([row.name, number(row.rateHz, 3), number(row.ageSeconds, 1), String(row.records), String(row.gaps),
      replay ? NONE : String(row.lost), row.sources]);
    line.lastElementChild.className = 'text';
    return line;
  }));
  setRows(within('topics', '.lines'), (queues || []).map((row) => element('li', queueWords(row))));
}

/// Sections, and what is drawn of them.
export const panels = [
  [['ages'], showAges],
  [['navigation'], showNavigation],
  [['inputs'], showInputs],
  [['position', 'track'], showTrack],
  [['errors'], ({ errors, replay }) => drawErrors(errors, replay ? 'the recording begins' : 'the page is served')],
  [['navwar'], showNavwar],
  [['warnings'], showWarnings],
  [['tests', 'status'], showTests],
  [['status'], showClearData],
  [['events'], showEvents],
  [['configuration'], showConfiguration],
  [['topics', 'queues'], showTopics],
  [['requests', 'replay'], showRequests],
  [['console'], showConsole],
];
