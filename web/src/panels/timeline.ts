// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// When runs waited and worked, and where.
import { baseOption, Chart, DataTable, hiddenHint, legend, Panel, tip } from '../chart';
import { choice, h, replace } from '../dom';
import { clockText, durationText, fittingNames, plural, timeText } from '../format';
import { elapsedOf, waitingOf, type Page, type Run } from '../model';
import { groupColour, ink, stepColour, WAITING } from '../palette';
import { lanesOf } from '../statistics';
import { statusText } from '../status';
import { isHidden, runAddress, select, selectedRun, thePage } from '../store';

type View = 'runs' | 'slots';

interface Bar {
  run: Run;
  lane: number;
  begin: number;
  end: number;
  step: string;
  isFailed: boolean;
}

interface Lane {
  label: string;
  runs: Run[];
}

const MOST_LANES = 40;
const LANE = 17;

export class TimelinePanel {
  readonly panel = new Panel('timeline', 'Timeline', 'wide');
  private readonly chart = new Chart((event) => this.clicked(event.value));
  private readonly table = new DataTable();
  private readonly key = h('div', { class: 'key' });
  private view: View | '' = '';
  private bars: Bar[] = [];

  draw(): void {
    const page = thePage();
    const launched = page.runs.filter((run) => run.queuedAt !== null || run.began !== null).sort((a, b) => beginOf(a) - beginOf(b));
    if (launched.length === 0) {
      this.panel.setTools();
      this.panel.setEmpty('No run was launched yet.', 'xp launch');
      return;
    }
    const runs = launched.filter((run) => !isHidden(run.group));
    if (runs.length === 0) {
      this.panel.setLead('All of them are left out.');
      replace(this.panel.body, hiddenHint(page));
      return;
    }
    const now = page.generated ?? Math.max(...runs.map((run) => endOf(run, 0)));
    const view = this.view || (runs.length > 60 ? 'slots' : 'runs');
    this.panel.setTools(
      choice(
        'Rows',
        [
          ['runs', 'one a run'],
          ['slots', 'one a slot'],
        ],
        view,
        (value) => {
          this.view = value as View;
          this.draw();
        },
      ),
    );
    const lanes = view === 'runs' ? runs.map((run) => ({ label: run.name, runs: [run] })) : slotsOf(runs, now);
    const start = Math.min(...runs.map(beginOf));
    const end = Math.max(...runs.map((run) => endOf(run, now)));
    const steps = [...new Set(runs.flatMap((run) => run.steps.filter((step) => step.began !== null).map((step) => step.name)))];
    this.bars = lanes.flatMap((lane, i) => lane.runs.flatMap((run) => barsOf(run, i, now, view === 'runs')));
    const words = leadOf(runs, now, start, end);
    this.panel.setLead(words);
    const shown = Math.min(lanes.length, MOST_LANES);
    this.chart.set(36 + shown * LANE + (lanes.length > shown ? 10 : 0), `Timeline. ${words}`, () => this.option(page, lanes, steps, start, end));
    replace(this.key, legend([{ name: WAITING, colour: stepColour(WAITING, steps) }, ...steps.map((step) => ({ name: step, colour: stepColour(step, steps) }))]));
    this.table.set({
      caption: 'Times of each run',
      head: ['Run', 'Where', 'Queued', 'Waited', 'Began', 'Elapsed', 'Status'],
      rows: () => runs.map((run) => [h('a', { href: runAddress(run.name) }, run.name), run.place, timeText(run.queuedAt), durationText(waitingOf(run)), timeText(run.began), durationText(elapsedOf(run, now)), statusText(run)]),
    });
    replace(this.panel.body, this.key, hiddenHint(page), this.chart.element, lanes.length > shown && h('p', { class: 'hint' }, `${lanes.length} rows; the slider on the right moves through them.`), this.table.element);
  }

  private clicked(value: unknown): void {
    const bar = Array.isArray(value) ? this.bars[value[3] as number] : undefined;
    if (bar) select(bar.run.name === selectedRun()?.name ? '' : bar.run.name);
  }

