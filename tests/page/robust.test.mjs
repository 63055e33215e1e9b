// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Data as it should not be, data as it is at first, and a lot of it.
import assert from 'node:assert/strict';
import { mkdirSync, readFileSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { drawn, folder, open, shownNames, TEMPLATE, untilCount, useBrowser, visit } from './browser.mjs';
import { emptyPage, HOSTILE, hostilePage, inPage, page as pageOf } from './fixture.mjs';

useBrowser();

const PANELS = ['runs', 'tradeoff', 'spread', 'timeline', 'paths', 'use', 'options', 'nights'];

test('no text is ever read as markup', async () => {
  const data = hostilePage();
  const page = await open(data);
  for (const id of ['tradeoff', 'spread', 'timeline', 'paths', 'nights']) {
    await drawn(page, id);
    await page.locator(`#${id} .data-table > summary`).click();
    const box = await page.locator(`#${id} .chart`).boundingBox();
    for (let x = 0.1; x < 1; x += 0.08) await page.mouse.move(box.x + box.width * x, box.y + Math.min(box.height * 0.5, 200));
  }
  await page.getByLabel('Group by').selectOption('group');
  for (const run of data.runs.slice(0, 12)) {
    await page.evaluate((name) => (window.location.hash = `#run=${encodeURIComponent(name)}`), run.name);
    await page.waitForFunction((name) => document.querySelector('.run-title h2')?.textContent === name, run.name);
  }
  assert.equal(await page.evaluate(() => window.hacked), undefined);
  assert.equal(await page.locator('img').count(), 0);
  assert.deepEqual(await page.evaluate(() => { const own = []; for (const key in {}) own.push(key); return own; }), []);
  assert.ok((await page.locator('h1').textContent()).includes(HOSTILE));
});

test('a name that every object has is a name like another', async () => {
  const page = await open(hostilePage());
  await page.getByLabel('Filter Run').fill('__proto__');
  await untilCount(page, '1 of 28 runs');
  await page.getByRole('link', { name: '__proto__' }).click();
  await page.waitForFunction(() => document.querySelector('.run-title h2')?.textContent === '__proto__');
});

for (const [name, data, wanted] of [
  ['no runs', emptyPage(), 8],
  ['nothing at all', {}, 8],
  ['no done run', pageOf(0, { runs: pageOf(24).runs.filter((run) => run.status === 'queued') }), 4],
  ['one run', pageOf(1, { comparisons: [], nights: [] }), 1],
  ['no history', pageOf(24, { nights: [] }), 1],
])
  test(`what to type next is said: ${name}`, async () => {
    const page = await open(data);
    const empty = page.locator('.overview .empty');
    assert.ok((await empty.count()) >= wanted, `${await empty.count()}`);
    for (const text of await empty.allTextContents()) assert.match(text, /Type xp \w+/);
    for (const id of PANELS) assert.ok((await page.locator(`#${id} .panel-body`).textContent()).length > 0, id);
  });

test('without families the strategies stand in for them', async () => {
  const data = pageOf(24, { families: [], comparisons: [] });
  data.runs.forEach((run) => (run.family = ''));
  const page = await open(data);
  await page.getByRole('heading', { name: 'Spread over seeds, by strategy' }).waitFor();
  await page.getByText('No verdict on Fmax').waitFor();
  assert.equal(await page.locator('#tradeoff .legend li').count(), 4);
});

test('data that can\u2019t be read is said so', async () => {
  const file = join(folder, 'broken.html');
  writeFileSync(file, inPage(TEMPLATE, {}).replace('id="xp-data">{}', 'id="xp-data">{"runs":['));
  const page = await visit(pathToFileURL(file).href);
  await page.getByRole('alert').getByText('The data in this page can\u2019t be read').waitFor();
});

test('data of another shape is passed over', async () => {
  const good = pageOf(4);
  for (const junk of [null, 7, 'text', [], [null, 3, 'x', [[]]], { a: null }]) {
    const runs = good.runs.map((run, i) => ({ ...run, ...Object.fromEntries(Object.keys(run).filter((key, k) => key !== 'name' && (k + i) % 2 === 0).map((key) => [key, junk])) }));
    const page = await open({ ...good, runs });
    assert.ok((await shownNames(page)).length > 0);
    const top = Object.fromEntries(Object.keys(good).map((key) => [key, junk]));
    await open({ ...top, runs: undefined });
    await open({ ...good, project: junk, best: junk, families: junk, comparisons: junk, nights: junk, device: junk, figures: junk });
  }
});

test('1,000 runs are at hand at once, and the page is small', async () => {
  const data = pageOf(996);
  const page = await open(data, { theme: 'dark' });
  const file = new URL(page.url());
  const size = statSync(file).size;
  assert.ok(size <= 1.2e6 + 4000 * 1000, `${size} bytes`);
  await untilCount(page, '1000 runs');
  const rows = await page.locator('.tabulator-row').count();
  assert.ok(rows > 5 && rows < 120, `${rows} rows are drawn`);
  await page.locator('.run-link[tabindex="0"]').focus();
  await page.keyboard.press('End');
  await page.waitForFunction(() => document.querySelector('.tabulator-tableholder').scrollTop > 20000 && document.activeElement.matches('.run-link'));
  await page.getByLabel('Find').fill('retime_s117');
  await untilCount(page, '1 of 1000 runs');
  await page.getByLabel('Find').fill('');
  await untilCount(page, '1000 runs');
  for (const id of ['tradeoff', 'spread', 'timeline', 'paths', 'nights']) await drawn(page, id);
  assert.match(await page.locator('#timeline .chart svg').textContent(), /slot 1/);
});

test('the template is one file with one place for data, and asks nobody', () => {
  const text = readFileSync(TEMPLATE, 'utf8');
  assert.ok(Buffer.byteLength(text) <= 1.2e6);
  assert.equal(text.split('<script type="application/json" id="xp-data">{}</script>').length, 2);
  assert.match(text, /default-src 'none'; script-src 'sha256-/);
  for (const licence of ['Apache ECharts', 'Tabulator', 'ZRender', 'd3.js', 'tslib', 'MIT License', 'BSD 3-Clause']) assert.ok(text.includes(licence), licence);
  assert.doesNotMatch(text, /<(?:script|link|img)[^>]+(?:src|href)="?https?:/i);
  assert.ok(text.indexOf('<meta charset="utf-8">') < 200);
});

/** For people to look at: where the build asks for pictures. */
async function shoot(page, name) {
  const shots = process.env.XPERIMENT_PAGE_SHOTS;
  if (!shots) return;
  mkdirSync(shots, { recursive: true });
  await page.screenshot({ path: join(shots, `${name}.png`), fullPage: true });
}

for (const theme of ['light', 'dark'])
  for (const width of [390, 1400])
    test(`the page fits ${width} pixels, ${theme}`, async () => {
      const page = await open(pageOf(24), { theme, width });
      for (const id of ['tradeoff', 'spread', 'timeline', 'paths', 'nights']) await drawn(page, id);
      assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width);
      const wide = await page.$$eval('.panel, .page-head, .sections, .chart', (all, limit) => all.filter((each) => each.getBoundingClientRect().right > limit + 0.5).map((each) => each.id || each.className), width);
      assert.deepEqual(wide, []);
      await page.evaluate(() => window.scrollTo(0, 0));
      await shoot(page, `overview-${width}-${theme}`);
      await page.evaluate((name) => (window.location.hash = `#run=${name}`), 'depthmap_s1');
      await page.waitForSelector('.run-title h2');
      assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width);
      assert.ok((await page.locator('.run-page .path-points .net').first().boundingBox()).width > 100);
      await shoot(page, `run-${width}-${theme}`);
    });

test('nothing is cut off from 360 to 2560 pixels', async () => {
  const page = await open(pageOf(24));
  for (const width of [360, 600, 768, 1000, 1280, 1920, 2560]) {
    await page.setViewportSize({ width, height: 900 });
    await page.waitForFunction((wanted) => document.documentElement.clientWidth === wanted, width);
    assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), width);
  }
});
