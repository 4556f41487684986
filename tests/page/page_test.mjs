// The live page in a browser, on a unit of the lab with all of the desk: node page_test.mjs SOURCE BUILD [PICTURES]
// With a folder for PICTURES it leaves those of the documents there.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { createServer } from 'node:http';
import net from 'node:net';
import { after, before, test } from 'node:test';
import { chromium } from 'playwright-core';
import { Program, eventually } from './programs.mjs';

const [source, build, pictures] = process.argv.slice(2);
const axeScript = createRequire(import.meta.url).resolve('axe-core');

/// A client of the bus that remembers what was told.
class Bus {
  lines = [];
  asked = 0;

  async connect() {
    this.socket = await eventually('the bus', () => new Promise((resolve, reject) => {
      const socket = net.connect('/tmp/bus', () => resolve(socket));
      socket.once('error', reject);
    }));
    let rest = '';
    this.socket.on('error', () => {});
    this.socket.on('data', (data) => {
      const lines = (rest + data).split('\n');
      rest = lines.pop();
      this.lines.push(...lines.map((line) => JSON.parse(line)));
    });
  }

  /// Waits for the answer.
  async ask(request) {
    const id = `test-${++this.asked}`;
    this.socket.write(`${JSON.stringify({ request, id })}\n`);
    return eventually(`the answer to ${request}`, () => this.lines.find((line) => line.type === 'answer' && line.id === id));
  }

  told(name) { return this.lines.filter((line) => line.type === 'tell' && line.tell === name); }
  last(name) { return this.told(name).at(-1); }
}

const startDesk = (...words) => new Program(`${source}/lab/desk`, '--build', build, '--seconds', 'forever', '--',
  '--post-after', '0.5', '--bit-seconds', '0.2', '--erase-seconds', '0.2', ...words);

async function startServe(port) {
  const serve = new Program(`${build}/lab/ctl/orvanectl`, 'serve', '--socket', '/tmp/bus', '--port', String(port));
  const [, address] = await eventually('the address', () => /the page is at (\S+)\n/.exec(serve.output));
  return [serve, address];
}

let desk, serve, address, browser, page;
const bus = new Bus();
const troubles = [];

const textOf = (selector) => page.locator(selector).innerText();
const rowsOf = (selector) => page.locator(selector).evaluateAll((rows) => rows.map((row) => [...row.children].map((c) => c.textContent)));
const pairsOf = async (panel) => Object.fromEntries(await page.locator(`#${panel} dl.values`).evaluate((list) =>
  [...list.querySelectorAll('dt')].map((name) => [name.textContent, name.nextElementSibling.textContent])));

before(async () => {
  // What the sensor reports is told once: it reports each second. How long all of it takes to start nobody knows.
  const each = (option, what, step) => Array.from({ length: 300 }, (_, i) => [option, `${what}@${i * step + 1}`]).flat();
  desk = startDesk(...each('--threat', 'jam az=90 el=30 power=-60 confidence=75 center=1575.4 bw=20 + bare az=-30 el=0 center=1227.6', 1),
    ...each('--warn', '6 ANTENNA OPEN', 10));
  [serve, address] = await startServe(0);
  await bus.connect();
  browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox'] });
  page = await (await browser.newContext({ viewport: { width: 1280, height: 900 } })).newPage();
  page.on('console', (message) => { if (message.type() === 'error') troubles.push(message.text()); });
  page.on('pageerror', (error) => troubles.push(String(error)));
  await page.goto(address);
  await eventually('a live page', async () => (await textOf('#lamps')).includes('page live'));
});

after(async () => {
  await browser?.close();
  bus.socket?.destroy();
  await Promise.all(Program.all.map((program) => program.end()));
});

test('navigation shows one of the records that were told, and its sources', async () => {
  await eventually('navigation as it was told', async () => {
    const shown = await pairsOf('navigation');
    const line = bus.told('blended-navigation').find((told) => told.timeOfValidity && `${told.record.gpsSeconds.toFixed(3)} s` === shown['GPS seconds']);
    if (!line) return false;
    const { record } = line;
    assert.equal(shown.FOM, String(record.fom));
    assert.equal(shown['Horizontal error'], `${record.horizontalPositionError_m.toFixed(2)} m`);
    assert.equal(shown['Vertical error'], `${record.verticalPositionError_m.toFixed(2)} m`);
    assert.equal(shown.Assurance, `${(record.assuranceConfidence * 100).toFixed(0)} %`);
    assert.equal(shown.GPS, record.gpsAvailability === 1 ? 'available' : 'not available');
    assert.equal(await page.locator('#navigation .words li').count(), record.sourceCount);
    return true;
  });
});

