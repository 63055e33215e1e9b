// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// What the page computes and words, without a browser.
import assert from 'node:assert/strict';
import { mkdtempSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { after, test } from 'node:test';
import { fileURLToPath, pathToFileURL } from 'node:url';

const esbuild = createRequire(import.meta.url)('esbuild');
const sources = join(dirname(fileURLToPath(import.meta.url)), '../../web/src');
const folder = mkdtempSync(join(tmpdir(), 'xp-units-'));
after(() => rmSync(folder, { recursive: true, force: true }));

async function load(name) {
  const outfile = join(folder, `${name}.mjs`);
  esbuild.buildSync({ entryPoints: [join(sources, `${name}.ts`)], bundle: true, format: 'esm', outfile, logLevel: 'silent' });
  return import(pathToFileURL(outfile).href);
}

const format = await load('format');
const statistics = await load('statistics');
const { readPage } = await load('model');

test('numbers read the same in every locale', () => {
  const cases = [
    [0, '0'],
    [1369, '1369'],
    [12345.678, '12\u202f345.68'],
    [1234567, '1\u202f234\u202f567'],
    [-3.2, '\u22123.2'],
    [66.1, '66.1'],
    [0.0004, '0.0004'],
    [NaN, ''],
  ];
  for (const [value, text] of cases) assert.equal(format.numberText(value), text);
  assert.equal(format.numberText(66.1, 2, true), '66.10');
  assert.equal(format.withUnit(69.78, 'MHz'), '69.78\u202fMHz');
});

test('a column has the digits that its values need, two at most', () => {
  assert.equal(format.decimalsOf([1, 2, 3]), 0);
  assert.equal(format.decimalsOf([1, 2.5]), 1);
  assert.equal(format.decimalsOf([1, 2.123456]), 2);
  assert.equal(format.decimalsOf([]), 0);
});

test('durations have two units', () => {
  const cases = [
    [null, ''],
    [0, '0.0 s'],
    [9.84, '9.8 s'],
    [99.96, '1 min 40 s'],
    [226, '3 min 46 s'],
    [3600, '1 h 00 min'],
    [90061, '1 d 01 h'],
  ];
  for (const [value, text] of cases) assert.equal(format.durationText(value).replace(/\u202f/g, ' '), text);
});

test('names are in their natural order', () => {
  assert.deepEqual(['s10', 's2', 's1', 'a', 's2b'].sort(format.compareNames), ['a', 's1', 's2', 's2b', 's10']);
});

test('lists are words', () => {
  assert.equal(format.listText([]), '');
  assert.equal(format.listText(['a']), 'a');
  assert.equal(format.listText(['a', 'b', 'c']), 'a, b and c');
  assert.equal(format.listText(['a', 'b', 'c', 'd', 'e'], 3), 'a, b and 3 more');
});

test('CSV values are quoted, and none is a formula', () => {
  assert.equal(format.csvValue('a,b'), '"a,b"');
  assert.equal(format.csvValue('say "x"'), '"say ""x"""');
  assert.equal(format.csvValue('=1+1'), "'=1+1");
  assert.equal(format.csvValue('@x'), "'@x");
  assert.equal(format.csvValue(-3.5), '-3.5');
  assert.equal(format.csvValue(null), '');
});

test('quartiles lie between values', () => {
  assert.equal(statistics.summaryOf([]), null);
  assert.deepEqual(statistics.summaryOf([4]), { count: 1, least: 4, lower: 4, median: 4, upper: 4, greatest: 4 });
  assert.deepEqual(statistics.summaryOf([4, 1, 3, 2]), { count: 4, least: 1, lower: 1.75, median: 2.5, upper: 3.25, greatest: 4 });
});

test('the frontier keeps equal points and drops what is beaten', () => {
  const points = [
    { x: 1, y: 5 },
    { x: 1, y: 5 },
    { x: 1, y: 4 },
    { x: 2, y: 7 },
    { x: 3, y: 6 },
    { x: 4, y: 9 },
  ];
  assert.deepEqual(statistics.frontierOf(points, false, true), [points[0], points[1], points[3], points[5]]);
  assert.deepEqual(statistics.frontierOf(points, true, true), [points[5]]);
  assert.deepEqual(statistics.frontierOf(points, false, false), [points[2]]);
  assert.deepEqual(statistics.frontierOf([], false, true), []);
});

test('lanes are as few as can be', () => {
  const items = [
    [0, 4],
    [1, 3],
    [3, 5],
    [4, 6],
    [10, 12],
  ];
  const lanes = statistics.lanesOf(items, (item) => item[0], (item) => item[1]);
  assert.deepEqual(lanes, [
    [items[0], items[3], items[4]],
    [items[1], items[2]],
  ]);
});

test('what data lack is empty, and a run of a name is taken once', () => {
  const page = readPage({ runs: [{ name: 'a' }, { name: 'a', status: 'done' }, 7, { name: 'b', failure: { line: 0 }, warnings: null }] });
  assert.deepEqual(page.runs.map((run) => run.name), ['a', '', 'b']);
  assert.equal(page.runs[0].status, 'unknown');
  assert.equal(page.runs[2].failure.line, null);
  assert.equal(page.runs[2].warnings, null);
  assert.equal(page.device, null);
  assert.deepEqual(page.groups, []);
});
