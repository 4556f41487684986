// The page of a report in a browser, of a short drive on a unit of the lab: node report_test.mjs SOURCE BUILD
import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { after, before, test } from 'node:test';
import { chromium } from 'playwright-core';
import { Program } from './programs.mjs';

const [source, build] = process.argv.slice(2);
const axeScript = createRequire(import.meta.url).resolve('axe-core');
const ctl = `${build}/lab/ctl/orvanectl`;
const HOSTILE = '</script><script>globalThis.broken=1</script><img src=x onerror=globalThis.broken=1>';
const PAGE = '/tmp/report.html';
const RECORDING = '/tmp/drive.mcap';

let numbers, drive, browser, page;
const troubles = [];

const textOf = (selector) => page.locator(selector).innerText();
const rowsOf = (selector) => page.locator(selector).evaluateAll((rows) => rows.map((row) => [...row.children].map((c) => c.textContent)));

before(async () => {
  const recorder = new Program(ctl, 'record', '-o', RECORDING, '--socket', '/tmp/bus');
  const threat = (second) => ['--threat', `jam az=90 el=30 power=-60 confidence=75 center=1575.4 bw=20@${second}`];
  const desk = new Program(`${source}/lab/desk`, '--build', build, '--seconds', '6', '--',
    ...[2, 3, 4, 5, 6, 7, 8].flatMap(threat), '--warn', '6 ANTENNA OPEN@3', '--mute', 'pnt=4:5');
  const event = new Program(ctl, 'pub', 'EventLog', '--set', 'event_log_type=3', '--set', `eventlog=${HOSTILE}`, '--rate', '5',
    '--count', '10', '--wait', '30');
  assert.equal(await event.ended, 0, event.errors);
  assert.equal(await desk.ended, 0, desk.output);
  recorder.child.kill('SIGINT');
  assert.equal(await recorder.ended, 0, recorder.errors);
  const report = new Program(ctl, 'report', RECORDING, '-o', PAGE, '--json');
  assert.equal(await report.ended, 0, report.errors);
  numbers = JSON.parse(report.output);
  [drive] = numbers.recordings;

  browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox'] });
  page = await (await browser.newContext({ viewport: { width: 1280, height: 900 } })).newPage();
  page.on('console', (message) => { if (message.type() === 'error') troubles.push(message.text()); });
  page.on('pageerror', (error) => troubles.push(String(error)));
  page.on('request', (request) => { if (!/^(file|data):/.test(request.url())) troubles.push(request.url()); });
  await page.goto(`file://${PAGE}`);
  await page.waitForSelector('#topics table');
});

after(async () => {
  await browser?.close();
  for (const program of Program.all) if (program.child.exitCode === null) program.child.kill('SIGTERM');
  await Promise.all(Program.all.map((program) => program.ended));
});

test('the page has the numbers that are printed', async () => {
  assert.deepEqual(JSON.parse(await page.locator('#numbers').textContent()), numbers);
  assert.ok(drive.joins.epochs > 0);
  assert.equal(await textOf('#joins .sum'), drive.joins.text);
  const told = await rowsOf('#timeline tbody tr');
  assert.deepEqual(told.map(([name, times]) => [name, Number(times)]), drive.publications.map((row) => [row.name, row.count]));
  assert.ok(drive.publications.find((row) => row.name === 'blended-navigation').count > 1);
  assert.deepEqual((await rowsOf('#topics tbody tr')).map(([name, messages]) => [name, Number(messages)]),
    drive.topics.map((row) => [row.name, row.messages]));
  const { spread } = drive.latencies.fromTime;
  assert.equal((await rowsOf('#latencies tbody tr'))[0][3], spread.median.toFixed(0));
  assert.deepEqual((await rowsOf('#misses tbody tr')).map((row) => row[2]), drive.joins.misses.map((miss) => miss[2]));
});

test('each panel has its picture', async () => {
  for (const id of ['timeline', 'joins', 'errors', 'merits', 'assurance', 'latencies', 'track', 'threats'])
    assert.ok(await page.locator(`#${id} svg.chart`).count() > 0, id);
  assert.equal(await page.locator('#track ellipse').count(), drive.track.ellipses.length);
  assert.ok(drive.threats.looks.length > 0);
  assert.equal(await page.locator('#threats circle.threat').count(), drive.threats.looks.flatMap((look) => look.rows).length);
  assert.match(await textOf('#warnings tbody'), /ANTENNA OPEN/);
});

test('keys choose a moment, which all pictures show', async () => {
  await page.locator('#errors svg.chart').focus();
  await page.keyboard.press('Home');
  for (let i = 0; i < 5; ++i) await page.keyboard.press('Shift+ArrowRight');
  const words = await textOf('#errors .readout');
  assert.match(words, new RegExp(`^${(drive.seconds / 2).toFixed(1)} s: horizontal \\d`));
  assert.match(await textOf('#timeline .readout'), /blended-navigation: told/);
  assert.equal(await page.locator('#errors svg.chart').getAttribute('aria-valuetext'), words);
});

test('what an event says is text', async () => {
  assert.ok((await rowsOf('#events tbody tr')).some((row) => row[3] === HOSTILE));
  assert.equal(await page.evaluate(() => globalThis.broken), undefined);
});

test('light and dark, broad and narrow it can be read, and is no wider than its window', async () => {
  for (const [width, colorScheme] of [[1280, 'light'], [400, 'dark']]) {
    await page.setViewportSize({ width, height: 900 });
    await page.emulateMedia({ colorScheme });
    await page.evaluate(await readFile(axeScript, 'utf8'));
    const found = await page.evaluate(() => globalThis.axe.run().then((result) => result.violations));
    assert.deepEqual(found.map((one) => `${one.id}: ${one.nodes.map((node) => node.html).join(' ')}`), []);
    assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
  }
});

test('on paper it is light, and nothing is scrolled away', async () => {
  await page.emulateMedia({ media: 'print', colorScheme: 'dark' });
  const style = (selector, name) => page.locator(selector).first().evaluate((node, key) => getComputedStyle(node)[key], name);
  assert.equal(await style(':root', 'colorScheme'), 'light');
  assert.equal(await style('h1', 'color'), 'rgb(27, 31, 36)');
  assert.equal(await style('#events .wide', 'overflowY'), 'visible');
  await page.emulateMedia({ media: 'screen' });
});

test('a time that is no number leaves the rest as it is', async () => {
  const odd = '/tmp/odd.html';
  const html = await readFile(PAGE, 'utf8');
  const changed = html.replace(/"misses":\[(\]?)/, (_, end) => `"misses":[[1,null,"odd"]${end || ','}`);
  assert.notEqual(changed, html);
  await writeFile(odd, changed);
  await page.goto(`file://${odd}`);
  await page.waitForSelector('#topics table');
  assert.ok((await rowsOf('#misses tbody tr')).some((row) => row[2] === 'odd'));
  assert.ok((await rowsOf('#events tbody tr')).length > 0);
});

test('nothing went wrong in the browser, and nothing was asked of elsewhere', () => {
  assert.deepEqual(troubles, []);
});
