// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Live mode, against a server of this test's own.
import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { createServer } from 'node:http';
import { test } from 'node:test';
import { row, shownNames, TEMPLATE, untilCount, useBrowser, visit } from './browser.mjs';
import { inPage, page as pageOf } from './fixture.mjs';

useBrowser();

const TOKEN = 'a+b/c=1';

/** A server of one project; `asked` has the answers that it gave to questions for data. */
async function serve(t, data) {
  const state = { data, token: TOKEN, asked: [], port: 0 };
  const answer = (request, response) => {
    const url = new URL(request.url, 'http://x');
    if (url.searchParams.get('token') !== state.token) {
      response.writeHead(403).end();
    } else if (state.trouble) {
      response.writeHead(503).end(state.trouble);
    } else if (url.pathname === '/') {
      response.writeHead(200, { 'Content-Type': 'text/html; charset=utf-8' }).end(inPage(TEMPLATE, state.data));
    } else {
      const text = JSON.stringify(state.data);
      const etag = `"${createHash('sha1').update(text).digest('hex')}"`;
      const isKnown = request.headers['if-none-match'] === etag;
      state.asked.push(isKnown ? 304 : 200);
      response.writeHead(isKnown ? 304 : 200, { ETag: etag, 'Content-Type': 'application/json' }).end(isKnown ? undefined : text);
    }
  };
  const start = (port) =>
    new Promise((resolve) => {
      state.server = createServer(answer).listen(port, '127.0.0.1', () => {
        state.port = state.server.address().port;
        resolve();
      });
    });
  state.stop = () =>
    new Promise((resolve) => {
      state.server.closeAllConnections();
      state.server.close(resolve);
    });
  state.again = () => start(state.port);
  await start(0);
  t.after(() => state.stop());
  state.open = (options = {}) =>
    visit(`http://127.0.0.1:${state.port}/?token=${encodeURIComponent(TOKEN)}`, {
      isWanted: (url) => url.startsWith(`http://127.0.0.1:${state.port}/data.json?`),
      // A browser tells of each question that nobody answers.
      isCalm: (text) => /Failed to load resource/.test(text),
      ...options,
    });
  return state;
}

function live(change = () => {}) {
  const data = pageOf(60, { live: true });
  change(data);
  return data;
}

test('what has changed is shown; what has not isn\u2019t sent again', async (t) => {
  const server = await serve(t, live());
  const page = await server.open();
  await page.getByText('live', { exact: true }).waitFor();
  const queued = server.data.runs.find((run) => run.status === 'queued').name;
  assert.match(await page.locator('.tiles').textContent(), /1 queued/);
  while (!server.asked.includes(304)) await page.waitForResponse(/data\.json/);
  server.data = live((data) => {
    const run = data.runs.find((each) => each.name === queued);
    run.status = 'running';
    run.step = 'init_design';
    data.runs.push({ ...data.runs[8], name: 'late_s1' });
  });
  await untilCount(page, '65 runs');
  assert.match(await page.locator('.tiles').textContent(), /2 running/);
  await page.getByLabel('Filter Run').fill(queued);
  await untilCount(page, '1 of 65 runs');
  assert.equal((await row(page, queued).locator('.status').textContent()).trim(), 'running init_design');
  server.data = live((data) => data.runs.splice(data.runs.findIndex((each) => each.name === queued), 1));
  await untilCount(page, '0 of 63 runs');
});

test('an update leaves focus, scroll, sort, filter and selection as they are', async (t) => {
  const server = await serve(t, live());
  const page = await server.open({ height: 600 });
  await page.waitForSelector('.run-link');
  await page.getByRole('button', { name: 'Seed', exact: true }).click();
  await page.waitForSelector('.tabulator-col[aria-sort="descending"]:has(button[title="Sort by Seed"])');
  await page.getByLabel('Find').fill('map');
  await page.waitForFunction(() => /^\d+ of 64/.test(document.querySelector('.count').textContent));
  await page.locator('.run-link[tabindex="0"]').focus();
  for (let i = 0; i < 14; i += 1) {
    const before = await page.evaluate(() => document.activeElement.textContent);
    await page.keyboard.press('ArrowDown');
    await page.waitForFunction((name) => document.activeElement.matches('.run-link') && document.activeElement.textContent !== name, before);
  }
  await page.keyboard.press(' ');
  await page.waitForSelector('.selection:not([hidden])');
  const state = () =>
    page.evaluate(() => ({
      focus: document.activeElement.textContent,
      inTable: document.querySelector('.tabulator-tableholder').scrollTop,
      inPage: window.scrollY,
      sort: document.querySelector('.tabulator-col[aria-sort="descending"] button').textContent,
      find: document.querySelector('input[type=search]').value,
      selected: document.querySelector('.selection b').textContent,
    }));
  const before = await state();
  assert.ok(before.inTable > 0);
  const names = await shownNames(page);
  server.data = live((data) => {
    data.runs.forEach((run) => (run.warnings = 77));
    data.project.goal_mhz = 71;
  });
  await page.waitForFunction(() => document.querySelector('.about').textContent.includes('71'));
  await page.waitForFunction(() => [...document.querySelectorAll('.tabulator-cell[tabulator-field=warnings]')].every((cell) => cell.textContent === '77'));
  assert.deepEqual(await state(), before);
  assert.deepEqual(await shownNames(page), names);
});

