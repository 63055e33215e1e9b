// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { drawn, open, row, shownNames, untilCount, useBrowser } from './browser.mjs';
import { page as pageOf } from './fixture.mjs';

useBrowser();

const data = pageOf(24);
const byFmax = data.runs.filter((run) => run.figures.fmax).sort((a, b) => b.figures.fmax - a.figures.fmax);
const best = data.best.runs[0];

test('the fastest run is first, and all are counted', async () => {
  const page = await open(data);
  await untilCount(page, '28 runs');
  assert.deepEqual((await shownNames(page)).slice(0, 5), byFmax.slice(0, 5).map((run) => run.name));
  assert.match(await row(page, best).textContent(), /best run/);
});

test('a press on a heading sorts, another turns it round', async () => {
  const page = await open(data);
  const heading = page.locator('.tabulator-col', { has: page.getByRole('button', { name: 'Logic cells', exact: true }) });
  await heading.getByRole('button').click();
  await page.waitForSelector('.tabulator-col[aria-sort="descending"]:has(button[title="Sort by Logic cells"])');
  const cells = (name) => data.runs.find((run) => run.name === name).figures.logic_cells;
  const most = Math.max(...byFmax.map((run) => run.figures.logic_cells));
  assert.equal(cells((await shownNames(page))[0]), most);
  await heading.getByRole('button').click();
  await page.waitForSelector('.tabulator-col[aria-sort="ascending"]:has(button[title="Sort by Logic cells"])');
  const least = Math.min(...byFmax.map((run) => run.figures.logic_cells));
  assert.equal(cells((await shownNames(page))[0]), least);
});

test('runs without a value are last in both directions', async () => {
  const page = await open(data);
  for (const direction of ['descending', 'ascending']) {
    if (direction === 'ascending') await page.getByRole('button', { name: 'Fmax, MHz' }).click();
    await page.waitForSelector(`.tabulator-col[aria-sort="${direction}"]:has(button[title="Sort by Fmax, MHz"])`);
    const [first] = await shownNames(page);
    assert.ok(data.runs.find((run) => run.name === first).figures.fmax > 0, direction);
  }
});

test('words are found in any text of a run', async () => {
  const page = await open(data);
  await page.getByLabel('Find').fill('retime s3');
  await untilCount(page, '1 of 28 runs');
  assert.deepEqual(await shownNames(page), ['retime_s3']);
  await page.getByLabel('Find').fill('no pin Z99');
  await page.waitForFunction(() => !document.querySelector('.runs-table .tabulator-table').textContent.includes('retime_s3'));
  await untilCount(page, '1 of 28 runs');
  assert.deepEqual(await shownNames(page), [data.runs.find((run) => run.status === 'failed').name]);
});

test('a column is filtered by a part of a text or by a limit', async () => {
  const page = await open(data);
  const fast = byFmax.filter((run) => run.figures.fmax > 66);
  await page.getByLabel('Filter Fmax, MHz').fill('> 66');
  await untilCount(page, `${fast.length} of 28 runs`);
  await page.getByLabel('Filter Family').fill('depth');
  const both = fast.filter((run) => run.family === 'DepthMap');
  await untilCount(page, `${both.length} of 28 runs`);
  await page.getByLabel('Filter Fmax, MHz').fill('66..68');
  const between = data.runs.filter((run) => run.family === 'DepthMap' && run.figures.fmax >= 66 && run.figures.fmax <= 68);
  await untilCount(page, `${between.length} of 28 runs`);
  await page.getByRole('button', { name: 'Clear filters' }).click();
  await untilCount(page, '28 runs');
  assert.equal(await page.getByLabel('Filter Fmax, MHz').inputValue(), '');
});

test('no match is said, not shown as an empty box', async () => {
  const page = await open(data);
  await page.getByLabel('Find').fill('nothing has this');
  await page.getByText('No run fits the filters.').waitFor();
  await untilCount(page, '0 of 28 runs');
});

test('a count in the head shows its runs alone', async () => {
  const page = await open(data);
  await page.getByRole('button', { name: '1 failed' }).click();
  await untilCount(page, '1 of 28 runs');
  assert.equal(await page.getByRole('combobox', { name: 'Status' }).inputValue(), 'failed');
  await page.getByRole('button', { name: '28 runs' }).click();
  await untilCount(page, '28 runs');
});

