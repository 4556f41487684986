'use strict';
// Draws the numbers that stand in this page. Texts of recordings become text and nothing else.

const SVG = 'http://www.w3.org/2000/svg';
const numbers = JSON.parse(document.getElementById('numbers').textContent);
const recordings = numbers.recordings;
const isPair = recordings.length > 1;
const span = Math.max(0.001, ...recordings.map((r) => r.seconds || 0));
const NONE = '–';

function element(name, words, className) {
  const node = document.createElement(name);
  if (words !== undefined && words !== null) node.textContent = words;
  if (className) node.className = className;
  return node;
}

function part(name, attributes, words) {
  const node = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) node.setAttribute(key, value);
  if (words !== undefined) node.textContent = words;
  return node;
}

const fixed = (value, digits, unit = '') =>
  (typeof value === 'number' ? value.toFixed(digits) + (unit ? ` ${unit}` : '') : NONE);
const short = (value) => (typeof value === 'number' ? String(+value.toPrecision(4)) : NONE);
const two = (value) => String(value).padStart(2, '0');

/// Seconds of a recording: "12.3 s", in a long one "3:07:12".
function clock(seconds) {
  if (span < 600) return `${seconds.toFixed(1)} s`;
  const whole = Math.round(seconds);
  return `${Math.floor(whole / 3600)}:${two(Math.floor(whole / 60) % 60)}:${two(whole % 60)}`;
}

/// With two recordings, which one it is.
const nameOf = (index) => (isPair ? `${'AB'[index]}: ` : '');

function table(heads, rows, caption, textColumns = []) {
  const frame = element('div', null, 'wide');
  frame.tabIndex = 0;
  frame.setAttribute('role', 'region');
  frame.setAttribute('aria-label', `${caption}, as a table`);
  const body = element('tbody'), head = element('thead'), line = element('tr'), whole = element('table');
  const place = (node, column) => { if (textColumns.includes(column)) node.classList.add('text'); return node; };
  heads.forEach((words, column) => {
    const cell = place(element('th', words), column);
    cell.scope = 'col';
    line.append(cell);
  });
  head.append(line);
  for (const cells of rows) {
    const row = element('tr');
    cells.forEach((value, column) => {
      const cell = place(element(column ? 'td' : 'th'), column);
      if (!column) cell.scope = 'row';
      if (value instanceof Node) cell.append(value);
      else cell.textContent = value;
      row.append(cell);
    });
    body.append(row);
  }
  whole.append(head, body);
  frame.append(whole);
  return frame;
}

function panel(id, title, className = '') {
  const section = element('section', null, className);
  section.id = id;
  const heading = element('h2', title);
  heading.id = `${id}-title`;
  section.setAttribute('aria-labelledby', heading.id);
  section.append(heading);
  document.getElementById('panels').append(section);
  return section;
}

/// Each shows the moment that is looked at in any of them.
const charts = [];
function lookAt(seconds) {
  for (const chart of charts) chart.mark(Math.min(Math.max(seconds, 0), span));
}

/// A drawing over time: by pointer or keys a moment is chosen, and what is told of it stands below.
/// @param draw   gets a width, and gives { nodes, height, mark(seconds), timeAt(x, y) }
/// @param words  what is told of a moment
function chart(parent, label, draw, words, className = '') {
  const plot = part('svg', { class: `chart ${className}`, tabindex: 0, role: 'slider', 'aria-label': label,
    'aria-valuemin': 0, 'aria-valuemax': span.toFixed(3), 'aria-valuenow': 0, 'aria-valuetext': 'no moment chosen' });
  const readout = element('p', 'Point at it, or press the arrow keys, to see the values of a moment.', 'readout told');
  parent.append(plot, readout);
  let drawn, width = 0, now = null;
  const show = (seconds) => {
    now = seconds;
    drawn.mark(seconds);
    const text = `${clock(seconds)}: ${words(seconds)}`;
    readout.textContent = text;
    readout.classList.remove('told');
    plot.setAttribute('aria-valuenow', seconds.toFixed(3));
    plot.setAttribute('aria-valuetext', text);
  };
  const redraw = () => {
    const next = Math.max(240, Math.round(plot.clientWidth || 800));
    if (next === width) return;
    width = next;
    drawn = draw(width);
    plot.setAttribute('viewBox', `0 0 ${width} ${drawn.height}`);
    plot.replaceChildren(...drawn.nodes);
    if (now !== null) drawn.mark(now);
  };
  redraw();
  new ResizeObserver(redraw).observe(plot);
  plot.addEventListener('pointermove', (event) => {
    const box = plot.getBoundingClientRect();
    const scale = width / Math.max(box.width, 1);
    const seconds = drawn.timeAt((event.clientX - box.left) * scale, (event.clientY - box.top) * scale);
    if (seconds !== null) lookAt(seconds);
  });
  plot.addEventListener('keydown', (event) => {
    const step = span / (event.shiftKey ? 10 : 100);
    const to = { ArrowLeft: (now ?? 0) - step, ArrowDown: (now ?? 0) - step, ArrowRight: (now ?? -step) + step,
      ArrowUp: (now ?? -step) + step, Home: 0, End: span }[event.key];
    if (to === undefined) return;
    event.preventDefault();
    lookAt(to);
  });
  charts.push({ mark: show });
}

