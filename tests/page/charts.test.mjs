// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { drawn, open, pressUntilSelected, shownNames, useBrowser } from './browser.mjs';
import { page as pageOf } from './fixture.mjs';

useBrowser();

const data = pageOf(24);
const best = data.runs.find((run) => run.name === data.best.runs[0]);
const judged = data.runs.filter((run) => run.status === 'done' && !run.stale && run.figures.fmax);
const CHARTS = ['tradeoff', 'spread', 'timeline', 'paths', 'nights'];

async function tableOf(page, id) {
  const summary = page.locator(`#${id} .data-table > summary`);
  await summary.click();
  await page.waitForSelector(`#${id} .data-table table`);
  return page.$$eval(`#${id} .data-table tbody tr`, (rows) => rows.map((row) => [...row.cells].map((cell) => cell.textContent)));
}

test('the best run and how far it is from the goal stand in words', async () => {
  const page = await open(data);
  const share = ((Math.abs(best.figures.fmax - 70) / 70) * 100).toFixed(1);
  const text = (await page.locator('.best-line').textContent()).replace(/\u202f/g, ' ');
  assert.match(text, new RegExp(`^Best run: ${best.name} with Fmax ${best.figures.fmax} MHz, ${share} % (short of|above) the goal of 70 MHz, worst slack`));
  await page.getByText('Why this one').click();
  assert.deepEqual(await page.locator('.why li').allTextContents(), data.best.why);
});

test('each chart is an image with words, and a table beside it', async () => {
  const page = await open(data);
  for (const id of CHARTS) {
    await drawn(page, id);
    const image = page.locator(`#${id} [role=img]`).first();
    assert.match(await image.getAttribute('aria-label'), /\w+.*\. .{20,}/, id);
    assert.ok((await tableOf(page, id)).length > 0, id);
  }
});

test('the frontier holds what no other run beats', async () => {
  const page = await open(data);
  await drawn(page, 'tradeoff');
  const rows = await tableOf(page, 'tradeoff');
  const wanted = judged
    .filter((run) => !judged.some((other) => other.figures.fmax >= run.figures.fmax && other.figures.logic_cells <= run.figures.logic_cells && (other.figures.fmax > run.figures.fmax || other.figures.logic_cells < run.figures.logic_cells)))
    .map((run) => run.name)
    .sort();
  assert.ok(wanted.length > 1);
  assert.deepEqual(rows.filter((row) => row[4] === 'yes').map((row) => row[0]).sort(), wanted);
});

test('a press on the ringed pick selects it', async () => {
  const page = await open(data);
  await drawn(page, 'tradeoff');
  const label = page.locator('#tradeoff svg text', { hasText: best.name });
  const bar = await pressUntilSelected(page, async () => {
    await label.scrollIntoViewIfNeeded();
    const at = await label.boundingBox();
    // The name stands to the right of its mark, the best one of these being far to the left.
    await page.mouse.click(at.x - 16, at.y + at.height / 2);
  });
  assert.match(await bar.textContent(), new RegExp(`^${best.name}`));
});

test('other figures can be set against each other', async () => {
  const page = await open(data);
  await drawn(page, 'tradeoff');
  await page.locator('#tradeoff').getByLabel('Across').selectOption('seconds');
  await page.getByRole('heading', { name: 'Fmax against Time' }).waitFor();
  assert.match(await page.locator('#tradeoff [role=img]').getAttribute('aria-label'), /\d+(\.\d+)?\u202fs\)/);
});

test('medians and quartiles are those of the runs that are done and up to date', async () => {
  const page = await open(data);
  await drawn(page, 'spread');
  const rows = await tableOf(page, 'spread');
  for (const [family, count, least, , median, , greatest] of rows) {
    const values = judged.filter((run) => run.family === family).map((run) => run.figures.fmax).sort((a, b) => a - b);
    const middle = (values[Math.floor((values.length - 1) / 2)] + values[Math.ceil((values.length - 1) / 2)]) / 2;
    assert.deepEqual([Number(count), Number(least), Number(greatest)], [values.length, values[0], values[values.length - 1]], family);
    assert.ok(Math.abs(Number(median) - middle) < 0.006, family);
  }
  assert.equal(rows.length, 4);
});

test('each verdict stands in words with its test named', async () => {
  const page = await open(data);
  await drawn(page, 'spread');
  const items = await page.locator('#spread .verdict').allTextContents();
  assert.equal(items.length, data.comparisons.length);
  for (const [i, { base, other, figures }] of data.comparisons.entries()) {
    assert.ok(items[i].startsWith(figures[0].verdict === 'no real difference' ? '=' : figures[0].verdict.startsWith('worse') ? '\u25bc' : '?'), items[i]);
    assert.ok(items[i].includes(`${other} against ${base}: ${figures[0].verdict}.`), items[i]);
    assert.ok(items[i].includes('signed-rank test (Wilcoxon) of 6 pairs of one seed, at the 5 % level'), items[i]);
  }
  await page.locator('#spread').getByLabel('Figure').selectOption('seconds');
  await page.getByText('No verdict on Time').waitFor();
});