test('a status has a mark and a word', async () => {
  const page = await open(data);
  const stale = data.runs.find((run) => run.stale).name;
  const cell = row(page, stale).locator('.status');
  assert.equal((await cell.textContent()).trim(), 'done, stale');
  assert.equal(await cell.locator('svg.mark-stale').count(), 1);
});

test('columns are chosen', async () => {
  const page = await open(data);
  await page.locator('summary', { hasText: 'Columns' }).click();
  await page.getByRole('checkbox', { name: 'Synthesis' }).check();
  await page.locator('.tabulator-col[tabulator-field=synthesis]').waitFor({ state: 'visible' });
  await page.getByRole('checkbox', { name: 'Seed' }).uncheck();
  await page.locator('.tabulator-col[tabulator-field=seed]').waitFor({ state: 'hidden' });
});

test('runs stand by family, and a family closes', async () => {
  const page = await open(data);
  await page.getByLabel('Group by').selectOption('group');
  const head = page.locator('.runs-table').getByRole('button', { name: 'DepthMap', exact: true });
  await page.getByLabel('Filter Family').fill('DepthMap');
  await untilCount(page, '6 of 28 runs');
  await head.waitFor();
  assert.equal(await head.getAttribute('aria-expanded'), 'true');
  assert.match(await page.locator('.group-head').first().textContent(), /6 runs, median Fmax/);
  assert.equal((await shownNames(page)).length, 6);
  await head.click();
  await page.waitForFunction(() => document.querySelectorAll('.tabulator-row .run-link').length === 0);
  assert.equal(await head.getAttribute('aria-expanded'), 'false');
});

async function exported(page, which) {
  await page.locator('summary', { hasText: 'Export' }).click();
  const waiting = page.waitForEvent('download');
  await page.getByRole('button', { name: which }).click();
  const download = await waiting;
  return { name: download.suggestedFilename(), text: readFileSync(await download.path(), 'utf8') };
}

test('what is shown is exported as CSV, in its order', async () => {
  const page = await open(data);
  await page.getByLabel('Filter Family').fill('Default');
  await untilCount(page, '6 of 28 runs');
  const { name, text } = await exported(page, /CSV/);
  assert.equal(name, 'fir_demo-runs.csv');
  const lines = text.trimEnd().split('\r\n');
  assert.equal(lines[0], 'Run,Status,Family,Seed,"Fmax, MHz","Worst slack, ns",Logic cells,Elapsed,Warnings,Where,Next to do');
  const wanted = byFmax.filter((run) => run.family === 'Default');
  assert.deepEqual(lines.slice(1).map((line) => line.split(',')[0]), wanted.map((run) => run.name));
  assert.equal(Number(lines[1].split(',')[4]), wanted[0].figures.fmax);
});

test('what a spreadsheet would run is exported as text', async () => {
  const odd = pageOf(4);
  odd.runs[5].name = '=HYPERLINK("x","y")';
  const page = await open(odd);
  const { text } = await exported(page, /CSV/);
  assert.match(text, /^"'=HYPERLINK\(""x"",""y""\)",/m);
});

test('all of the runs shown is exported as JSON', async () => {
  const page = await open(data);
  await page.getByLabel('Find').fill('retime_s3');
  await untilCount(page, '1 of 28 runs');
  const { name, text } = await exported(page, /JSON/);
  assert.equal(name, 'fir_demo-runs.json');
  const [run, ...more] = JSON.parse(text);
  const wanted = data.runs.find((each) => each.name === 'retime_s3');
  assert.equal(more.length, 0);
  assert.equal(run.name, 'retime_s3');
  assert.deepEqual(run.figures, wanted.figures);
  assert.deepEqual(run.options, wanted.options);
});

test('a press on a row selects the run everywhere, another lets it go', async () => {
  const page = await open(data);
  const [, second] = await shownNames(page);
  await row(page, second).locator('.tabulator-cell').nth(4).click();
  const bar = page.getByRole('region', { name: 'Selected run' });
  await bar.waitFor();
  assert.match(await bar.textContent(), new RegExp(`^${second}`));
  assert.equal(await row(page, second).getAttribute('aria-selected'), 'true');
  await drawn(page, 'paths');
  assert.equal(await page.locator('#paths .detail-head a').textContent(), second);
  await page.locator('#runs').scrollIntoViewIfNeeded();
  await row(page, second).locator('.tabulator-cell').nth(4).click();
  await bar.waitFor({ state: 'hidden' });
  assert.equal(await row(page, second).getAttribute('aria-selected'), 'false');
});