/// The least of 1, 2, 5, 10, ... that is not below.
function roundStep(value) {
  if (!(value > 0) || !Number.isFinite(value)) return 1;
  const power = 10 ** Math.floor(Math.log10(value));
  return [1, 2, 5, 10].find((step) => step * power >= value * 0.999999) * power;
}

const TIME_STEPS = [1, 2, 5, 10, 20, 30, 60, 120, 300, 600, 1200, 1800, 3600, 7200, 10800, 21600, 43200, 86400];
function timeTicks(most) {
  const step = span / most > 86400 ? roundStep(span / most) : TIME_STEPS.find((s) => s >= span / most);
  return Array.from({ length: Math.floor(span / step) + 1 }, (_, i) => i * step);
}

const LEFT = 46, RIGHT = 10, BOTTOM = 20, TOP = 8;

function timeAxis(width, left, top, bottom) {
  const x = (seconds) => left + (width - left - RIGHT) * seconds / span;
  const nodes = timeTicks(Math.max(2, Math.floor(width / 110))).flatMap((t) => [
    part('path', { d: `M${x(t).toFixed(1)} ${top}V${bottom}`, class: 'grid' }),
    part('text', { x: x(t).toFixed(1), y: bottom + 14, class: 'middle' }, span < 600 ? `${t} s` : clock(t))]);
  return { x, nodes, timeAt: (px) => Math.min(Math.max((px - left) / (width - left - RIGHT), 0), 1) * span };
}

/// The bucket of a course that a moment is in, if there is one near.
function bucketAt(course, seconds) {
  const list = course.seconds;
  let low = 0, high = list.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (list[middle] <= seconds) low = middle + 1; else high = middle;
  }
  const near = [low - 1, low].filter((i) => i >= 0 && i < list.length)
    .sort((a, b) => Math.abs(list[a] - seconds) - Math.abs(list[b] - seconds))[0];
  if (near === undefined || Math.abs(list[near] - seconds) > Math.max(2 * course.width, span / 100, 2)) return -1;
  return near;
}

/// Where a line is broken: values that are farther apart than usual.
function runs(course) {
  const apart = course.seconds.slice(1).map((s, i) => s - course.seconds[i]).sort((a, b) => a - b);
  const most = Math.max(2.5 * (apart[apart.length >> 1] || 0), 2.5 * course.width);
  const all = [];
  course.seconds.forEach((s, i) => {
    if (!i || s - course.seconds[i - 1] > most) all.push([]);
    all[all.length - 1].push(i);
  });
  return all;
}