test('the track grows, and has its ellipse and the course of errors', async () => {
  await eventually('a track', async () => /driven, ([2-9]|\d\d) points/.test(await textOf('#track-words')));
  assert.match(await textOf('#track .place'), /^39\.50\d+° -76\.\d+°, /);
  assert.match(await textOf('#ellipse-words'), /^95 % within \d+\.\d\d by \d+\.\d\d m/);
  assert.equal(await page.locator('#ellipse-plot ellipse').count(), 1);
  await eventually('a chart', async () => /the latest: horizontal \d/.test(await page.locator('#errors-chart').getAttribute('aria-label')));
});

test('the six inputs have ages, and the line of why stands above them', async () => {
  await eventually('joins', async () => /^join rate \d\.\d\d \(\d+ of \d+\)/.test(await textOf('#inputs .join')));
  const rows = await rowsOf('#inputs tbody tr');
  assert.deepEqual(rows.map((row) => row[0]), ['UTCTime', 'PosVelAtt', 'HalvexPNT', 'MeasStatus', 'Assurance', '8504']);
  await eventually('ages', async () => (await rowsOf('#inputs tbody tr')).every((row) => Number(row[1]) < 10));
});

test('threats stand in the polar plot and the table as they were told', async () => {
  const shown = () => page.evaluate(() => ({
    rows: [...document.querySelectorAll('#navwar tbody tr')].map((row) => [...row.children].map((cell) => cell.textContent)),
    places: [...document.querySelectorAll('#navwar-plot .threat')].map((place) => [+place.getAttribute('cx'), +place.getAttribute('cy')]),
  }));
  const { rows, places } = await eventually('two threats', async () => { const now = await shown(); return now.rows.length === 2 && now; });
  const { threats } = bus.told('navwar-sa').findLast((line) => line.record.threatCount === 2).record;
  assert.deepEqual(rows.map((row) => row.slice(1, 3)), threats.map((threat) =>
    [threat.azimuth_rad, threat.elevation_rad].map((angle) => (angle * 180 / Math.PI).toFixed(1))));
  assert.deepEqual(rows[0].slice(3, 5), [threats[0].power.toFixed(0), threats[0].azimuthConfidence_percent.toFixed(0)]);
  assert.deepEqual(rows[1].slice(3, 5), ['–', '–']);
  // In the east, and a third of the way from the rim to the middle.
  assert.ok(Math.abs(places[0][0] - 66.7) < 1 && Math.abs(places[0][1]) < 1, String(places[0]));
});

test('warnings, part numbers, topics and events are those of the unit', async () => {
  await eventually('the warning', async () => (await textOf('#warnings .lines')).includes('ANTENNA OPEN'));
  await eventually('the warnings as they were told', async () => {
    const shown = await page.locator('#warnings .lines li').allInnerTexts();
    assert.deepEqual(shown, bus.last('warning-messages').record.warnings.map((row) => (row.customText ? `${row.warningId} ${row.customText}` : String(row.warningId))));
    return true;
  });
  await eventually('components', async () => {
    const told = bus.last('system-configuration').record.components.map((row) => [row.componentId, row.name, row.serialNumber]);
    assert.deepEqual((await rowsOf('#configuration tbody tr')).map((row) => row.slice(0, 3)), told);
    return told.length > 0;
  });
  await eventually('a rate', async () => (await rowsOf('#topics tbody tr')).some((row) => row[0] === 'UTCTime' && Number(row[1]) > 0.5));
  await eventually('an event', async () => (await textOf('#events .lines')).includes('OrvaneServer started successfully.'));
});

test('a click makes a request, and its answer is shown', async () => {
  const answers = bus.told('built-in-test-results').length;
  await page.getByRole('button', { name: 'Run built-in test' }).click();
  await eventually('the answer', async () => (await page.locator('#answers').textContent()).includes('Run built-in test: bit-run  ok true'));
  await eventually('the result on the bus', () => bus.told('built-in-test-results').length > answers || bus.told('execute-built-in-tests').length);
  await eventually('the end of the test', async () => /passed/.test(await textOf('#tests')) ||
    (await page.getByRole('button', { name: 'Test results', exact: true }).click(), false));
});

