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
const { FAMILIES, GROUND } = await load('colours');

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

const linear = (colour) => [1, 3, 5].map((at) => parseInt(colour.slice(at, at + 2), 16) / 255).map((value) => (value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4));
const luminance = ([r, g, b]) => 0.2126 * r + 0.7152 * g + 0.0722 * b;

/** In the space of CIELAB, where distances are as they are seen. */
function lab([r, g, b]) {
  const bend = (value) => (value > 0.008856 ? Math.cbrt(value) : 7.787 * value + 16 / 116);
  const [x, y, z] = [(0.4124 * r + 0.3576 * g + 0.1805 * b) / 0.95047, 0.2126 * r + 0.7152 * g + 0.0722 * b, (0.0193 * r + 0.1192 * g + 0.9505 * b) / 1.08883].map(bend);
  return [116 * y - 16, 500 * (x - y), 200 * (y - z)];
}

/** What an eye without one kind of cones makes of linear red, green and blue. */
const EYES = {
  common: [1, 0, 0, 0, 1, 0, 0, 0, 1],
  protanopia: [0.152286, 1.052583, -0.204868, 0.114503, 0.786281, 0.099216, -0.003882, -0.048116, 1.051998],
  deuteranopia: [0.367322, 0.860646, -0.227968, 0.280085, 0.672501, 0.047413, -0.01182, 0.04294, 0.968881],
  tritanopia: [1.255528, -0.076749, -0.178779, -0.078411, 0.930809, 0.147602, 0.004733, 0.691367, 0.3039],
};

for (const theme of ['light', 'dark'])
  test(`the colours of families are told apart by every kind of eye, ${theme}`, () => {
    const ground = luminance(linear(GROUND[theme]));
    for (const colour of FAMILIES[theme]) {
      const own = luminance(linear(colour));
      assert.ok((Math.max(own, ground) + 0.05) / (Math.min(own, ground) + 0.05) >= 3, colour);
    }
    for (const [eye, m] of Object.entries(EYES)) {
      const seen = FAMILIES[theme].map(linear).map(([r, g, b]) => lab([0, 3, 6].map((at) => Math.max(0, Math.min(1, m[at] * r + m[at + 1] * g + m[at + 2] * b)))));
      for (let i = 0; i < seen.length; i += 1)
        for (let k = 0; k < i; k += 1) {
          const distance = Math.hypot(...seen[i].map((value, axis) => value - seen[k][axis]));
          assert.ok(distance >= (i < 4 ? 25 : 15), `${eye}: ${FAMILIES[theme][k]} and ${FAMILIES[theme][i]} are ${distance.toFixed(1)} apart`);
        }
    }
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

test('names beside an axis keep what they differ in', () => {
  const { fittingNames } = format;
  assert.deepEqual(fittingNames(['impl_1', 'impl_2'], 150), ['impl_1', 'impl_2']);
  // First what all begin with is left out, up to a sign between words; then the heads.
  assert.deepEqual(fittingNames(['demo_area_Default', 'demo_area_Performance'], 100), ['\u2026Default', '\u2026Performance']);
  assert.deepEqual(fittingNames(['demo_area_Default', 'demo_base_Performance'], 100), ['\u2026area_Default', '\u2026e_Performance']);
  assert.deepEqual(fittingNames(['a_very_long_name_of_a_run'], 70), ['\u2026_of_a_run']);
  assert.deepEqual(fittingNames(['nightly_run', 'nightly_run_again'], 70), ['\u2026run', '\u2026run_again']);
  assert.deepEqual(fittingNames([], 100), []);
});

test('a name breaks between its words', () => {
  const { inTwoLines } = format;
  assert.equal(inTwoLines('demo_base_Performance', 160), 'demo_base_\nPerformance');
  assert.equal(inTwoLines('demo_base', 160), 'demo_base');
  assert.equal(inTwoLines('a_Performance_of_many_letters', 160), 'a_Performance_of_\nmany_letters');
  // Where no word ends in reach it breaks anywhere, as the chart does it.
  assert.equal(inTwoLines('a_nameofmanylettersandonemore', 160), 'a_nameofmanylettersandonemore');
  assert.equal(inTwoLines('nameofmanylettersandonemore', 160), 'nameofmanylettersandonemore');
});