/// Lines of means within bands from the least to the greatest.
/// @param series  { name, course, colour, other } with a course that may be missing
function lines(parent, label, series, unit, { digits = 2, most, least = 0 } = {}) {
  const there = series.filter((s) => s.course && s.course.seconds.length);
  if (!there.length) return void parent.append(element('p', 'There is nothing of it in the recording.', 'told'));
  const legend = element('ul', null, 'legend');
  // Which is which is told by dashes too: with two recordings of which, else of what.
  const lineOf = (s) => `line c${s.colour} d${isPair ? s.other : s.colour}`;
  for (const s of there) {
    const item = element('li'), sample = part('svg', { viewBox: '0 0 32 10', 'aria-hidden': true });
    sample.append(part('path', { d: 'M0 5H32', class: lineOf(s) }));
    item.append(sample, s.name);
    legend.append(item);
  }
  parent.append(legend);
  const high = most ?? Math.max(...there.map((s) => Math.max(...s.course.high)));
  const low = Math.min(least, ...there.map((s) => Math.min(...s.course.low)));
  const step = roundStep((high - low || 1) / 4);
  const top = Math.ceil((high || 1) / step - 1e-9) * step, base = Math.floor(low / step) * step;
  const draw = (width) => {
    const height = 210, floor = height - BOTTOM;
    const axis = timeAxis(width, LEFT, TOP, floor);
    const y = (v) => floor - (floor - TOP) * (v - base) / (top - base || 1);
    const nodes = axis.nodes;
    for (let v = base; v <= top + step / 2; v += step)
      nodes.push(part('path', { d: `M${LEFT} ${y(v).toFixed(1)}H${width - RIGHT}`, class: 'grid' }),
        part('text', { x: LEFT - 5, y: y(v) + 4, class: 'end' }, short(v)));
    for (const s of there)
      for (const run of runs(s.course)) {
        const { seconds, low: lows, high: highs, mean } = s.course;
        const at = (i, v) => `${axis.x(seconds[i]).toFixed(1)} ${y(v).toFixed(1)}`;
        const way = (values) => run.map((i) => at(i, values[i]));
        nodes.push(part('path', { d: `M${[...way(highs), ...way(lows).reverse()].join('L')}Z`, class: `band c${s.colour}` }),
          part('path', { d: `M${way(mean).join('L')}${run.length === 1 ? 'h1' : ''}`, class: lineOf(s) }));
      }
    const cursor = part('path', { class: 'cursor' });
    nodes.push(cursor);
    return { nodes, height, timeAt: axis.timeAt,
      mark: (t) => cursor.setAttribute('d', `M${axis.x(t).toFixed(1)} ${TOP}V${floor}`) };
  };
  const words = (t) => there.map((s) => {
    const i = bucketAt(s.course, t);
    if (i < 0) return `${s.name} ${NONE}`;
    const { low: lows, high: highs, mean } = s.course;
    const range = lows[i] === highs[i] ? '' : ` (${fixed(lows[i], digits)} to ${fixed(highs[i], digits)})`;
    return `${s.name} ${fixed(mean[i], digits, unit)}${range}`;
  }).join(', ');
  chart(parent, label, draw, words);
}

/// Rows of what is so from one moment to another.
/// @param rows  { name, items: [[from, to, words, class]] }
function timeline(parent, label, rows) {
  const there = rows.filter((row) => row.items.length);
  if (!there.length) return void parent.append(element('p', 'There is nothing of it in the recording.', 'told'));
  const high = 20;
  const draw = (width) => {
    const longest = Math.max(...there.map((row) => row.name.length));
    const left = Math.min(longest * 6.2 + 10, width * 0.45), floor = TOP + there.length * high;
    const axis = timeAxis(width, left, TOP, floor);
    const nodes = axis.nodes;
    there.forEach((row, index) => {
      const y = TOP + index * high;
      const room = Math.floor((left - 10) / 6.2);
      nodes.push(part('text', { x: left - 6, y: y + 14, class: 'end' },
        row.name.length > room ? `${row.name.slice(0, room - 1)}…` : row.name));
      for (const [from, to, , kind] of row.items) {
        const a = axis.x(from), b = axis.x(to);
        nodes.push(part('rect', { x: a.toFixed(1), y: y + 4, width: Math.max(b - a, 2).toFixed(1), height: high - 8,
          class: `bar ${kind || ''}` }));
      }
    });
    const cursor = part('path', { class: 'cursor' });
    nodes.push(cursor);
    return { nodes, height: floor + BOTTOM, timeAt: axis.timeAt,
      mark: (t) => cursor.setAttribute('d', `M${axis.x(t).toFixed(1)} ${TOP}V${floor}`) };
  };
  const words = (t) => {
    const near = span / 200;
    const told = there.map((row) => {
      const items = row.items.filter(([from, to]) => from - near <= t && to + near >= t);
      if (!items.length) return '';
      const texts = [...new Set(items.map((item) => item[2]))];
      const more = texts.length > 3 ? ` and ${texts.length - 3} more` : '';
      return `${row.name}: ${texts.slice(0, 3).join(', ')}${more}`;
    }).filter((text) => text);
    return told.join('; ') || 'nothing';
  };
  chart(parent, label, draw, words);
}

