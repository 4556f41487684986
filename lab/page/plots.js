// Track, error ellipse and polar plot are drawn here; the course of the errors, which has axes, by Chart.js.

const SVG = 'http://www.w3.org/2000/svg';

function part(name, attributes, words) {
  const node = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) node.setAttribute(key, value);
  if (words !== undefined) node.textContent = words;
  return node;
}

const label = (x, y, words, name = '') => part('text', { x, y, class: name }, words);
const setWords = (node, words) => { if (node.textContent !== words) node.textContent = words; };

/// The least of 1, 2, 5, 10, ... that is not below.
function roundStep(value) {
  if (!(value > 0) || !Number.isFinite(value)) return 1;
  const power = 10 ** Math.floor(Math.log10(value));
  return [1, 2, 5, 10].find((step) => step * power >= value) * power;
}

const metres = (value) => (value >= 1000 ? `${+(value / 1000).toPrecision(3)} km` : `${+value.toPrecision(3)} m`);

export function drawTrack(track, position) {
  const plot = document.getElementById('track-plot');
  const words = document.getElementById('track-words');
  if (!track.length) {
    plot.replaceChildren();
    return setWords(words, 'No position yet');
  }
  const middle = (axis) => (Math.min(...track.map((p) => p[axis])) + Math.max(...track.map((p) => p[axis]))) / 2;
  const [east, north] = [middle(0), middle(1)];
  const reach = Math.max(5, ...track.map((p) => Math.max(Math.abs(p[0] - east), Math.abs(p[1] - north))));
  const scale = 88 / reach;
  const x = (p) => ((p[0] - east) * scale).toFixed(2);
  const y = (p) => ((north - p[1]) * scale).toFixed(2);
  const here = track[track.length - 1];
  const bar = roundStep(reach / 2);
  const heading = position && typeof position.headingDegrees === 'number' ? position.headingDegrees : 0;
  plot.replaceChildren(
    part('rect', { x: -100, y: -100, width: 200, height: 200, class: 'grid' }),
    label(0, -88, 'N'),
    part('polyline', { points: track.map((p) => `${x(p)},${y(p)}`).join(' '), class: 'way' }),
    part('path', { d: 'M0-8l5 13-5-3-5 3z', transform: `translate(${x(here)} ${y(here)}) rotate(${heading})`, class: 'here' }),
    part('path', { d: `M-95 92v4h${(bar * scale).toFixed(2)}v-4`, class: 'grid' }),
    label(-95 + bar * scale / 2, 88, metres(bar)));
  let length = 0;
  for (let i = 1; i < track.length; ++i) length += Math.hypot(track[i][0] - track[i - 1][0], track[i][1] - track[i - 1][1]);
  setWords(words, `${metres(length)} driven, ${track.length} points`);
}

export function drawEllipse(ellipse) {
  const plot = document.getElementById('ellipse-plot');
  const words = document.getElementById('ellipse-words');
  if (!ellipse || typeof ellipse.majorMetres !== 'number') {
    plot.replaceChildren();
    return setWords(words, 'No error ellipse yet');
  }
  const rim = roundStep(ellipse.majorMetres);
  const scale = 90 / rim;
  plot.replaceChildren(
    part('path', { d: 'M-95 0H95M0-95V95', class: 'grid' }),
    ...[0.5, 1].map((share) => part('circle', { cx: 0, cy: 0, r: 90 * share, class: 'grid' })),
    label(0, -98, 'N'), label(72, -72, metres(rim)),
    part('ellipse', { cx: 0, cy: 0, rx: Math.max(ellipse.minorMetres * scale, 0.5), ry: ellipse.majorMetres * scale,
      transform: `rotate(${ellipse.azimuthDegrees})`, class: 'ellipse' }));
  setWords(words, `95 % within ${ellipse.majorMetres.toFixed(2)} by ${ellipse.minorMetres.toFixed(2)} m, long axis at ` +
    `${ellipse.azimuthDegrees.toFixed(0)}°`);
}