test('a family that differs in more than its seed is said to', async () => {
  const odd = pageOf(24);
  odd.families[1].differing = ['place_design.placer', 'route_design.router'];
  const page = await open(odd);
  await page.getByText('The runs of TwoPassMap differ in more than their seed: place_design.placer and route_design.router.').waitFor();
});

test('a family has one colour and one shape in every chart', async () => {
  const page = await open(data);
  await drawn(page, 'tradeoff');
  const marks = (selector) => page.$$eval(selector, (nodes) => nodes.map((node) => { const path = node.querySelector('svg.swatch path'); return [node.textContent.trim(), path.getAttribute('fill'), path.getAttribute('d')]; }));
  const legend = new Map((await marks('#tradeoff .legend li')).map((entry) => [entry[0], entry.slice(1)]));
  assert.deepEqual([...legend.keys()], ['Default', 'TwoPassMap', 'DepthMap', 'Retime']);
  assert.equal(new Set([...legend.values()].map(String)).size, 4);
  for (const [name, ...look] of await marks('.tabulator-row .group-cell')) assert.deepEqual(look, legend.get(name), name);
  for (const [name, ...look] of (await marks('#options thead th:has(svg)'))) assert.deepEqual(look, legend.get(name), name);
});

test('a press in the legend leaves a family out of the charts, the next one brings it back', async () => {
  const page = await open(data);
  await drawn(page, 'tradeoff');
  const runsIn = async (id) => (await tableOf(page, id)).map((row) => row[0]);
  const before = await runsIn('tradeoff');
  const button = page.locator('#tradeoff .legend').getByRole('button', { name: 'Retime' });
  assert.equal(await button.getAttribute('aria-pressed'), 'true');
  await button.focus();
  await page.keyboard.press('Enter');
  assert.equal(await button.getAttribute('aria-pressed'), 'false');
  assert.ok(await button.evaluate((node) => node === document.activeElement), 'the keyboard stays on it');
  const rows = (id) => page.$$eval(`#${id} .data-table tbody tr`, (all) => all.map((row) => row.cells[0].textContent));
  const left = await rows('tradeoff');
  const retimed = new Set(data.families.find((family) => family.name === 'Retime').runs);
  assert.deepEqual(left, before.filter((name) => !retimed.has(name)));
  assert.ok(left.length < before.length);
  assert.match(await page.locator('#tradeoff [role=img]').getAttribute('aria-label'), /^Scatter chart\. On the frontier/);
  await drawn(page, 'spread');
  assert.deepEqual((await runsIn('spread')).includes('Retime'), false);
  assert.ok((await page.locator('#spread .hidden-groups').textContent()).startsWith('Left out: Retime.'));
  await drawn(page, 'timeline');
  assert.ok((await runsIn('timeline')).every((name) => !retimed.has(name)));
  await page.locator('#timeline').getByRole('button', { name: 'Show all' }).click();
  assert.deepEqual(await rows('tradeoff'), before);
  assert.equal(await button.getAttribute('aria-pressed'), 'true');
  assert.equal(await page.locator('.hidden-groups').count(), 0);
});

test('with all families left out the charts say so', async () => {
  const page = await open(data);
  await drawn(page, 'tradeoff');
  for (const button of await page.locator('#tradeoff .legend button').all()) await button.click();
  await page.getByText('All of these runs are left out; press a name to bring some back.').waitFor();
  await page.locator('#tradeoff').getByRole('button', { name: 'Show all' }).click();
  await page.locator('#tradeoff .lead', { hasText: 'On the frontier' }).waitFor();
});

test('the timeline has a row a run or a row a slot', async () => {
  const page = await open(data);
  await drawn(page, 'timeline');
  await page.locator('#timeline svg text', { hasText: 'retime_s3' }).waitFor();
  await page.locator('#timeline').getByLabel('Rows').selectOption('slots');
  await page.locator('#timeline svg text', { hasText: 'lark, slot 1' }).waitFor();
  assert.equal(await page.locator('#timeline svg text', { hasText: 'retime_s3' }).count(), 0);
  const rows = await tableOf(page, 'timeline');
  assert.equal(rows.length, data.runs.length);
  const row = rows.find((each) => each[0] === 'default_s2');
  const run = data.runs.find((each) => each.name === 'default_s2');
  assert.equal(row[3].replace('\u202f', ' '), `${(run.began - run.queued_at).toFixed(1)} s`);
});