test('what erases is asked first, and done by keyboard alone', async () => {
  const button = page.getByRole('button', { name: 'Clear all data' });
  await button.focus();
  await page.keyboard.press('Enter');
  await page.getByRole('dialog').waitFor();
  assert.match(await textOf('#confirm-words'), /erases all of its data/);
  assert.equal(await page.evaluate(() => document.activeElement.id), 'confirm-no');
  await page.keyboard.press('Escape');
  await page.getByRole('dialog').waitFor({ state: 'hidden' });
  assert.equal(bus.told('clear-system-data').length, 0);
  assert.equal(await page.evaluate(() => document.activeElement.textContent), 'Clear all data');

  await page.keyboard.press('Enter');
  await page.getByRole('dialog').waitFor();
  await page.keyboard.press('Tab');
  await page.keyboard.press('Enter');
  await eventually('the answer', async () => (await page.locator('#answers').textContent()).includes('Clear all data: clear-data  ok true'));
  await eventually('the end of the clearing', async () => /^done \(warning 24\)/.test(await textOf('#clear-data .state')));
});

test('one question is asked at a time', async () => {
  let isAnswered;
  const answered = new Promise((resolve) => { isAnswered = resolve; });
  const asked = [];
  await page.route('**/confirm', async (route) => {
    asked.push(route.request().postDataJSON().name);
    await answered;
    await route.continue();
  });
  await page.getByRole('button', { name: 'Clear crypto data' }).click();
  await page.getByRole('button', { name: 'Clear all data' }).click();
  isAnswered();
  await page.getByRole('dialog').waitFor();
  assert.deepEqual(asked, ['clear-data-crypto']);
  assert.equal(await textOf('#confirm-title'), 'Clear crypto data?');
  await page.keyboard.press('Escape');
  await page.getByRole('dialog').waitFor({ state: 'hidden' });
  await page.unroute('**/confirm');

  await page.getByRole('button', { name: 'Clear all data' }).click();
  await page.getByRole('dialog').waitFor();
  assert.equal(await textOf('#confirm-title'), 'Clear all data?');
  await page.keyboard.press('Escape');
  await page.getByRole('dialog').waitFor({ state: 'hidden' });
});

test('the keyboard reaches every button and every table that scrolls', async () => {
  await page.evaluate(() => document.activeElement.blur());
  const reached = new Set();
  for (let i = 0; i < 40; ++i) {
    await page.keyboard.press('Tab');
    reached.add(await page.evaluate(() => document.activeElement.textContent.trim().slice(0, 40) + document.activeElement.getAttribute('aria-label')));
  }
  for (const name of ['To the panels', 'Status', 'Clear all data']) assert.ok([...reached].some((text) => text.startsWith(name)), name);
  for (const name of ['Table of topics', 'Table of threats', 'Events, the newest first']) assert.ok([...reached].some((text) => text.endsWith(name)), name);
});

for (const [colorScheme, width, isLookedAt] of [['light', 1280, true], ['light', 400], ['dark', 1280], ['dark', 400, true]])
  test(`in ${colorScheme}, ${width} pixels wide, nothing is cut${isLookedAt ? ', and axe finds nothing' : ''}`, async () => {
    await page.emulateMedia({ colorScheme });
    await page.setViewportSize({ width, height: 900 });
    const ground = colorScheme === 'dark' ? 'rgb(13, 17, 23)' : 'rgb(243, 245, 248)';
    await eventually('its colours', () => page.evaluate((colour) => getComputedStyle(document.body).backgroundColor === colour, ground));
    // The chart takes its new size a moment later.
    await eventually('a page that does not scroll sideways', () => page.evaluate(() => document.scrollingElement.scrollWidth <= innerWidth));
    if (!isLookedAt) return;
    if (pictures) await page.screenshot({ path: `${pictures}/page-${colorScheme}-${width}.png`, fullPage: true });
    // The page lets no script of others in: axe comes by the browser's side door.
    const found = await page.evaluate(`(() => { ${await readFile(axeScript, 'utf8')}; return axe.run(); })()`);
    assert.deepEqual(found.violations.map((v) => `${v.id}: ${v.nodes.map((n) => n.target).join(' ')}`), []);
    assert.ok(found.passes.some((rule) => rule.id === 'color-contrast'));
  });