/// North is up, the horizon is the rim and the zenith the middle. The stronger, the larger; the surer, the fuller; hollow
/// below the horizon.
export function drawThreats(threats) {
  const plot = document.getElementById('navwar-plot');
  const words = document.getElementById('navwar-words');
  const rim = 100;
  const powers = threats.filter((t) => t.powerValid && typeof t.power === 'number').map((t) => t.power);
  const [least, most] = [Math.min(...powers), Math.max(...powers)];
  const nodes = [
    part('path', { d: `M-${rim} 0H${rim}M0-${rim}V${rim}`, class: 'grid' }),
    ...[1, 2 / 3, 1 / 3].map((share) => part('circle', { cx: 0, cy: 0, r: rim * share, class: 'grid' })),
    label(0, -106, 'N'), label(110, 4, 'E'), label(0, 115, 'S'), label(-110, 4, 'W'),
    label(12, -rim / 3 - 2, '60°'), label(12, -rim * 2 / 3 - 2, '30°'),
  ];
  threats.forEach((threat, index) => {
    if (typeof threat.azimuth_rad !== 'number' || typeof threat.elevation_rad !== 'number') return;
    const radius = rim * (1 - Math.min(Math.abs(threat.elevation_rad) / (Math.PI / 2), 1));
    const x = radius * Math.sin(threat.azimuth_rad);
    const y = -radius * Math.cos(threat.azimuth_rad);
    const strength = threat.powerValid && most > least ? (threat.power - least) / (most - least) : 0.5;
    const confidence = threat.azimuthConfidenceValid ? Math.min(Math.max(threat.azimuthConfidence_percent / 100, 0), 1) : 0;
    nodes.push(part('circle', { cx: x.toFixed(2), cy: y.toFixed(2), r: (4 + 6 * strength).toFixed(2), class: 'threat',
      'fill-opacity': threat.elevation_rad < 0 ? 0 : (0.15 + 0.6 * confidence).toFixed(2) }));
    // Its number stands towards the middle, or away from it where there is no room.
    const beside = radius > 30 ? (radius - 17) / radius : (radius + 17) / Math.max(radius, 1);
    nodes.push(label((x * beside).toFixed(2), (y * beside + 3).toFixed(2), String(index + 1), 'on'));
  });
  plot.replaceChildren(...nodes);
  setWords(words, threats.length
    ? `${threats.length} ${threats.length === 1 ? 'threat' : 'threats'}: larger is stronger, fuller is surer, the rim is the horizon`
    : 'No threats');
}

let chart = null;

function colours() {
  const style = getComputedStyle(document.documentElement);
  return Object.fromEntries(['accent', 'second', 'third', 'good', 'text', 'faint', 'grid']
    .map((name) => [name, style.getPropertyValue(`--${name}`).trim()]));
}

function makeChart() {
  const line = (words, yAxisID, borderDash) => ({ label: words, yAxisID, data: [], borderWidth: 2, pointRadius: 0, borderDash,
    stepped: yAxisID === 'merit' });
  return new globalThis.Chart(document.getElementById('errors-chart'), {
    type: 'line',
    data: { datasets: [line('horizontal m', 'metres', []), line('vertical m', 'metres', [6, 3]), line('FOM', 'merit', []),
      line('EFOM', 'merit', [6, 3])] },
    options: {
      animation: false, parsing: false, normalized: true, responsive: true, maintainAspectRatio: false,
      interaction: { mode: 'nearest', axis: 'x', intersect: false },
      plugins: { legend: { labels: { usePointStyle: true, pointStyle: 'line' } } },
      scales: {
        x: { type: 'linear', title: { display: true, text: '' } },
        metres: { position: 'left', beginAtZero: true, title: { display: true, text: 'm' } },
        merit: { position: 'right', min: 0, max: 10, grid: { drawOnChartArea: false }, title: { display: true, text: 'merit' } },
      },
    },
  });
}

/// @param since  what its seconds are counted from
export function drawErrors(errors, since) {
  if (!globalThis.Chart) return;
  chart = chart || makeChart();
  const colour = colours();
  const set = (index, values, stroke) => {
    const dataset = chart.data.datasets[index];
    dataset.data = errors.seconds.map((x, i) => ({ x, y: values[i] }));
    dataset.borderColor = dataset.backgroundColor = stroke;
  };
  set(0, errors.horizontal, colour.accent);
  set(1, errors.vertical, colour.second);
  set(2, errors.fom, colour.good);
  set(3, errors.efom, colour.third);
  chart.options.scales.x.title.text = `s since ${since}`;
  chart.options.color = colour.text;
  for (const scale of Object.values(chart.options.scales)) {
    scale.ticks.color = scale.title.color = colour.faint;
    scale.grid.color = colour.grid;
  }
  chart.update('none');
  const last = (values) => { const value = values[values.length - 1]; return value === null || value === undefined ? 'none' : value; };
  document.getElementById('errors-chart').setAttribute('aria-label', errors.seconds.length
    ? `Course of the errors; the latest: horizontal ${last(errors.horizontal)} m, vertical ${last(errors.vertical)} m, ` +
      `FOM ${last(errors.fom)}, EFOM ${last(errors.efom)}`
    : 'No errors yet');
}
