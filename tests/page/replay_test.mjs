// A recording on the live page, in a browser: node replay_test.mjs SOURCE BUILD [PICTURES]
// It is made on a unit of the lab with all of the desk. With a folder for PICTURES it leaves that of the documents there.
import assert from 'node:assert/strict';
import { copyFile, mkdir, readFile, stat, truncate, writeFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { after, before, test } from 'node:test';
import { chromium } from 'playwright-core';
import { Program, eventually } from './programs.mjs';

const [source, build, pictures] = process.argv.slice(2);
const axeScript = createRequire(import.meta.url).resolve('axe-core');
const ctl = `${build}/lab/ctl/orvanectl`;
const RECORDING = '/tmp/drive.mcap';

async function startServe(file) {
  const serve = new Program(ctl, 'serve', '--port', '0', '--replay', file);
  const [, where] = await eventually('the address', () => /the page is at (\S+)\n/.exec(serve.output));
  return [serve, where];
}

let address, browser, page, length;
const troubles = [];

const textOf = (selector) => page.locator(selector).innerText();
const rowsOf = (selector) => page.locator(selector).evaluateAll((rows) => rows.map((row) => [...row.children].map((c) => c.textContent)));
const place = () => page.locator('#replay-slider').evaluate((slider) => Number(slider.value));
const timeShown = async () => Date.parse((await textOf('#replay-time')).replace(' UTC', 'Z').replace(' ', 'T'));

/// What a recording tells up to a number of seconds, by the tool's other verbs.
async function toldUntil(seconds) {
  const file = `/tmp/until-${seconds}.mcap`;
  const cut = new Program(ctl, 'cut', RECORDING, '-o', file, '--to', String(seconds));
  assert.equal(await cut.ended, 0, cut.errors);
  const report = new Program(ctl, 'report', file, '--json');
  assert.equal(await report.ended, 0, report.errors);
  return JSON.parse(report.output).recordings[0];
}

/// The rows of a table of fields, the first two of which are the time and the seconds of the recording.
async function tableOf(file, ...fields) {
  const csv = new Program(ctl, 'csv', file, ...fields);
  assert.equal(await csv.ended, 0, csv.errors);
  return csv.output.trimEnd().split('\n').slice(1).map((line) =>
    [...line.matchAll(/(?:^|,)(?:"((?:[^"]|"")*)"|([^",]*))/g)].map(([, quoted, plain]) => quoted?.replaceAll('""', '"') ?? plain));
}

/// Asks for a time as the page does, and waits until it is shown.
async function goTo(seconds) {
  await page.evaluate(async (to) => {
    const token = document.querySelector('meta[name="orvane-token"]').content;
    await fetch('/position', { method: 'POST', body: JSON.stringify({ to }),
      headers: { 'Content-Type': 'application/json', 'X-Orvane-Token': token } });
  }, seconds);
  await eventually(`the place ${seconds}`, async () => Math.abs(await place() - seconds) < 1e-6 && await textOf('#replay-reads') === '');
}

/// What somebody gets who looks on from now.
async function firstFrame() {
  const asking = new AbortController();
  const reader = (await fetch(`${address}events`, { signal: asking.signal })).body.getReader();
  const { value } = await reader.read();
  asking.abort();
  return new TextDecoder().decode(value);
}

before(async () => {
  // The recorder needs the copy of the queue, which the desk makes.
  const receiver = '/tmp/desk/receiver';
  await mkdir('/tmp/desk', { recursive: true });
  const said = '/tmp/desk/service';
  await writeFile(receiver, '');
  await writeFile(said, '');
  const recorder = new Program(ctl, 'record', '-o', RECORDING, '--socket', '/tmp/bus', '--queue', `ZEN_HX=${receiver}`,
    '--console', said);
  const each = (option, what) => Array.from({ length: 40 }, (_, i) => [option, `${what}@${i + 1}`]).flat();
  const desk = new Program(`${source}/lab/desk`, '--build', build, '--seconds', '8', '--',
    ...each('--threat', 'jam az=90 el=30 power=-60 confidence=75 center=1575.4 bw=20'), ...each('--warn', '6 ANTENNA OPEN'));
  assert.equal(await desk.ended, 0, desk.output + desk.errors);
  assert.equal(await recorder.end('SIGINT'), 0, recorder.errors);
  [, address] = await startServe(RECORDING);
  browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox'] });
  page = await (await browser.newContext({ viewport: { width: 1280, height: 900 } })).newPage();
  page.on('console', (message) => { if (message.type() === 'error') troubles.push(message.text()); });
  page.on('pageerror', (error) => troubles.push(String(error)));
  await page.goto(address);
  await page.locator('#replay').waitFor();
  length = Number(await page.locator('#replay-slider').getAttribute('max'));
});

