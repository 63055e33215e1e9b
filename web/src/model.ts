// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The data of a page as the page uses it. Every reader below takes whatever it is given:
// what is missing or of another kind becomes empty, so that a page of an older or newer
// program still shows what it can.
import { decimalsOf } from './format';

export interface Figure {
  name: string;
  label: string;
  unit: string;
  better: '' | 'higher' | 'lower';
}

export interface Step {
  name: string;
  status: string;
  began: number | null;
  seconds: number | null;
  /** Done by an earlier launch. */
  kept: boolean;
}

export interface Report {
  name: string;
  step: string;
  state: string;
  reason: string;
  text: string | null;
}

export interface Failure {
  step: string;
  what: string;
  file: string;
  line: number | null;
  advice: string;
  tool: string;
}

export interface PathPoint {
  kind: string;
  ns: number;
  cell: string;
  net: string;
  x: number | null;
  y: number | null;
  src: string;
}

export interface CriticalPath {
  clock: string;
  ns: number;
  levels: number | null;
  /** Whether its points were left out. */
  cut: boolean;
  parts: Map<string, number>;
  points: PathPoint[];
}

export interface Use {
  name: string;
  used: number;
  of: number;
}

export interface Run {
  name: string;
  flow: string;
  status: string;
  step: string;
  stale: boolean;
  reasons: string[];
  family: string;
  sweep: string;
  strategy: string;
  seed: number | null;
  synthesis: string;
  place: string;
  queuedAt: number | null;
  began: number | null;
  ended: number | null;
  figures: Map<string, number>;
  steps: Step[];
  options: Map<string, string>;
  reports: Report[];
  warnings: number | null;
  failure: Failure | null;
  log: string[];
  next: string;
  abandoned: string;
  repeat: string[];
  best: boolean;
  path: CriticalPath | null;
  use: Use[];
  directory: string;
  /** What it is coloured by; see `Page.groups`. */
  group: string;
}

export interface ComparedFigure {
  figure: string;
  verdict: string;
  outcome: string;
  test: string;
  better: string;
  difference: number | null;
  chance: number | null;
  moreSeeds: number | null;
}

export interface Comparison {
  base: string;
  other: string;
  figures: ComparedFigure[];
}

export interface Night {
  date: string;
  launches: number;
  done: number;
  failed: number;
  figures: Map<string, { best: number | null; median: number | null }>;
  marks: string[];
}

export interface Group {
  name: string;
  runs: Run[];
  /** Options other than the seed in which its runs differ. */
  differing: string[];
}

export interface Page {
  generated: number | null;
  live: boolean;
  project: {
    name: string;
    directory: string;
    top: string;
    device: string;
    package: string;
    goalMhz: number | null;
  };
  wallSeconds: number | null;
  toolSeconds: number | null;
  figures: Figure[];
  /** The digits behind the point that show a figure's values in one column. */
  decimals: Map<string, number>;
  runs: Run[];
  byName: Map<string, Run>;
  best: { runs: string[]; why: string[]; rule: string };
  /** Families, or strategies when no run is of a family; in the order of their colours. */
  groups: Group[];
  groupWord: 'family' | 'strategy';
  comparisons: Comparison[];
  nights: Night[];
  device: { width: number; height: number } | null;
}

type Raw = Record<string, unknown>;

const isRaw = (value: unknown): value is Raw =>
  typeof value === 'object' && value !== null && !Array.isArray(value);
const raw = (value: unknown): Raw => (isRaw(value) ? value : {});
const list = (value: unknown): unknown[] => (Array.isArray(value) ? value : []);
const text = (value: unknown): string =>
  typeof value === 'string' ? value : typeof value === 'number' || typeof value === 'boolean' ? String(value) : '';
const texts = (value: unknown): string[] => list(value).map(text);
const lines = (value: unknown): string[] =>
  typeof value === 'string' ? value.replace(/\n$/, '').split('\n') : texts(value);
const number = (value: unknown): number | null =>
  typeof value === 'number' && Number.isFinite(value) ? value : null;

function numbers(value: unknown): Map<string, number> {
  const map = new Map<string, number>();
  for (const [name, each] of Object.entries(raw(value))) {
    const found = number(each);
    if (found !== null) map.set(name, found);
  }
  return map;
}

