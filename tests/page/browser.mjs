// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Pages in Debian's Chromium. Whatever a page asks the network for, and whatever it complains
// about, fails the test that opened it.
import assert from 'node:assert/strict';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, afterEach, before } from 'node:test';
import { fileURLToPath, pathToFileURL } from 'node:url';
import { inPage } from './fixture.mjs';

const here = dirname(fileURLToPath(import.meta.url));

/** Finds packages where NODE_PATH says. */
export const require = createRequire(import.meta.url);

/** The template under test. */
export const TEMPLATE = process.env.XPERIMENT_PAGE ?? join(here, '../../data/html/page.html');

const ARGUMENTS = [
  '--no-sandbox',
  '--disable-gpu',
  '--disable-quic',
  '--no-first-run',
  '--disable-background-networking',
  '--disable-component-update',
  '--disable-sync',
];

/** A folder of the test file's own. */
export let folder = '';
let browser = null;
let opened = [];

/** To be called once in a test file. */
export function useBrowser() {
  before(async () => {
    folder = mkdtempSync(join(tmpdir(), 'xp-page-'));
    const { chromium } = require('playwright-core');
    browser = await chromium.launch({ executablePath: process.env.XPERIMENT_CHROMIUM ?? '/usr/bin/chromium', args: ARGUMENTS });
  });
  afterEach(async () => {
    const done = opened;
    opened = [];
    for (const { context, problems } of done) {
      await context.close();
      assert.deepEqual(problems, []);
    }
  });
  after(async () => {
    await browser?.close();
    rmSync(folder, { recursive: true, force: true });
  });
}

/**
 * A page at `address`; of those that it asks, all but the ones that `isWanted` are a problem.
 * `isCalm` says whether a complaint may be passed over.
 */
export async function visit(address, { theme = 'light', width = 1400, height = 900, isWanted = () => false, isCalm = () => false } = {}) {
  const context = await browser.newContext({ viewport: { width, height }, colorScheme: theme, timezoneId: 'UTC', acceptDownloads: true, reducedMotion: 'reduce' });
  const problems = [];
  opened.push({ context, problems });
  const page = await context.newPage();
  page.setDefaultTimeout(60000);
  page.on('pageerror', (error) => problems.push(`error: ${error.stack ?? error}`));
  page.on('console', (message) => {
    if (['error', 'warning'].includes(message.type()) && !isCalm(message.text())) problems.push(`${message.type()}: ${message.text()}`);
  });
  page.on('request', (request) => {
    const url = request.url();
    if (url !== address.split('#')[0] && !url.startsWith('data:') && !url.startsWith('blob:') && !isWanted(url)) problems.push(`request: ${url}`);
  });
  await page.goto(address);
  await page.waitForSelector('html[data-ready=yes]');
  return page;
}

let count = 0;

/** The page of `data`, from a file. */
export async function open(data, { hash = '', ...options } = {}) {
  count += 1;
  const file = join(folder, `page-${count}.html`);
  writeFileSync(file, inPage(TEMPLATE, data));
  const page = await visit(pathToFileURL(file).href + hash, options);
  if (data.runs?.length > 0 && !hash.startsWith('#run=')) await page.waitForSelector('.tabulator-row .run-link');
  return page;
}

/** The names of the runs in the table's part that is drawn, from above. */
export function shownNames(page) {
  return page.$$eval('.runs-table .tabulator-row .run-link', (links) =>
    links.map((link) => [link.getBoundingClientRect().top, link.textContent]).sort((a, b) => a[0] - b[0]).map(([, name]) => name),
  );
}

/** Waits until the table says that it shows `text`: "28 runs", "3 of 28 runs". */
export async function untilCount(page, text) {
  await page.waitForFunction((wanted) => document.querySelector('.count')?.textContent === wanted, text);
}

export function row(page, name) {
  return page.locator('.runs-table .tabulator-row').filter({ has: page.getByRole('link', { name, exact: true }) });
}

/** Waits until the chart of the panel `id` is drawn. */
export async function drawn(page, id) {
  await page.locator(`#${id}`).scrollIntoViewIfNeeded();
  await page.waitForSelector(`#${id} .chart[data-drawn] svg`);
}

/**
 * Presses until a run is selected. A page that still draws what has come into sight may move a
 * place between the look at it and the press; so that is looked at anew, and nothing is timed.
 */
export async function pressUntilSelected(page, press) {
  const bar = page.getByRole('region', { name: 'Selected run' });
  for (let tries = 0; tries < 50 && !(await bar.isVisible()); tries += 1) {
    await press();
    await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
  }
  assert.ok(await bar.isVisible(), 'no press selects a run');
  return bar;
}