after(async () => {
  await browser?.close();
  await Promise.all(Program.all.map((program) => program.end()));
});

test('it begins at the front, paused, and nothing can be requested', async () => {
  assert.equal(await place(), 0);
  assert.ok(length > 4, String(length));
  assert.equal(await textOf('#replay-play'), 'Play');
  assert.equal(await textOf('#replay-title'), 'Recording drive.mcap');
  assert.match(await textOf('#replay-time'), /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} UTC$/);
  assert.equal(await page.locator('#requests button').count(), 0);
  assert.equal(await textOf('#requests .state'), 'This is a recording: nothing can be requested of its unit.');
});

for (const share of [0.95, 0.6])
  test(`after ${share} of it each panel shows what the recording tells up to there`, async () => {
    const at = Math.round(length * share * 1000) / 1000;
    await goTo(at);
    const told = await toldUntil(at);
    const first = Date.parse(told.start);
    assert.ok(Math.abs(await timeShown() - first - at * 1000) <= 2);
    // The time, and with it ages, are of the recording: what is shown comes with the frame.
    await eventually('topics', async () => {
      const shown = Object.fromEntries((await rowsOf('#topics tbody tr')).map((row) => [row[0], Number(row[3])]));
      const topics = told.topics.filter((row) => row.name in shown);
      assert.ok(topics.length > 5);
      assert.deepEqual(shown, Object.fromEntries(topics.map((row) => [row.name, row.messages])));
      return true;
    });
    const queue = told.topics.find((row) => row.name === 'queue/ZEN_HX');
    assert.ok(queue.messages > 0);
    assert.match(await textOf('#topics .lines'), new RegExp(`^ZEN_HX: ${queue.messages} records, 0 pieces`));
    assert.ok(told.publications.find((row) => row.name === 'blended-navigation').count > 0);
    const latest = await page.locator('#errors-chart').evaluate((canvas) => globalThis.Chart.getChart(canvas).data.datasets[0].data.at(-1));
    const { course } = told.errors.horizontal;
    assert.ok(Math.abs(latest.x - course.seconds.at(-1)) <= course.width, `${latest.x} and ${course.seconds.at(-1)}`);
    assert.ok(Math.abs(latest.y - course.high.at(-1)) <= 0.01);
    assert.match(await page.locator('#errors-chart').getAttribute('aria-label'), new RegExp(`horizontal ${latest.y} m`));
    assert.match(await textOf('#inputs .join'), new RegExp(`^join rate \\d\\.\\d\\d \\(\\d+ of \\d+\\)`));
    const [joined, epochs] = /\((\d+) of (\d+)\)/.exec(await textOf('#inputs .join')).slice(1).map(Number);
    // A second that is under way is counted by the report at its end.
    assert.ok(told.joins.epochs - epochs <= 2 && told.joins.epochs >= epochs && joined <= told.joins.joined, JSON.stringify(told.joins));
    assert.equal(await page.locator('#events .lines li').count(), Math.max(1, Math.min(told.events.count, 200)));
    assert.match(await textOf('#track-words'), /driven, \d+ points/);
    assert.equal((await rowsOf('#navwar tbody tr')).length, told.threats.looks.at(-1).rows.length);

    const bus = await tableOf(`/tmp/until-${at}.mcap`, 'bus.tell', 'bus.record.warnings', 'bus.record.components');
    const listOf = (tell, column) => JSON.parse(bus.findLast((row) => row[2] === tell)?.[column] || '[]');
    const warnings = listOf('warning-messages', 3).map((row) => (row.customText ? `${row.warningId} ${row.customText}` : String(row.warningId)));
    assert.deepEqual(await page.locator('#warnings .lines li').allTextContents(), warnings.length ? warnings : ['none']);
    const components = listOf('system-configuration', 4).map((row) =>
      [String(row.componentId), row.name, row.serialNumber, row.softwarePresent ? row.software : '–', row.hardwarePresent ? row.hardware : '–']);
    assert.deepEqual(await rowsOf('#configuration tbody tr'), components);
    const lines = (await tableOf(`/tmp/until-${at}.mcap`, 'console.line')).map((row) => row[2]);
    assert.deepEqual(await page.locator('#console .lines li').allTextContents(), lines.reverse());
    if (share < 0.9) return;
    assert.ok(warnings.some((words) => words.endsWith(' ANTENNA OPEN')) && components.length > 0 && lines.length > 0);
  });