const marksOf = (list, kind) => list.marks.map(([at, words]) => [at, at, words, kind]);

function publicationItems(row) {
  if (!row.count) return [];
  const items = [];
  let from = row.from;
  for (const [a, b] of row.gaps) {
    items.push([from, a, 'told']);
    from = b;
  }
  items.push([from, row.to, 'told']);
  return row.count < 4 ? [[row.from, row.from, 'told'], [row.to, row.to, 'told']] : items;
}

const EVENT_KINDS = { FAULT: 'bad', OPERATION_FAILED: 'bad', SEVERE: 'bad', MAINTENANCE: 'doubtful' };

function rowsOf(recording, index) {
  const name = (words) => nameOf(index) + words;
  const threats = recording.threats.looks.map(({ seconds, rows }) =>
    [seconds, seconds, `${rows.length} ${rows.length === 1 ? 'threat' : 'threats'}`, 'bad']);
  const rows = recording.publications.map((row) => ({ name: name(row.name), items: publicationItems(row) }));
  rows.push(
    { name: name('not joined'), items: recording.joins.misses.map(([at, , causes]) => [at, at, causes, 'bad']) },
    { name: name('GPS'), items: recording.gps.spans.map(([from, to, words]) =>
      [from, to, words, { available: '', 'not available': 'bad' }[words] ?? 'faint']) },
    { name: name('threats'), items: threats },
    { name: name('warnings'), items: recording.warnings.spans.map(([from, to, words]) => [from, to, words, 'doubtful']) },
    { name: name('events'), items: recording.events.rows.map(([at, type, source, words]) =>
      [at, at, `${type} ${words}`, EVENT_KINDS[type] || 'faint']) },
    { name: name('clear data'), items: marksOf(recording.clearData, 'bad') },
    { name: name('built-in tests'), items: marksOf(recording.builtInTests, 'doubtful') },
    { name: name('service'), items: marksOf(recording.service, 'faint') });
  return rows;
}

function showFacts() {
  const facts = document.getElementById('facts');
  recordings.forEach((r, index) => {
    facts.append(element('p', `${nameOf(index)}${r.file}, from ${r.start ?? NONE}, ${fixed(r.seconds, 1, 's')}, ` +
      `${r.messages} messages, ${r.bytes} bytes${r.heard.bus ? '' : '; the bus was not recorded'}`));
    if (!r.closed) facts.append(element('p', `${nameOf(index)}it was cut off, or its end is damaged`, 'bad'));
    if (r.problemCount) facts.append(element('p', `${nameOf(index)}${r.problemCount} damaged places: ${r.problems.join('; ')}`, 'bad'));
  });
  facts.append(element('p', `Joined by the settings of ${numbers.settings}.`, 'told'));
}

function showComparison() {
  if (!isPair) return;
  const section = panel('comparison', 'Comparison', 'broad long');
  section.append(table(['what', 'A', 'B', 'B - A', 'unit'], numbers.comparison.map((row) =>
    [row.name, short(row.a), short(row.b), short(row.difference), row.unit]), 'Comparison', [4]));
}

function showTimeline() {
  const section = panel('timeline', 'Time line', 'broad');
  timeline(section, 'Time line of publications, misses, GPS, threats, warnings and events', recordings.flatMap(rowsOf));
  recordings.forEach((r, index) => {
    if (!r.publications.length) return;
    section.append(element('h3', `${nameOf(index)}publications and gaps`), table(
      ['told', 'times', 'interval s', 'gaps', 'in gaps s', 'longest s'], r.publications.map((row) =>
        [row.name, String(row.count), fixed(row.interval, 3), String(row.gapCount), fixed(row.gapSeconds, 1), fixed(row.longestGap, 1)]),
      `${nameOf(index)}publications`));
  });
}

