// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Data of pages as xp makes it (docs/formats/page-data.md), of any number of runs and the
// same every time.
import { readFileSync } from 'node:fs';

/** Numbers from 0 up to 1, the same for one `seed`. */
function numbers(seed) {
  let state = seed >>> 0;
  return () => {
    state = (state + 0x6d2b79f5) >>> 0;
    let mixed = Math.imul(state ^ (state >>> 15), state | 1);
    mixed ^= mixed + Math.imul(mixed ^ (mixed >>> 7), mixed | 61);
    return ((mixed ^ (mixed >>> 14)) >>> 0) / 2 ** 32;
  };
}

const round = (value, digits = 2) => Number(value.toFixed(digits));

export const FIGURES = [
  { name: 'fmax', label: 'Fmax', unit: 'MHz', better: 'higher' },
  { name: 'worst_slack', label: 'Worst slack', unit: 'ns', better: 'higher' },
  { name: 'logic_cells', label: 'Logic cells', unit: '', better: 'lower' },
  { name: 'luts', label: 'LUTs', unit: '', better: 'lower' },
  { name: 'seconds', label: 'Time', unit: 's', better: 'lower' },
];

const FAMILIES = [
  { name: 'Default', cells: 1369, fmax: 66.5, options: {} },
  { name: 'TwoPassMap', cells: 1373, fmax: 65.6, options: { 'synth_design.abc2': 'on' } },
  { name: 'DepthMap', cells: 1344, fmax: 67.2, options: { 'synth_design.abc9': 'on' } },
  { name: 'Retime', cells: 1374, fmax: 56.8, options: { 'synth_design.retime': 'on', 'place_design.opt_timing': 'on' } },
];

const START = 1795212000; // 2026-11-20T22:00:00Z
const GOAL = 70;

function pathOf(random, fmax) {
  const total = 1000 / fmax;
  const levels = 8 + Math.floor(random() * 6);
  const clkToQ = 0.54;
  const setup = 0.47;
  const logic = (total - clkToQ - setup) * 0.37;
  const routing = total - clkToQ - setup - logic;
  let x = 6 + Math.floor(random() * 20);
  let y = 8 + Math.floor(random() * 16);
  const points = [{ t: 'clk-to-q', ns: clkToQ, cell: 'core.pc_SB_DFFSR_Q', x, y, src: 'rtl/rv32i_core.v:112' }];
  for (let i = 0; i < levels; i += 1) {
    x = Math.max(1, Math.min(31, x + Math.round((random() - 0.45) * 7)));
    y = Math.max(1, Math.min(31, y + Math.round((random() - 0.5) * 6)));
    points.push({ t: 'routing', ns: round(routing / levels), net: `core.alu_sum[${i}]`, x, y, src: `rtl/rv32i_core.v:${140 + i * 3}` });
    points.push({ t: 'logic', ns: round(logic / levels), cell: `core.alu_LUT4_O_${i}`, x, y, src: `rtl/rv32i_core.v:${141 + i * 3}` });
  }
  points.push({ t: 'setup', ns: setup, cell: 'core.result_SB_DFF_Q', x, y, src: 'rtl/rv32i_core.v:310' });
  return {
    clock: 'clk',
    ns: round(total),
    levels,
    parts: { clk_to_q: clkToQ, logic: round(logic), routing: round(routing), setup },
    points,
  };
}

function stepsOf(names, began, seconds) {
  let time = began;
  return names.map((name, i) => {
    const step = { name, status: 'done', began: round(time, 3), seconds: round(seconds[i], 3) };
    time += seconds[i];
    return step;
  });
}

const IMPLEMENTATION = ['init_design', 'place_design', 'route_design', 'write_bitstream'];