test('time that goes back takes away what was not told yet', async () => {
  await goTo(length);
  await eventually('navigation', async () => /^told/.test(await textOf('#navigation .told')));
  await goTo(0);
  const first = Object.fromEntries((await toldUntil(0)).topics.map((row) => [row.name, row.messages]));
  await eventually('the first message alone', async () => (await rowsOf('#topics tbody tr')).every((row) => Number(row[3]) === first[row[0]]));
  assert.equal(await textOf('#navigation .told'), 'not told yet');
});

test('the slider follows the mouse', async () => {
  const box = await page.locator('#replay-slider').boundingBox();
  await page.mouse.move(box.x + 10, box.y + box.height / 2);
  await page.mouse.down();
  await page.mouse.move(box.x + box.width / 4, box.y + box.height / 2, { steps: 5 });
  await page.mouse.move(box.x + box.width / 2, box.y + box.height / 2, { steps: 5 });
  await page.mouse.up();
  const half = await place();
  assert.ok(Math.abs(half - length / 2) < length / 20, String(half));
  const told = await toldUntil(half);
  await eventually('what was told by then', async () => {
    const row = (await rowsOf('#topics tbody tr')).find(([name]) => name === 'UTCTime');
    return Number(row[3]) === told.topics.find((topic) => topic.name === 'UTCTime').messages;
  });
});

test('all is done by keyboard alone', async () => {
  await goTo(0);
  await page.locator('.skip').focus();
  const press = async (key) => { await page.keyboard.press(key); };
  for (let i = 0; i < 5 && await page.evaluate(() => document.activeElement.id) !== 'replay-slider'; ++i) await press('Tab');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'replay-slider');
  await press('ArrowRight');
  await press('ArrowRight');
  await press('ArrowLeft');
  await eventually('a second', async () => await place() === 1);
  assert.match(await page.locator('#replay-slider').getAttribute('aria-valuetext'), /^\d{4}-.* UTC, 0:01\.0 of 0:\d\d\.\d$/);
  await press('End');
  await eventually('the end', async () => Math.abs(await place() - length) < 1e-6);
  await press('PageDown');
  await eventually('a tenth back', async () => Math.abs(await place() - length * 0.9) < 1e-6);
  await press('Home');
  await eventually('the front', async () => await place() === 0);

  await press('Tab');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'replay-play');
  await press('Tab');
  await press('Tab');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'replay-on');
  await press('Enter');
  await eventually('a step', async () => await place() > 0);
  const one = await place();
  await press('Enter');
  await eventually('another', async () => await place() > one);
  await press('Shift+Tab');
  await press('Enter');
  await eventually('a step back', async () => await place() === one);
  await press('Tab');
  await press('Tab');
  assert.equal(await page.evaluate(() => document.activeElement.id), 'replay-rate');
});

test('what is shown is not missed if it comes before the answer', async () => {
  await goTo(0);
  let shown;
  await page.route('**/position', async (route) => {
    const response = await route.fetch();
    // Another viewer has it by then, and so has this one.
    await eventually('the frame', async () => /"at":(?!0\.0,)/.test(await firstFrame()));
    await page.evaluate(() => new Promise((resolve) => { setTimeout(resolve, 100); }));
    shown = await place();
    await route.fulfill({ response });
  });
  await page.getByRole('button', { name: 'Step on' }).click();
  await eventually('a step', async () => await place() > 0);
  assert.equal(shown, 0);
  await page.unroute('**/position');
});