function showJoins() {
  const section = panel('joins', 'Joins');
  recordings.forEach((r, index) => {
    section.append(element('p', `${nameOf(index)}${r.joins.epochs ? r.joins.text : 'no time message was joined or missed'}`, 'sum'));
    if (!r.heard.bus) section.append(element('p', 'Without the bus, what the service could have joined counts as joined.', 'told'));
    if (!r.heard.receiver) section.append(element('p', "The receiver's queue was not recorded; its 8504 count as there.", 'told'));
  });
  lines(section, 'Share of time messages that were joined, over time', recordings.map((r, index) =>
    ({ name: `${nameOf(index)}joined`, course: r.joins.course, colour: index, other: index })), '', { most: 1 });
  recordings.forEach((r, index) => {
    if (!r.joins.causes.length) return;
    section.append(table(['cause', 'times'], r.joins.causes.map((row) => [row.cause, String(row.times)]), `${nameOf(index)}causes`));
  });
}

const courseOf = (r, name) => r.errors[name] && r.errors[name].course;
const perRecording = (names) => recordings.flatMap((r, index) => names.map(([key, words, colour]) =>
  ({ name: `${nameOf(index)}${words}`, course: courseOf(r, key), colour, other: index })));

function showErrors() {
  const errors = panel('errors', 'Errors');
  lines(errors, 'Errors of the position over time', perRecording([['horizontal', 'horizontal', 0], ['vertical', 'vertical', 1]]), 'm');
  const merits = panel('merits', 'Figures of merit');
  lines(merits, 'Figures of merit over time', perRecording([['fom', 'FOM', 0], ['efom', 'EFOM', 1], ['tfom', 'TFOM', 2]]), '', { digits: 1, most: 9 });
  const assurance = panel('assurance', 'Assurance');
  lines(assurance, 'Assurance over time', perRecording([['assurance', 'confidence', 0]]), '', { most: 1 });
}

const metres = (value) => (value >= 1000 ? `${+(value / 1000).toPrecision(3)} km` : `${+value.toPrecision(3)} m`);

function showTrack() {
  const section = panel('track', 'Track');
  recordings.forEach((r, index) => {
    const { track } = r;
    if (!track.seconds.length) return void section.append(element('p', `${nameOf(index)}no position in the recording`, 'told'));
    section.append(element('p', `${nameOf(index)}${metres(track.driven)} driven, from ${track.origin.latitude.toFixed(6)}°, ` +
      `${track.origin.longitude.toFixed(6)}°`));
    const reachOf = (list) => [Math.min(...list), Math.max(...list)];
    const [west, east] = reachOf(track.east), [south, north] = reachOf(track.north);
    const reach = Math.max(5, east - west, north - south, ...track.ellipses.map((e) => 2 * e[3])) * 0.55;
    const draw = (width) => {
      const height = Math.min(width, 420), scale = (Math.min(width, height) / 2 - 14) / reach;
      const x = (e) => (width / 2 + (e - (west + east) / 2) * scale).toFixed(1);
      const y = (n) => (height / 2 - (n - (south + north) / 2) * scale).toFixed(1);
      const bar = roundStep(reach / 3);
      const here = part('circle', { r: 5, class: 'here', visibility: 'hidden' });
      const nodes = [
        ...track.ellipses.map(([, e, n, major, minor, azimuth]) => part('ellipse', { cx: 0, cy: 0,
          rx: Math.max(minor * scale, 0.5).toFixed(2), ry: Math.max(major * scale, 0.5).toFixed(2), class: 'ellipse',
          transform: `translate(${x(e)} ${y(n)}) rotate(${azimuth})` })),
        part('polyline', { points: track.east.map((e, i) => `${x(e)},${y(track.north[i])}`).join(' '), class: 'line c0' }),
        part('text', { x: 14, y: 16 }, 'N ↑'),
        part('path', { d: `M14 ${height - 14}v4h${(bar * scale).toFixed(1)}v-4`, class: 'cursor' }),
        part('text', { x: 14, y: height - 18 }, metres(bar)), here];
      return { nodes, height,
        timeAt: (px, py) => {
          const far = track.east.map((e, i) => Math.hypot(x(e) - px, y(track.north[i]) - py));
          return track.seconds[far.indexOf(Math.min(...far))];
        },
        mark: (t) => {
          const i = bucketAt({ ...track, width: 1 }, t);
          here.setAttribute('visibility', i < 0 ? 'hidden' : 'visible');
          if (i >= 0) { here.setAttribute('cx', x(track.east[i])); here.setAttribute('cy', y(track.north[i])); }
        } };
    };
    const words = (t) => {
      const i = bucketAt({ ...track, width: 1 }, t);
      if (i < 0) return 'no position';
      const ellipse = track.ellipses.filter((e) => e[0] <= t).pop();
      return `${track.east[i].toFixed(1)} m east, ${track.north[i].toFixed(1)} m north` +
        (ellipse ? `; 95 % within ${ellipse[3].toFixed(2)} by ${ellipse[4].toFixed(2)} m, long axis at ${ellipse[5].toFixed(0)}°` : '');
    };
    chart(section, `${nameOf(index)}track, north up, with error ellipses of 95 percent`, draw, words);
  });
}