  private option(page: Page, lanes: Lane[], steps: string[], start: number, end: number): Record<string, unknown> {
    const colours = ink();
    const chosen = selectedRun()?.name;
    const isNamed = lanes.every((lane) => lane.runs.length === 1);
    const bars = this.bars;
    const span = Math.max(end - start, 1);
    const isLong = lanes.length > MOST_LANES;
    const names = fittingNames(lanes.map((lane) => lane.label), this.chart.labelWidth);
    return {
      ...baseOption(),
      grid: { left: 12, right: isLong ? 46 : 20, top: 6, bottom: 2, containLabel: true },
      dataZoom: isLong
        ? [{ type: 'slider', yAxisIndex: 0, width: 14, right: 12, startValue: 0, endValue: MOST_LANES - 1, zoomLock: true, brushSelect: false, showDetail: false, borderColor: colours.line, fillerColor: colours.faint, handleSize: 0, showDataShadow: false, filterMode: 'filter' }]
        : [],
      xAxis: {
        type: 'value',
        min: 0,
        max: span,
        axisLabel: { color: colours.dim, fontSize: 12, hideOverlap: true, showMaxLabel: false, formatter: (value: number) => (value === 0 ? clockText(start) : `+${durationText(value).replace(/\u202f?00\u202f(?:s|min)$/, '').replace(/\.0(?=\u202f)/, '')}`) },
        axisLine: { show: false },
        axisTick: { show: false },
        splitLine: { lineStyle: { color: colours.faint } },
      },
      yAxis: {
        type: 'category',
        inverse: true,
        data: lanes.map((lane) => lane.label),
        axisLine: { show: false },
        axisTick: { show: false },
        axisLabel: {
          fontSize: 11,
          interval: 0,
          width: this.chart.labelWidth,
          overflow: 'truncate',
          formatter: (_: string, i: number) => names[i],
          color: (name?: string | number) => (isNamed && String(name) === chosen ? colours.accent : colours.text),
        },
      },
      tooltip: {
        ...(baseOption().tooltip as object),
        formatter: (event: { value: number[] }) => barTip(bars[event.value[3]]),
      },
      series: [
        {
          type: 'custom',
          data: bars.map((bar, i) => [bar.lane, bar.begin - start, bar.end - start, i, bar.step, Number(bar.isFailed), bar.run.name]),
          encode: { x: [1, 2], y: 0 },
          clip: true,
          renderItem: (_: unknown, api: { value(i: number): number; coord(point: [number, number]): [number, number] }) => {
            const bar = bars[api.value(3)];
            const [x1, y] = api.coord([api.value(1), api.value(0)]);
            const [x2] = api.coord([api.value(2), api.value(0)]);
            const isChosen = bar.run.name === chosen;
            const height = isNamed ? 11 : 12;
            const group = groupColour(page, bar.run.group);
            return {
              type: 'group',
              children: [
                {
                  type: 'rect',
                  shape: { x: x1, y: y - height / 2, width: Math.max(x2 - x1, 1), height },
                  style: { fill: stepColour(bar.step, steps), stroke: isChosen ? colours.accent : bar.isFailed ? colours.bad : colours.panel, lineWidth: isChosen || bar.isFailed ? 2 : 0.5 },
                },
                { type: 'rect', shape: { x: x1, y: y + height / 2, width: Math.max(x2 - x1, 1), height: 2 }, style: { fill: group }, invisible: bar.run.group === '' },
              ],
            };
          },
        },
      ],
    };
  }
}

const beginOf = (run: Run) => run.queuedAt ?? run.began ?? 0;

/** When it ended; `now` while it hasn't. */
function endOf(run: Run, now: number): number {
  if (run.ended !== null) return run.ended;
  const isOpen = run.status === 'running' || run.status === 'queued' || run.status === 'unknown';
  const last = Math.max(run.began ?? beginOf(run), ...run.steps.map((step) => (step.began ?? 0) + (step.seconds ?? 0)));
  return isOpen ? Math.max(now, last) : last;
}

function barsOf(run: Run, lane: number, now: number, hasWaiting: boolean): Bar[] {
  const bars: Bar[] = [];
  const add = (step: string, begin: number, end: number, isFailed = false) => {
    if (end >= begin) bars.push({ run, lane, begin, end, step, isFailed });
  };
  if (hasWaiting && run.queuedAt !== null) {
    const until = run.began ?? (run.status === 'queued' ? now : run.queuedAt);
    if (until > run.queuedAt) add(WAITING, run.queuedAt, until);
  }
  for (const step of run.steps) {
    if (step.began === null || step.kept) continue;
    const seconds = step.seconds ?? (step.status === 'running' ? now - step.began : 0);
    add(step.name, step.began, step.began + Math.max(0, seconds), step.status === 'failed');
  }
  return bars;
}

/** As many rows a place as had runs at work there at once. */
function slotsOf(runs: Run[], now: number): Lane[] {
  const places = new Map<string, Run[]>();
  for (const run of runs) {
    if (run.began === null) continue;
    const place = run.place || 'here';
    places.set(place, [...(places.get(place) ?? []), run]);
  }
  return [...places].flatMap(([place, members]) =>
    lanesOf(
      members,
      (run) => run.began as number,
      (run) => endOf(run, now),
    ).map((lane, i) => ({ label: `${place}, slot ${i + 1}`, runs: lane })),
  );
}

function barTip(bar: Bar | undefined): HTMLElement | string {
  if (!bar) return '';
  return tip(bar.run.name, [
    [bar.step, durationText(bar.end - bar.begin)],
    ['from', timeText(bar.begin)],
    ['to', timeText(bar.end)],
    ['where', bar.run.place || 'here'],
    ['status', statusText(bar.run)],
  ]);
}

function leadOf(runs: Run[], now: number, start: number, end: number): string {
  const slots = slotsOf(runs, now);
  const waits = runs.map(waitingOf).filter((wait): wait is number => wait !== null);
  const longest = waits.length ? Math.max(...waits) : 0;
  const at = slots.length ? `, up to ${plural(slots.length, 'run')} at once` : '';
  const where = new Set(runs.map((run) => run.place).filter(Boolean));
  const hosts = where.size > 1 ? ` on ${plural(where.size, 'place')}` : '';
  const wait = longest > 0.05 ? ` The longest wait was ${durationText(longest)}.` : '';
  return `${plural(runs.length, 'run')} in ${durationText(end - start)}${at}${hosts}.${wait}`;
}