function doneRun(name, family, seed, random, slot) {
  const fmax = round(family.fmax + (random() + random() - 1) * 3.6);
  const cells = family.cells + Math.floor(random() * 9) - 4;
  const queued = round(START + (slot.turn * 4 + slot.at) * 0.3, 3);
  const seconds = [0.4 + random() * 0.2, 3 + random() * 2, 4 + random() * 5, 0.7];
  const began = Math.max(slot.free, queued + 0.6);
  const ended = began + seconds.reduce((sum, each) => sum + each, 0);
  slot.free = ended + 0.1;
  return {
    name,
    flow: 'impl',
    status: 'done',
    step: 'write_bitstream',
    stale: false,
    reasons: [],
    family: family.name,
    sweep: 'sweep_1',
    strategy: family.name,
    seed,
    synthesis: `synth_${family.name.toLowerCase()}`,
    place: 'here',
    queued_at: queued,
    began: round(began, 3),
    ended: round(ended, 3),
    figures: {
      fmax,
      worst_slack: round(1000 / GOAL - 1000 / fmax, 3),
      logic_cells: cells,
      luts: family.cells - 183,
      seconds: round(ended - began, 1),
    },
    steps: stepsOf(IMPLEMENTATION, began, seconds),
    options: { ...family.options, 'place_design.seed': String(seed) },
    reports: [
      { name: 'report_timing_summary', step: 'route_design', state: 'generated', text: `Timing summary of ${name}\n\n  clk   ${fmax} MHz   goal ${GOAL} MHz\n` },
      { name: 'report_utilization', step: 'place_design', state: 'generated' },
      { name: 'report_drc', step: 'route_design', state: 'failed', reason: 'the netlist changed since' },
    ],
    warnings: Math.floor(random() * 4),
    failure: null,
    log: [`Info: Packing constants for ${name}..`, 'Warning: unconstrained pin led[3]', 'Info: Routing complete.', `Info: Max frequency for clock 'clk': ${fmax} MHz`],
    next: '',
    abandoned: '',
    repeat: [`xp create ${name} --flow impl --synth synth_1 --strategy ${family.name}`, `xp set ${name} place_design.seed=${seed}`, `xp launch ${name}`],
    best: false,
    path: pathOf(random, fmax),
    use: [
      { name: 'Logic cells', used: cells, of: 7680 },
      { name: 'Block RAMs', used: 30, of: 32 },
      { name: 'I/O cells', used: 12, of: 256 },
      { name: 'Global buffers', used: 3, of: 8 },
      { name: 'PLLs', used: 0, of: 2 },
    ],
    directory: `runs/${name}`,
  };
}

function unfinished(run, status, step) {
  run.status = status;
  run.step = step;
  run.ended = null;
  run.figures = {};
  run.path = null;
  run.use = [];
  run.reports = run.reports.map(({ name, step: of }) => ({ name, step: of, state: 'not generated' }));
  const at = run.steps.findIndex((each) => each.name === step);
  run.steps = run.steps.map((each, i) => (i < at ? each : { name: each.name, status: i === at && status !== 'queued' ? status : 'not started', began: i === at && status !== 'queued' ? each.began : null, seconds: i === at && status !== 'queued' ? each.seconds : null }));
  return run;
}

function fail(run) {
  unfinished(run, 'failed', 'place_design');
  run.steps[1].seconds = 2.6;
  run.ended = round(run.steps[1].began + 2.6, 3);
  run.log = ['Info: constrained \'clk\' to bel \'X0/Y16/io1\'', 'Info: Packing constants..', 'Warning: net tied to 0', "ERROR: cell 'led[7]' is constrained to pin 'Z99', which does not exist", 'Info: 0 errors were ignored', 'ERROR: Loading PCF failed.'];
  run.failure = {
    step: 'place_design',
    what: 'The package has no pin Z99, to which led[7] is constrained.',
    file: 'constraints/board.pcf',
    line: 9,
    advice: 'Name a pin of hx8k-ct256 in the line, or leave it out.',
    tool: "ERROR: cell 'led[7]' is constrained to pin 'Z99', which does not exist",
  };
  run.next = `Change constraints/board.pcf:9, then type: xp launch ${run.name}`;
}

function makeStale(run) {
  run.stale = true;
  run.reasons = ['source rtl/rv32i_core.v changed at 03:12, after this run ended'];
  run.next = `Its results are out of date; type: xp launch ${run.name}`;
}

function queue(run) {
  unfinished(run, 'queued', 'init_design');
  run.began = null;
  run.place = 'here';
}