const threatWords = (threat) => `${threat.azimuth.toFixed(0)}° at ${threat.elevation.toFixed(0)}°` +
  (threat.power === null ? '' : `, power ${threat.power}`) + (threat.confidence === null ? '' : `, ${threat.confidence} %`) +
  (threat.megahertz === null ? '' : `, ${threat.megahertz} MHz`) + (threat.sensor ? `, ${threat.sensor}` : '');

function showThreats() {
  const section = panel('threats', 'Threats');
  recordings.forEach((r, index) => {
    const { looks } = r.threats;
    section.append(element('p', `${nameOf(index)}${looks.length ? 'north up, the rim is the horizon; later is fuller, hollow is below the horizon' : 'no threats were told'}`, 'told'));
    if (!looks.length) return;
    const lookNear = (t) => bucketAt({ seconds: looks.map((l) => l.seconds), width: 1 }, t);
    const draw = (width) => {
      const height = Math.min(width, 380), cx = width / 2, cy = height / 2, rim = height / 2 - 22;
      const nodes = [1, 2 / 3, 1 / 3].map((share) => part('circle', { cx, cy, r: rim * share, class: 'grid' }));
      nodes.push(part('path', { d: `M${cx - rim} ${cy}h${2 * rim}M${cx} ${cy - rim}v${2 * rim}`, class: 'grid' }));
      for (const [words, x, y] of [['N', cx, cy - rim - 6], ['E', cx + rim + 10, cy + 4], ['S', cx, cy + rim + 14], ['W', cx - rim - 10, cy + 4]])
        nodes.push(part('text', { x, y, class: 'middle' }, words));
      const dots = [];
      looks.forEach((look, number) => look.rows.forEach((threat) => {
        const radius = rim * (1 - Math.min(Math.abs(threat.elevation) / 90, 1)), angle = threat.azimuth * Math.PI / 180;
        const age = looks.length > 1 ? number / (looks.length - 1) : 1;
        const dot = part('circle', { cx: (cx + radius * Math.sin(angle)).toFixed(1), cy: (cy - radius * Math.cos(angle)).toFixed(1),
          r: 5, class: 'threat', 'fill-opacity': threat.elevation < 0 ? 0 : (0.1 + 0.7 * age).toFixed(2) });
        dots.push([dot, number]);
        nodes.push(dot);
      }));
      return { nodes, height,
        timeAt: (px, py) => {
          const far = dots.map(([dot]) => Math.hypot(dot.getAttribute('cx') - px, dot.getAttribute('cy') - py));
          const least = Math.min(...far);
          return least < 25 ? looks[dots[far.indexOf(least)][1]].seconds : null;
        },
        mark: (t) => {
          const number = lookNear(t);
          for (const [dot, of] of dots) dot.classList.toggle('now', of === number);
        } };
    };
    const words = (t) => {
      const number = lookNear(t);
      return number < 0 ? 'no threats' : looks[number].rows.map(threatWords).join('; ');
    };
    chart(section, `${nameOf(index)}threats by azimuth and elevation`, draw, words);
  });
  lines(section, 'Threats over time', recordings.map((r, index) =>
    ({ name: `${nameOf(index)}threats`, course: r.threats.count, colour: index, other: index })), '', { digits: 0 });
}