function readPath(value: unknown): CriticalPath | null {
  if (!isRaw(value)) return null;
  return {
    clock: text(value.clock),
    ns: number(value.ns) ?? 0,
    levels: number(value.levels),
    cut: value.cut === true,
    parts: numbers(value.parts),
    points: list(value.points).map((each) => {
      const point = raw(each);
      return {
        kind: text(point.t),
        ns: number(point.ns) ?? 0,
        cell: text(point.cell),
        net: text(point.net),
        x: number(point.x),
        y: number(point.y),
        src: text(point.src),
      };
    }),
  };
}

function readFailure(value: unknown): Failure | null {
  if (!isRaw(value)) return null;
  return {
    step: text(value.step),
    what: text(value.what),
    file: text(value.file),
    line: number(value.line) || null,
    advice: text(value.advice),
    tool: text(value.tool),
  };
}

function readStep(value: unknown): Step {
  const step = raw(value);
  return {
    name: text(step.name),
    status: text(step.status),
    began: number(step.began),
    seconds: number(step.seconds),
    kept: step.kept === true,
  };
}

function readReport(value: unknown): Report {
  const report = raw(value);
  return {
    name: text(report.name),
    step: text(report.step),
    state: text(report.state),
    reason: text(report.reason),
    text: typeof report.text === 'string' ? report.text : null,
  };
}

function readUse(value: unknown): Use {
  const use = raw(value);
  return { name: text(use.name), used: number(use.used) ?? 0, of: number(use.of) ?? 0 };
}

function readRun(value: unknown): Run {
  const run = raw(value);
  return {
    name: text(run.name),
    flow: text(run.flow),
    status: text(run.status) || 'unknown',
    step: text(run.step),
    stale: run.stale === true,
    reasons: texts(run.reasons),
    family: text(run.family),
    sweep: text(run.sweep),
    strategy: text(run.strategy),
    seed: number(run.seed),
    synthesis: text(run.synthesis),
    place: text(run.place),
    queuedAt: number(run.queued_at),
    began: number(run.began),
    ended: number(run.ended),
    figures: numbers(run.figures),
    steps: list(run.steps).map(readStep),
    options: new Map(Object.entries(raw(run.options)).map(([name, each]) => [name, text(each)])),
    reports: list(run.reports).map(readReport),
    warnings: number(run.warnings),
    failure: readFailure(run.failure),
    log: lines(run.log ?? []),
    next: text(run.next),
    abandoned: text(run.abandoned),
    repeat: texts(run.repeat),
    best: run.best === true,
    path: readPath(run.path),
    use: list(run.use).map(readUse),
    directory: text(run.directory),
    group: '',
  };
}

function readComparison(value: unknown): Comparison {
  const comparison = raw(value);
  return {
    base: text(comparison.base),
    other: text(comparison.other),
    figures: list(comparison.figures).map((each) => {
      const row = raw(each);
      return {
        figure: text(row.figure),
        verdict: text(row.verdict),
        outcome: text(row.outcome),
        test: text(row.test),
        better: text(row.better),
        difference: number(row.difference),
        chance: number(row.chance),
        moreSeeds: number(row.more_seeds),
      };
    }),
  };
}

function readNight(value: unknown): Night {
  const night = raw(value);
  const figures: Night['figures'] = new Map();
  for (const [name, each] of Object.entries(raw(night.figures)))
    figures.set(name, { best: number(raw(each).best), median: number(raw(each).median) });
  return {
    date: text(night.date),
    launches: number(night.launches) ?? 0,
    done: number(night.done) ?? 0,
    failed: number(night.failed) ?? 0,
    figures,
    marks: texts(night.marks),
  };
}

function readFigure(value: unknown): Figure {
  const figure = raw(value);
  const better = text(figure.better);
  return {
    name: text(figure.name),
    label: text(figure.label) || text(figure.name),
    unit: text(figure.unit),
    better: better === 'higher' || better === 'lower' ? better : '',
  };
}