function abandon(run) {
  unfinished(run, 'stopped', 'route_design');
  run.ended = round(run.began + 6, 3);
  run.abandoned = 'after place_design: an estimate of 51.2 ± 2.1 MHz can\u2019t reach 90 % of 69.8 MHz';
}

function synthesisOf(family) {
  return {
    name: `synth_${family.name.toLowerCase()}`,
    flow: 'synth',
    status: 'done',
    step: 'synth_design',
    stale: false,
    reasons: [],
    family: '',
    sweep: '',
    strategy: family.name,
    seed: null,
    synthesis: '',
    place: 'here',
    queued_at: START - 12,
    began: START - 11.5,
    ended: START - 1,
    figures: { luts: family.cells - 183 },
    steps: [{ name: 'synth_design', status: 'done', began: START - 11.5, seconds: 10.5 }],
    options: family.options,
    reports: [],
    warnings: 2,
    failure: null,
    log: ['End of script.'],
    next: '',
    abandoned: '',
    repeat: [`xp create synth_${family.name.toLowerCase()} --flow synth`],
    best: false,
    path: null,
    use: [],
    directory: `runs/synth_${family.name.toLowerCase()}`,
  };
}

function verdict(base, other, seeds) {
  const difference = other.fmax - base.fmax;
  const isReal = Math.abs(difference) > 5;
  const test = `exact signed-rank test (Wilcoxon) of ${seeds} pairs of one seed, at the 5 % level`;
  const words = isReal ? `worse by ${Math.abs(difference).toFixed(1)} ± 1.4 MHz` : Math.abs(difference) > 1 ? "can't tell: about 12 more seeds needed" : 'no real difference';
  return {
    base: base.name,
    other: other.name,
    figures: [
      { figure: 'fmax', unit: 'MHz', better: 'higher', outcome: isReal ? 'lower' : 'none', verdict: words, test, chance: isReal ? 0.0312 : 0.44, level: 0.05, paired: true, difference: round(difference), low: null, high: null, more_seeds: 12 },
      { figure: 'logic_cells', unit: '', better: 'lower', outcome: 'higher', verdict: `${other.cells > base.cells ? 'worse' : 'better'} by ${Math.abs(other.cells - base.cells)}`, test, chance: 0.0312, level: 0.05, paired: true, difference: other.cells - base.cells, low: null, high: null, more_seeds: null },
    ],
  };
}

function summaryOf(runs) {
  const count = (wanted) => runs.filter(wanted).length;
  return {
    runs: runs.length,
    done: count((run) => run.status === 'done'),
    failed: count((run) => ['failed', 'lost', 'stopped'].includes(run.status)),
    running: count((run) => run.status === 'running'),
    queued: count((run) => run.status === 'queued'),
    stale: count((run) => run.stale),
    wall_seconds: 226.4,
    tool_seconds: 258.1,
  };
}

export function emptyPage(change = {}) {
  return {
    format: 1,
    generated: '2026-11-20T22:01:25Z',
    live: false,
    project: { name: 'fir_demo', directory: '/home/ada/fir_demo', top: 'fir_top', device: 'hx8k', package: 'ct256', goal_mhz: GOAL },
    summary: summaryOf([]),
    figures: [],
    runs: [],
    best: { runs: [], why: [] },
    families: [],
    comparisons: [],
    nights: [],
    device: { width: 33, height: 33 },
    ...change,
  };
}

function nightsOf(random) {
  return Array.from({ length: 14 }, (_, i) => {
    const best = round(66 + i * 0.28 + random() - (i === 9 || i === 10 ? 3.4 : 0));
    return {
      date: new Date((START - (13 - i) * 86400) * 1000).toISOString().slice(0, 10),
      launches: 24,
      done: i === 9 ? 20 : 23,
      failed: i === 9 ? 4 : 1,
      figures: { fmax: { best, median: round(best - 2.4 - random()) }, logic_cells: { best: 1344 + i, median: 1360 + i } },
      marks: i === 9 ? ['best Fmax fell from 69.1 to 65.4 MHz (5.4 %)', 'three runs failed in place_design that were done before'] : [],
    };
  });
}