function showLatencies() {
  const section = panel('latencies', 'Latencies, input to bus');
  const rows = recordings.flatMap((r, index) => [['fromTime', 'since the time message'], ['fromLast', 'since the last input']]
    .map(([key, words], which) => ({ name: nameOf(index) + words, of: r.latencies[key], colour: which, other: index })));
  lines(section, 'Latencies over time', rows.map((row) => ({ ...row, course: row.of.course })), 'ms', { digits: 0 });
  const told = rows.filter((row) => row.of.spread);
  if (told.length) section.append(table(['ms', 'count', 'least', 'median', '95 %', 'most'], told.map(({ name, of }) =>
    [name, String(of.spread.count), ...['least', 'median', 'p95', 'most'].map((key) => fixed(of.spread[key], 0))]), 'Latencies in milliseconds'));
}

function showLists() {
  const lists = [
    ['warnings', 'Warnings', (r) => [['from', 'to', 'warning'], r.warnings.spans.map(([a, b, words]) => [clock(a), clock(b), words]), r.warnings, [2]]],
    ['clear-data', 'Clear data', (r) => [['at', 'what'], r.clearData.marks.map(([a, words]) => [clock(a), words]), r.clearData, [1]]],
    ['tests', 'Built-in tests', (r) => [['at', 'what'], r.builtInTests.marks.map(([a, words]) => [clock(a), words]), r.builtInTests, [1]]],
    ['misses', 'Not joined', (r) => [['at', 'GPS second', 'why'], r.joins.misses.map(([a, second, words]) =>
      [clock(a), fixed(second, 1), words]), { leftOut: r.joins.missesLeftOut }, [2]]],
    ['events', 'Events', (r) => [['at', 'type', 'from', 'what'], r.events.rows.map(([a, ...words]) => [clock(a), ...words]), r.events, [1, 2, 3]]],
  ];
  for (const [id, title, rowsIn] of lists) {
    const section = panel(id, title, `long${id === 'events' ? ' broad' : ''}`);
    recordings.forEach((r, index) => {
      const [heads, rows, { leftOut }, texts] = rowsIn(r);
      if (!rows.length) return void section.append(element('p', `${nameOf(index)}none`, 'told'));
      if (isPair) section.append(element('h3', 'AB'[index]));
      section.append(table(heads, rows, nameOf(index) + title, texts));
      if (leftOut) section.append(element('p', `${leftOut} between the first and the latest are left out`, 'told'));
    });
  }
}

function sparkOf(rates) {
  const plot = part('svg', { viewBox: '0 0 120 18', class: 'spark', 'aria-hidden': true });
  if (!rates || !rates.hertz.length) return plot;
  const most = Math.max(...rates.hertz);
  for (let i = 0; i < rates.hertz.length; ++i) {
    const height = 17 * rates.hertz[i] / most, x = 120 * rates.seconds[i] / span;
    const bar = part('rect', { x: x.toFixed(1), y: (18 - height).toFixed(1),
      width: Math.max(120 * rates.width / span, 0.6).toFixed(2), height: height.toFixed(1), class: 'bar' });
    bar.append(part('title', {}, `${clock(rates.seconds[i])}: ${rates.hertz[i]} Hz`));
    plot.append(bar);
  }
  return plot;
}

function showTopics() {
  const section = panel('topics', 'Topics', 'broad long');
  recordings.forEach((r, index) => {
    if (isPair) section.append(element('h3', 'AB'[index]));
    section.append(table(['channel', 'messages', 'rate Hz', 'over time', 'longest s', 'gaps', 'missing', 'missed', 'unreadable'],
      r.topics.map((row) => [row.name, String(row.messages), fixed(row.hertz, 3), sparkOf(row.rates), fixed(row.longest, 3),
        String(row.gaps), String(row.missing), row.missed ?? NONE, String(row.unreadable)]), `${nameOf(index)}topics`));
  });
}

showFacts();
showComparison();
showTimeline();
showJoins();
showErrors();
showLatencies();
showTrack();
showThreats();
showLists();
showTopics();