test('an update leaves the panels\u2019 choices, tables and focus as they are', async (t) => {
  const server = await serve(t, live());
  const page = await server.open();
  await page.locator('#tradeoff').getByLabel('Across').selectOption('seconds');
  await page.locator('#timeline .data-table > summary').click();
  const table = page.locator('#timeline .table-scroll');
  await page.waitForSelector('#timeline .data-table table');
  await table.evaluate((each) => (each.scrollTop = 300));
  const across = page.locator('#tradeoff').getByLabel('Across');
  await across.focus();
  for (const warnings of [5, 6]) {
    server.data = live((data) => {
      data.runs.forEach((run) => (run.warnings = warnings));
      data.runs[9].ended += warnings;
      data.runs[9].figures.fmax += warnings;
      data.generated = `2026-11-20T23:00:0${warnings}Z`;
    });
    await page.waitForFunction((second) => document.querySelector('.about').textContent.includes(`23:00:0${second}`), warnings);
    assert.equal(await page.evaluate(() => document.activeElement.closest('.choice')?.querySelector('label').textContent), 'Across');
    assert.equal(await across.inputValue(), 'seconds');
    assert.equal(await table.evaluate((each) => each.scrollTop), 300);
  }
});

test('a run\u2019s page is kept up to date, and what is open in it stays open', async (t) => {
  const server = await serve(t, live());
  const page = await server.open();
  await page.evaluate(() => (window.location.hash = '#run=default_s1'));
  await page.locator('.reports summary').click();
  server.data = live((data) => {
    data.runs.find((run) => run.name === 'default_s1').next = 'something to do';
  });
  await page.getByText('something to do').waitFor();
  assert.equal(await page.locator('.reports details').evaluate((details) => details.open), true);
});

test('it is told when the server is gone, and when it is back', async (t) => {
  const server = await serve(t, live());
  const page = await server.open();
  await page.waitForResponse(/data\.json/);
  await server.stop();
  const banner = page.getByRole('alert');
  await banner.getByText('The server is gone.').waitFor();
  assert.match(await banner.textContent(), /xp serve/);
  assert.ok((await shownNames(page)).length > 0);
  await server.again();
  await banner.waitFor({ state: 'hidden' });
});

test('it is told when the token is no longer good', async (t) => {
  const server = await serve(t, live());
  const page = await server.open();
  server.token = 'another';
  await page.getByRole('alert').getByText('token').waitFor();
});

test('a server that can\u2019t tell says why', async (t) => {
  const server = await serve(t, live());
  const page = await server.open();
  server.trouble = 'The project file can\u2019t be read: line 3.';
  await page.getByRole('alert').getByText('The project file can\u2019t be read: line 3. You see what was known').waitFor();
  server.trouble = '';
  await page.getByRole('alert').waitFor({ state: 'hidden' });
});

test('the whole log and each report are a press away', async (t) => {
  const server = await serve(t, live((data) => (data.runs.find((run) => run.name === 'default_s1').name = 'a/b #1')));
  const page = await server.open();
  await page.evaluate(() => (window.location.hash = `#run=${encodeURIComponent('a/b #1')}`));
  const root = `http://127.0.0.1:${server.port}`;
  const token = new URLSearchParams({ token: TOKEN });
  assert.equal(await page.getByRole('link', { name: 'The whole log' }).getAttribute('href'), `${root}/log/a%2Fb%20%231?${token}`);
  assert.equal(await page.getByRole('link', { name: 'Show' }).getAttribute('href'), `${root}/report/a%2Fb%20%231/report_utilization?${token}`);
});

test('updates pause and go on', async (t) => {
  const server = await serve(t, live());
  const page = await server.open();
  await page.waitForResponse(/data\.json/);
  await page.getByRole('button', { name: 'Pause' }).click();
  await page.getByText('paused', { exact: true }).waitFor();
  server.data = live((data) => (data.project.name = 'renamed'));
  const asked = server.asked.length;
  await page.getByRole('button', { name: 'Go on' }).click();
  await page.locator('h1', { hasText: 'renamed' }).waitFor();
  assert.ok(server.asked.length > asked);
});

test('a page from a file asks nobody, whatever its data say', async (t) => {
  const server = await serve(t, pageOf(4));
  const page = await server.open({ isWanted: () => false });
  await page.waitForSelector('.run-link');
  assert.equal(await page.locator('.live').isVisible(), false);
  assert.deepEqual(server.asked, []);
});