/** A page of `count` implementations in four families, with every kind of status among them. */
export function page(count = 24, change = {}) {
  const random = numbers(7);
  const slots = Array.from({ length: 4 }, (_, at) => ({ at, turn: 0, free: START }));
  const perFamily = Math.max(1, Math.round(count / FAMILIES.length));
  const runs = Array.from({ length: count }, (_, i) => {
    const family = FAMILIES[Math.min(FAMILIES.length - 1, Math.floor(i / perFamily))];
    const seed = 1 + (i - FAMILIES.indexOf(family) * perFamily);
    const slot = slots.reduce((first, each) => (each.free < first.free ? each : first));
    slot.turn += 1;
    return doneRun(`${family.name.toLowerCase()}_s${seed}`, family, seed, random, slot);
  });
  const at = (share) => runs[Math.floor(count * share)];
  if (count >= 12) {
    fail(at(0.3));
    makeStale(at(0.55));
    unfinished(at(0.88), 'running', 'route_design');
    abandon(at(0.8));
    queue(at(0.96));
    runs.slice(0, count / 3).forEach((run, i) => (run.place = i % 3 === 0 ? 'lark' : 'here'));
  }
  const judged = runs.filter((run) => run.status === 'done' && !run.stale);
  const best = judged.reduce((first, run) => (run.figures.fmax > first.figures.fmax ? run : first), judged[0]);
  if (best) best.best = true;
  const all = [...FAMILIES.map(synthesisOf), ...runs];
  const used = FAMILIES.filter((family) => runs.some((run) => run.family === family.name));
  const base = FAMILIES.find((family) => family.name === best?.family) ?? FAMILIES[0];
  return emptyPage({
    summary: summaryOf(all),
    figures: FIGURES,
    runs: all,
    best: best ? { runs: [best.name], why: [`Rule fmax max: ${best.name} is best (Fmax ${best.figures.fmax} MHz).`, '2 runs are left out: not done, or stale.'], rule: 'fmax max' } : { runs: [], why: [] },
    families: used.map((family) => ({ name: family.name, runs: runs.filter((run) => run.family === family.name).map((run) => run.name), differing: [] })),
    comparisons: used.filter((family) => family !== base).map((family) => verdict(base, family, perFamily)),
    nights: nightsOf(random),
    ...change,
  });
}

export const HOSTILE = '<img src=x onerror="window.hacked=1">';

/** A page in which every text is one that would harm where it is read as markup. */
export function hostilePage() {
  const data = page(24);
  const spoil = (value, key) => {
    if (typeof value === 'string' && !['status', 'generated', 'flow', 'better', 'date', 't'].includes(key)) return `${value}${HOSTILE}</script><script>window.hacked=2</script>`;
    if (Array.isArray(value)) return value.map((each) => spoil(each, key));
    if (value === null || typeof value !== 'object') return value;
    return Object.fromEntries(Object.entries(value).map(([name, each]) => [(key === 'options' || (key === 'figures' && typeof each === 'number')) ? `${name}${HOSTILE}</script><script>window.hacked=2</script>` : name, spoil(each, name)]));
  };
  const spoilt = spoil(data, '');
  spoilt.runs[5].name = '__proto__';
  spoilt.runs[6].name = 'constructor';
  spoilt.runs[7].name = '=cmd|"/c calc"!A1';
  spoilt.nights.forEach((night) => (night.figures = Object.fromEntries(Object.entries(night.figures).map(([name, each]) => [spoil(name, 'x'), each]))));
  return spoilt;
}

/** `data` in the template of `file`, as xp puts it there. */
export function inPage(file, data) {
  const place = '<script type="application/json" id="xp-data">{}</script>';
  const template = readFileSync(file, 'utf8');
  if (template.split(place).length !== 2) throw new Error(`${file} has no one place for data`);
  const text = JSON.stringify(data).replace(/</g, '\\u003c').replace(/\u2028/g, '\\u2028').replace(/\u2029/g, '\\u2029');
  return template.replace(place, () => place.replace('{}', () => text));
}