test('it plays, pauses, and stops at the end', async () => {
  await goTo(0);
  await page.getByRole('button', { name: 'Play', exact: true }).click();
  await eventually('time that passes', async () => await place() > 0.3);
  await page.getByRole('button', { name: 'Pause', exact: true }).click();
  await page.getByRole('button', { name: 'Play', exact: true }).waitFor();
  const stood = await place();
  const time = await textOf('#replay-time');
  // Two frames at the least, which come once a second at the latest.
  await page.evaluate(() => new Promise((resolve) => { setTimeout(resolve, 1500); }));
  assert.equal(await place(), stood);
  assert.equal(await textOf('#replay-time'), time);
  await page.getByLabel('Speed').selectOption('100');
  await page.getByRole('button', { name: 'Play', exact: true }).click();
  await eventually('the end', async () => Math.abs(await place() - length) < 1e-6 && await textOf('#replay-play') === 'Play');
  await page.getByLabel('Speed').selectOption('1');
});

for (const [colorScheme, width, isLookedAt] of [['light', 1280, true], ['light', 400], ['dark', 1280], ['dark', 400, true]])
  test(`in ${colorScheme}, ${width} pixels wide, nothing is cut${isLookedAt ? ', and axe finds nothing' : ''}`, async () => {
    await goTo(length * 0.9);
    await page.emulateMedia({ colorScheme });
    await page.setViewportSize({ width, height: 900 });
    const ground = colorScheme === 'dark' ? 'rgb(13, 17, 23)' : 'rgb(243, 245, 248)';
    await eventually('its colours', () => page.evaluate((colour) => getComputedStyle(document.body).backgroundColor === colour, ground));
    await eventually('a page that does not scroll sideways', () => page.evaluate(() => document.scrollingElement.scrollWidth <= innerWidth));
    if (!isLookedAt) return;
    if (pictures && width === 1280) await page.screenshot({ path: `${pictures}/page-replay.png`, fullPage: true });
    const found = await page.evaluate(`(() => { ${await readFile(axeScript, 'utf8')}; return axe.run(); })()`);
    assert.deepEqual(found.violations.map((v) => `${v.id}: ${v.nodes.map((n) => n.target).join(' ')}`), []);
  });

test("another site's page can't move it, and nothing is requested of it", async () => {
  const token = await page.locator('meta[name="orvane-token"]').getAttribute('content');
  const headers = { 'Content-Type': 'application/json', 'X-Orvane-Token': token };
  const at = await place();
  for (const [path, origin, status] of [['position', 'http://evil.example', 403], ['request', new URL(address).origin, 200]]) {
    const response = await fetch(`${address}${path}`, { method: 'POST', headers: { ...headers, Origin: origin }, body: '{"to":0}' });
    assert.equal(response.status, status, origin);
    assert.equal((await response.json()).ok, false);
  }
  assert.equal(await place(), at);
});

test('what was cut off is shown as far as it goes', async () => {
  await copyFile(RECORDING, '/tmp/cut.mcap');
  await truncate('/tmp/cut.mcap', Math.floor((await stat(RECORDING)).size * 0.6));
  const info = new Program(ctl, 'info', '/tmp/cut.mcap', '--json');
  assert.equal(await info.ended, 1, info.errors);
  const told = JSON.parse(info.output);
  assert.ok(!told.closed && told.messages > 0 && told.seconds < length, info.output);
  const [, where] = await startServe('/tmp/cut.mcap');
  const other = await browser.newPage();
  await other.goto(where);
  await eventually('the words', async () => /it was cut off/.test(await other.locator('#replay-lacks').textContent()));
  await other.locator('#replay-slider').press('End');
  const timeText = () => other.locator('#replay-time').textContent();
  await eventually('its end', async () => Math.abs(Date.parse((await timeText()).replace(' UTC', 'Z').replace(' ', 'T')) - Date.parse(told.to)) <= 2);
  const counts = Object.fromEntries(told.channels.map((channel) => [channel.topic, channel.messages]));
  await eventually('its last messages', async () => {
    const rows = await other.locator('#topics tbody tr').evaluateAll((all) => all.map((row) => [row.children[0].textContent, Number(row.children[3].textContent)]));
    assert.ok(rows.length > 5);
    assert.deepEqual(rows, rows.map(([name]) => [name, counts[name]]));
    return true;
  });
  await other.close();
});

test('nothing went wrong in the browser', () => assert.deepEqual(troubles, []));
