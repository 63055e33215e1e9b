// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The page of one run.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { open, row, shownNames, useBrowser } from './browser.mjs';
import { page as pageOf } from './fixture.mjs';

useBrowser();

const data = pageOf(24);
const failed = data.runs.find((run) => run.status === 'failed');
const heading = (page) => page.locator('.run-title h2');

test('an address leads to a run', async () => {
  const page = await open(data, { hash: '#run=retime_s3' });
  assert.equal(await heading(page).textContent(), 'retime_s3');
  assert.equal(await page.locator('.overview').isVisible(), false);
  assert.match(await page.title(), /^retime_s3/);
});

test('a name with signs of addresses has an address too', async () => {
  const odd = pageOf(4);
  odd.runs[5].name = 'a/b #1 100%&c=d';
  const page = await open(odd);
  await row(page, odd.runs[5].name).getByRole('link').click();
  await heading(page).waitFor();
  assert.equal(await heading(page).textContent(), 'a/b #1 100%&c=d');
  await page.reload();
  await heading(page).waitFor();
  assert.equal(await heading(page).textContent(), 'a/b #1 100%&c=d');
});

test('a run that isn\u2019t there is said so', async () => {
  const page = await open(data, { hash: '#run=gone' });
  await page.getByRole('heading', { name: 'There is no run gone' }).waitFor();
  await page.getByRole('link', { name: 'All runs' }).click();
  await page.locator('.overview').waitFor();
});

test('the way back leads to where the list was', async () => {
  const page = await open(data, { height: 500 });
  await page.getByLabel('Find').fill('depthmap');
  await page.waitForFunction(() => document.querySelector('.count')?.textContent === '7 of 28 runs');
  await page.evaluate(() => window.scrollTo(0, 160));
  await page.waitForFunction(() => window.scrollY === 160);
  const names = await shownNames(page);
  await row(page, names[2]).getByRole('link').click();
  await heading(page).waitFor();
  assert.equal(await page.evaluate(() => document.activeElement?.textContent), names[2]);
  await page.goBack();
  await page.locator('.overview').waitFor();
  await page.waitForFunction(() => window.scrollY === 160);
  assert.deepEqual(await shownNames(page), names);
  assert.equal(await page.evaluate(() => document.activeElement?.textContent), names[2]);
  await page.goForward();
  await heading(page).waitFor();
  assert.equal(await heading(page).textContent(), names[2]);
});

test('a failure is told in its four parts, and the log\u2019s first error stands out', async () => {
  const page = await open(data, { hash: `#run=${failed.name}` });
  const parts = await page.$$eval('.failure > div', (all) => all.map((part) => [part.querySelector('dt').textContent, part.querySelector('dd').textContent]));
  assert.deepEqual(parts, [
    ['What', failed.failure.what],
    ['Where', `${failed.failure.file}:${failed.failure.line}`],
    ['What to try', failed.failure.advice],
    ['The tool\u2019s own words', failed.failure.tool],
  ]);
  assert.equal(await page.locator('.log-first').count(), 1);
  assert.equal((await page.locator('.log-first').textContent()).trim(), `First error: ${failed.log[3]}`);
  await page.getByRole('button', { name: 'Go to the first error, line 4' }).click();
  assert.equal(await page.evaluate(() => document.activeElement?.className), 'log');
  await page.getByText(failed.next, { exact: true }).waitFor();
});

test('"0 errors" is no error', async () => {
  const calm = pageOf(24);
  const run = calm.runs.find((each) => each.status === 'failed');
  run.failure.tool = '';
  const page = await open(calm, { hash: `#run=${run.name}` });
  assert.match(await page.locator('.log-first').textContent(), /Z99/);
  assert.equal(await page.locator('.log-error').count(), 1);
});

test('steps, options, results and reports of a run', async () => {
  const run = data.runs.find((each) => each.name === 'retime_s1');
  const page = await open(data, { hash: '#run=retime_s1' });
  const rows = (title) => page.locator('section', { has: page.getByRole('heading', { name: title, exact: true }) }).locator('tbody tr');
  assert.equal(await rows('Steps').count(), 4);
  assert.match(await rows('Steps').nth(1).textContent(), new RegExp(`place_design.*done.*2026-11-20 22:.*${run.steps[1].seconds.toFixed(1)}\u202fs`));
  assert.deepEqual(await rows('Options not at their defaults').allTextContents(), Object.entries(run.options).map(([name, value]) => name + value));
  assert.match(await rows('Results').first().textContent(), new RegExp(`^Fmax${run.figures.fmax}\u202fMHz`));
  await page.locator('.reports summary').click();
  assert.equal(await page.locator('.report').textContent(), run.reports[0].text);
  await page.getByText('failed, the netlist changed since').waitFor();
});

test('how to repeat is copied', async () => {
  const page = await open(data, { hash: '#run=retime_s1' });
  await page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
  await page.getByRole('button', { name: 'Copy' }).click();
  await page.getByRole('button', { name: 'Copied' }).waitFor();
  const run = data.runs.find((each) => each.name === 'retime_s1');
  assert.equal(await page.evaluate(() => navigator.clipboard.readText()), run.repeat.join('\n'));
});

test('why a run is stale or was abandoned stands at its head', async () => {
  const stale = data.runs.find((run) => run.stale);
  const page = await open(data, { hash: `#run=${stale.name}` });
  assert.deepEqual(await page.locator('.stale-why li').allTextContents(), stale.reasons);
  const abandoned = data.runs.find((run) => run.abandoned);
  await page.evaluate((name) => (window.location.hash = `#run=${name}`), abandoned.name);
  await page.getByText(`Stopped early: ${abandoned.abandoned}`).waitFor();
  assert.equal((await page.locator('.run-title .status').textContent()).trim(), 'abandoned');
});

test('the next and the previous run are a press away', async () => {
  const page = await open(data, { hash: '#run=default_s1' });
  await page.getByRole('link', { name: 'Next run' }).click();
  await page.locator('.run-title h2', { hasText: 'default_s2' }).waitFor();
  await page.getByRole('link', { name: 'Previous run' }).click();
  await page.locator('.run-title h2', { hasText: 'default_s1' }).waitFor();
});