test('a critical path is told in points and drawn where it lies', async () => {
  const page = await open(data);
  await drawn(page, 'paths');
  const { path } = best;
  const rows = page.locator('#paths .path-points tbody tr');
  assert.equal(await rows.count(), path.points.length);
  const cells = await rows.nth(1).locator('th, td').allTextContents();
  assert.deepEqual(cells, ['routing', path.points[1].ns.toFixed(2), (path.points[0].ns + path.points[1].ns).toFixed(2), `net ${path.points[1].net}`, 'rv32i_core.v:140', `${path.points[1].x}, ${path.points[1].y}`]);
  const device = page.locator('#paths svg.device');
  assert.match(await device.getAttribute('aria-label'), /of the 33 by 33/);
  const first = device.locator('.stop-start');
  const box = (await device.getAttribute('viewBox')).split(' ').map(Number);
  assert.equal(Number(await first.getAttribute('cx')), (path.points[0].x + 0.5) * 10);
  assert.equal(Number(await first.getAttribute('cy')), 330 - (path.points[0].y + 0.5) * 10);
  assert.ok(box[2] > 330);
  await rows.nth(0).hover();
  await page.waitForSelector('#paths .stop-start.is-pointed');
});

test('another run\u2019s path is chosen', async () => {
  const page = await open(data);
  await drawn(page, 'paths');
  await page.locator('#paths').getByLabel('Run', { exact: true }).selectOption('retime_s3');
  await page.locator('#paths .detail-head a', { hasText: 'retime_s3' }).waitFor();
  await page.getByRole('region', { name: 'Selected run' }).getByText('retime_s3').waitFor();
});

test('utilisation says what is nearly full', async () => {
  const page = await open(data);
  const rows = await page.$$eval('#use tbody tr', (all) => all.map((row) => [...row.cells].map((cell) => cell.textContent)));
  assert.deepEqual(rows[1], ['Block RAMs', '', '30', '32', '93.8\u202f%', 'nearly full']);
  assert.equal(rows[0][5], '');
});

test('equal options are hidden until they are asked for', async () => {
  const page = await open(data);
  const names = () => page.locator('#options tbody th').allTextContents();
  assert.deepEqual(await names(), ['place_design.opt_timing', 'synth_design.abc2', 'synth_design.abc9', 'synth_design.retime']);
  await page.getByLabel('Show equal ones too').check();
  await page.locator('#options tbody th', { hasText: 'place_design.seed' }).waitFor();
  assert.equal((await names()).length, 5);
  const seeds = await page.locator('#options tbody tr', { hasText: 'place_design.seed' }).locator('td').allTextContents();
  assert.equal(seeds[0], '1, 2, \u2026, 6');
});

test('nights tell where it got worse', async () => {
  const page = await open(data);
  await drawn(page, 'nights');
  const night = data.nights.find((each) => each.marks.length > 0);
  assert.equal(await page.locator('.night-marks li').textContent(), `${night.date}: ${night.marks.join('; ')}`);
  await page.locator('#nights').getByLabel('Figure').selectOption('logic_cells');
  await page.locator('#nights .lead', { hasText: 'Logic cells' }).waitFor();
});

test('the theme is switched, charts and all, and kept', async () => {
  const page = await open(data);
  await drawn(page, 'tradeoff');
  const fill = () => page.locator('#tradeoff svg text', { hasText: best.name }).evaluate((text) => text.getAttribute('fill'));
  const ground = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
  const before = [await fill(), await ground()];
  await page.getByLabel('Theme').selectOption('dark');
  await page.waitForFunction(() => document.documentElement.dataset.theme === 'dark');
  await page.waitForFunction((old) => [...document.querySelectorAll('#tradeoff svg text')].every((text) => text.getAttribute('fill') !== old), before[0]);
  assert.notEqual(await ground(), before[1]);
  // What a page stores is on its way for a moment, and a page may be loaded anew before it is there.
  const theme = () => page.evaluate(() => document.documentElement.dataset.theme);
  for (let tries = 0; tries === 0 || (tries < 50 && (await theme()) !== 'dark'); tries += 1) {
    await page.reload();
    await page.waitForSelector('html[data-ready=yes]');
  }
  assert.equal(await theme(), 'dark');
  assert.equal(await page.getByLabel('Theme').inputValue(), 'dark');
});

test('the system\u2019s theme is followed', async () => {
  const page = await open(data, { theme: 'dark' });
  assert.equal(await page.evaluate(() => document.documentElement.dataset.theme), 'dark');
  await page.emulateMedia({ colorScheme: 'light' });
  await page.waitForSelector('html[data-theme=light]');
});

test('on paper all runs are printed, in light', async () => {
  const page = await open(data, { theme: 'dark' });
  await page.emulateMedia({ media: 'print' });
  await page.waitForSelector('html[data-theme=light]');
  await page.waitForSelector('.paper-only table');
  assert.equal(await page.locator('.paper-only tbody tr').count(), data.runs.length);
  for (const id of CHARTS) await page.waitForSelector(`#${id} .chart[data-drawn]`, { state: 'attached' });
  await page.emulateMedia({ media: 'screen' });
  await page.waitForSelector('html[data-theme=dark]');
  await page.waitForFunction(() => !document.querySelector('.paper-only table'));
  assert.ok((await shownNames(page)).length > 5);
});