test("another site's page can press nothing", async () => {
  const site = createServer((_, response) => { response.setHeader('Content-Type', 'text/html'); response.end('<!doctype html><title>other</title>'); });
  await new Promise((resolve) => { site.listen(0, '127.0.0.1', resolve); });
  const tests = () => bus.told('execute-built-in-tests').length;
  const before = tests();
  const other = await browser.newPage();
  await other.goto(`http://127.0.0.1:${site.address().port}/`);
  // As a page may without asking, and for a request that needs no confirmation. What is answered it never sees.
  const sent = [];
  other.on('request', (request) => sent.push(request.method()));
  await other.evaluate(async (target) => {
    for (const type of ['text/plain', 'application/x-www-form-urlencoded'])
      await fetch(`${target}request`, { method: 'POST', body: '{"name":"bit-run"}', mode: 'no-cors', headers: { 'Content-Type': type } }).catch(() => {});
  }, address);
  assert.deepEqual(sent, ['POST', 'POST']);
  await other.close();
  site.close();
  // Whatever they had brought about would have been told by then.
  await bus.ask('status');
  assert.equal(tests(), before);
  await page.getByRole('button', { name: 'Run built-in test' }).click();
  await eventually('a test of its own', () => tests() === before + 1);
  const token = await page.locator('meta[name="orvane-token"]').getAttribute('content');
  const headers = { 'Content-Type': 'application/json', 'X-Orvane-Token': token };
  for (const [origin, status] of [['http://evil.example', 403], [new URL(address).origin, 200]]) {
    const response = await fetch(`${address}confirm`, { method: 'POST', headers: { ...headers, Origin: origin }, body: '{"name":"clear-data-all"}' });
    assert.equal(response.status, status, origin);
  }
});

test('what one panel can not show keeps no other from being drawn', async () => {
  const sections = { inputs: 7, warnings: { record: { warnings: [null, 'x', { warningId: 7 }] } } };
  const other = await browser.newPage();
  await other.route('**/events', (route) => route.fulfill({ contentType: 'text/event-stream', body: `data: ${JSON.stringify(sections)}\n\n` }));
  await other.goto(address);
  await eventually('the warning', async () => await other.locator('#warnings .lines').innerText() === '7');
  await other.close();
});

test('sixteen look on at the same time', async () => {
  const viewers = await Promise.all(Array.from({ length: 15 }, () => fetch(`${address}events`)));
  const readers = viewers.map((viewer) => viewer.body.getReader());
  for (const reader of readers) {
    const { value } = await reader.read();
    assert.match(new TextDecoder().decode(value), /^data: \{"/);
  }
  assert.equal((await fetch(`${address}events`)).status, 503);
  assert.ok((await textOf('#lamps')).includes('page live'));
  const late = await browser.newPage();
  await late.goto(address);
  const words = 'orvanectl serve: 16 others look on already. It is asked again each second.';
  await eventually('the words for the seventeenth', async () => await late.locator('#notice').textContent() === words);
  await Promise.all(readers.map((reader) => reader.cancel()));
  await eventually('its turn', async () => (await late.locator('#lamps').innerText()).includes('page live'));
  await late.close();
});

test('up to here the console has no error', () => assert.deepEqual(troubles, []));

test('it says when the service is gone, and goes on by itself when it is back', async () => {
  await page.setViewportSize({ width: 1280, height: 900 });
  await desk.end();
  await eventually('the notice', async () => /^The bus is gone: /.test(await textOf('#notice')));
  await eventually('no process', async () => (await textOf('#lamps')).includes('no process'));
  desk = startDesk();
  await eventually('no notice', async () => await page.locator('#notice').textContent() === '');
  await eventually('a new record', async () => /^told [0-3] s ago/.test(await textOf('#navigation .told')));
});

test('it says that a recorder runs and when it is gone, and goes on by itself when there is one again', async () => {
  const record = (file) => new Program(`${build}/lab/ctl/orvanectl`, 'record', '-o', file, '--socket', '/tmp/bus');
  assert.ok(!(await textOf('#lamps')).includes('recorder'));
  const recorder = record('/tmp/one.mcap');
  await eventually('the recorder', async () => (await textOf('#lamps')).includes(`recorder ${recorder.child.pid}: /tmp/one.mcap`));
  assert.equal(await page.locator('#notice').textContent(), '');
  await recorder.end('SIGKILL');
  await eventually('the notice', async () => /^The recorder is gone\./.test(await page.locator('#notice').textContent()));
  assert.match(await textOf('#lamps'), /recorder gone for \d+ s/);
  const next = record('/tmp/two.mcap');
  await eventually('no notice', async () => await page.locator('#notice').textContent() === '' && (await textOf('#lamps')).includes('/tmp/two.mcap'));
  await next.end('SIGINT');
});

test('it says when its own server is gone, and loads the next one by itself', async () => {
  assert.equal(await serve.end(), 0);
  await eventually('the notice', async () => /^orvanectl serve is gone/.test(await page.locator('#notice').textContent()));
  [serve] = await startServe(new URL(address).port);
  await eventually('no notice', async () => await page.locator('#notice').textContent() === '' && (await textOf('#lamps')).includes('page live'));
  await page.getByRole('button', { name: 'Status' }).click();
  await eventually('an answer', async () => (await page.locator('#answers').textContent()).includes('Status: status  service 1  ok true'));
});
