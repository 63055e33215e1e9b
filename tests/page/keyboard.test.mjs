// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The page without a mouse, and through the eyes of axe.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { drawn, open, pressUntilSelected, require, shownNames, useBrowser } from './browser.mjs';
import { emptyPage, page as pageOf } from './fixture.mjs';

useBrowser();

const data = pageOf(24);
const focused = (page) => page.evaluate(() => document.activeElement?.textContent?.trim());

async function tabTo(page, selector) {
  for (let i = 0; i < 120; i += 1) {
    await page.keyboard.press('Tab');
    if (await page.evaluate((wanted) => document.activeElement?.matches(wanted), selector)) return;
  }
  assert.fail(`no Tab leads to ${selector}`);
}

test('the first Tab offers to skip to the content', async () => {
  const page = await open(data);
  await page.keyboard.press('Tab');
  assert.equal(await focused(page), 'Skip to content');
  await page.keyboard.press('Enter');
  assert.equal(await page.evaluate(() => document.activeElement?.id), 'main');
});

test('a run is found, selected, opened and left by keys alone', async () => {
  const page = await open(data);
  const names = await shownNames(page);
  await tabTo(page, '.run-link');
  assert.equal(await focused(page), names[0]);
  await page.keyboard.press('ArrowDown');
  await page.waitForFunction((name) => document.activeElement?.textContent === name, names[1]);
  await page.keyboard.press(' ');
  await page.getByRole('region', { name: 'Selected run' }).getByText(names[1]).waitFor();
  assert.equal(await focused(page), names[1]);
  await page.keyboard.press('Enter');
  await page.waitForSelector('.run-title h2');
  assert.equal(await focused(page), names[1]);
  await page.goBack();
  await page.waitForSelector('.overview:not([hidden])');
  assert.equal(await focused(page), names[1]);
});

test('End leads to the last row, Home to the first', async () => {
  const page = await open(data);
  const [first] = await shownNames(page);
  await tabTo(page, '.run-link');
  await page.keyboard.press('End');
  await page.waitForFunction((name) => document.activeElement?.matches('.run-link') && document.activeElement.textContent !== name, first);
  const last = await page.$$eval('.tabulator-row .run-link', (links) => links.map((link) => [link.getBoundingClientRect().top, link.textContent]).sort((a, b) => b[0] - a[0])[0][1]);
  assert.equal(await focused(page), last);
  await page.keyboard.press('Home');
  await page.waitForFunction((name) => document.activeElement?.textContent === name, first);
});

test('a heading sorts by Enter', async () => {
  const page = await open(data);
  await page.getByRole('button', { name: 'Seed', exact: true }).focus();
  await page.keyboard.press('Enter');
  await page.waitForSelector('.tabulator-col[aria-sort="descending"]:has(button[title="Sort by Seed"])');
});

test('Escape closes a menu and goes back to its button', async () => {
  const page = await open(data);
  await tabTo(page, '.columns-menu > summary');
  await page.keyboard.press('Enter');
  await page.keyboard.press('Tab');
  assert.equal(await page.evaluate(() => document.activeElement?.getAttribute('type')), 'checkbox');
  await page.keyboard.press('Escape');
  assert.equal(await page.evaluate(() => document.activeElement?.parentElement?.hasAttribute('open')), false);
  assert.equal(await page.evaluate(() => document.activeElement?.matches('.columns-menu > summary')), true);
});

test('each stop of Tab is visible and shows the focus; the table is one stop', async () => {
  const page = await open(data);
  for (const id of ['tradeoff', 'spread', 'timeline', 'paths', 'nights']) await drawn(page, id);
  await page.evaluate(() => window.scrollTo(0, 0));
  await page.locator('h1').click();
  const stops = [];
  for (let i = 0; i < 150; i += 1) {
    await page.keyboard.press('Tab');
    const stop = await page.evaluate(() => {
      const element = document.activeElement;
      if (!element || element === document.body) return null;
      const style = getComputedStyle(element);
      const box = element.getBoundingClientRect();
      return { what: element.outerHTML.slice(0, 90), isRun: element.matches('.run-link'), isSeen: box.width > 0 && box.height > 0, isMarked: style.outlineStyle !== 'none' && parseFloat(style.outlineWidth) >= 1 };
    });
    if (stop === null) break;
    stops.push(stop);
  }
  assert.ok(stops.length > 30 && stops.length < 150, `${stops.length} stops`);
  assert.deepEqual(stops.filter((stop) => !stop.isSeen || !stop.isMarked), []);
  assert.equal(stops.filter((stop) => stop.isRun).length, 1);
});

test('landmarks and headings tell the page\u2019s order', async () => {
  const page = await open(data);
  assert.deepEqual(await page.$$eval('header, nav, main, footer', (all) => all.map((each) => each.tagName)), ['HEADER', 'NAV', 'MAIN', 'FOOTER']);
  assert.equal(await page.locator('h1').count(), 1);
  const levels = await page.$$eval('h1, h2, h3, h4', (all) => all.filter((each) => each.checkVisibility()).map((each) => Number(each.tagName[1])));
  levels.slice(1).forEach((level, i) => assert.ok(level <= levels[i] + 1, levels.join(' ')));
  for (const [name, count] of [['grid', 1], ['columnheader', 8]]) assert.ok((await page.getByRole(name).count()) >= count, name);
});

const views = [
  ['overview', data, ''],
  ['run that failed', data, `#run=${data.runs.find((run) => run.status === 'failed').name}`],
  ['run that is done', data, '#run=depthmap_s1'],
  ['no runs', emptyPage(), ''],
];
for (const theme of ['light', 'dark'])
  for (const [name, what, hash] of views)
    test(`axe finds nothing serious: ${name}, ${theme}`, async () => {
      const page = await open(what, { theme, hash });
      if (what.runs.length > 0 && hash === '') {
        for (const id of ['tradeoff', 'spread', 'timeline', 'paths', 'nights']) {
          await drawn(page, id);
          await page.locator(`#${id} .data-table > summary`).click();
          await page.waitForSelector(`#${id} .data-table table`);
        }
        await page.getByLabel('Group by').selectOption('group');
        await page.waitForSelector('.group-toggle');
        await pressUntilSelected(page, () => page.locator('#runs .tabulator-row .tabulator-cell[tabulator-field=seed]').first().click());
      }
      await page.evaluate(require('axe-core').source);
      const { violations, passes } = await page.evaluate(() => window.axe.run(document, { resultTypes: ['violations'] }));
      assert.ok(passes.length > 10);
      const grave = violations.filter(({ impact }) => ['serious', 'critical'].includes(impact));
      assert.deepEqual(grave.map(({ id, help, nodes }) => [id, help, nodes.slice(0, 3).map((node) => [node.html.slice(0, 160), node.failureSummary])]), []);
    });