function readGroups(page: Raw, runs: Run[]): { groups: Group[]; word: 'family' | 'strategy' } {
  const isFamily = runs.some((run) => run.family !== '');
  const groups = new Map<string, Run[]>();
  const differing = new Map<string, string[]>();
  if (isFamily)
    for (const family of list(page.families).map(raw)) {
      groups.set(text(family.name), []);
      differing.set(text(family.name), texts(family.differing));
    }
  for (const run of runs) {
    run.group = isFamily ? run.family : run.flow === 'synth' ? '' : run.strategy;
    if (run.group === '') continue;
    if (!groups.has(run.group)) groups.set(run.group, []);
    groups.get(run.group)?.push(run);
  }
  return {
    groups: [...groups].map(([name, members]) => ({ name, runs: members, differing: differing.get(name) ?? [] })),
    word: isFamily ? 'family' : 'strategy',
  };
}

function unique(runs: Run[]): Run[] {
  const seen = new Set<string>();
  return runs.filter((run) => !seen.has(run.name) && seen.add(run.name));
}

export function readPage(value: unknown): Page {
  const page = raw(value);
  const project = raw(page.project);
  const summary = raw(page.summary);
  const device = raw(page.device);
  const best = raw(page.best);
  const runs = unique(list(page.runs).map(readRun));
  const { groups, word } = readGroups(page, runs);
  const time = Date.parse(text(page.generated));
  const figures = list(page.figures).map(readFigure);
  const bestRuns = texts(best.runs);
  const width = number(device.width) ?? 0;
  const height = number(device.height) ?? 0;
  return {
    generated: Number.isNaN(time) ? null : time / 1000,
    live: page.live === true,
    project: {
      name: text(project.name),
      directory: text(project.directory),
      top: text(project.top),
      device: text(project.device),
      package: text(project.package),
      goalMhz: number(project.goal_mhz),
    },
    wallSeconds: number(summary.wall_seconds),
    toolSeconds: number(summary.tool_seconds),
    figures,
    decimals: new Map(
      figures.map((figure) => [
        figure.name,
        decimalsOf(runs.flatMap((run) => run.figures.get(figure.name) ?? [])),
      ]),
    ),
    runs,
    byName: new Map(runs.map((run) => [run.name, run])),
    best: {
      runs: bestRuns.length ? bestRuns : runs.filter((run) => run.best).map((run) => run.name),
      why: texts(best.why),
      rule: text(best.rule),
    },
    groups,
    groupWord: word,
    comparisons: list(page.comparisons).map(readComparison),
    nights: list(page.nights).map(readNight),
    device: width > 0 && height > 0 ? { width, height } : null,
  };
}

export function figureOf(page: Page, name: string): Figure | undefined {
  return page.figures.find((figure) => figure.name === name);
}

/** "Fmax, MHz". */
export function figureTitle(figure: Figure): string {
  return figure.unit ? `${figure.label}, ${figure.unit}` : figure.label;
}

/** The figures that a run at least has. */
export function figuresInUse(page: Page): Figure[] {
  return page.figures.filter((figure) => page.runs.some((run) => run.figures.has(figure.name)));
}

/** What runs are measured by: Fmax where there is one. */
export function mainFigure(page: Page): Figure | undefined {
  const used = figuresInUse(page);
  return used.find((figure) => figure.name === 'fmax') ?? used.find((figure) => figure.better) ?? used[0];
}

/** What stands for the area that a run takes. */
export function areaFigure(page: Page): Figure | undefined {
  const used = figuresInUse(page);
  for (const name of ['logic_cells', 'cells', 'lcs', 'luts']) {
    const figure = used.find((each) => each.name === name);
    if (figure) return figure;
  }
  return used.find((figure) => /cell|lut|area/i.test(figure.label));
}

/** Seconds from being queued to the first step; null when nothing tells. */
export function waitingOf(run: Run): number | null {
  return run.queuedAt === null || run.began === null ? null : Math.max(0, run.began - run.queuedAt);
}

/** Seconds from the first step to the last; up to `now` while it is at work. */
export function elapsedOf(run: Run, now: number | null): number | null {
  if (run.began === null) return null;
  const end = run.ended ?? (run.status === 'running' ? now : null);
  return end === null ? null : Math.max(0, end - run.began);
}

/** Whether its figures may be compared with those of others. */
export function isJudged(run: Run): boolean {
  return run.status === 'done' && !run.stale;
}
