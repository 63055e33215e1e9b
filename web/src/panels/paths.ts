// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// What the slowest path of the best run of each family is made of, and one of them in full.
import { baseOption, Chart, DataTable, legend, Panel, tip, valueAxis } from '../chart';
import { choice, h, replace } from '../dom';
import { fittingNames, numberText, plural } from '../format';
import { isJudged, mainFigure, type Page, type Run } from '../model';
import { ink, partColour, partText } from '../palette';
import { runAddress, select, selectedRun, shownRun, thePage } from '../store';
import { pathView } from './placement';

const MOST_BARS = 12;
const ORDER = ['clk_to_q', 'logic', 'routing', 'setup'];

/** The fastest run of each group that tells its path. */
export function bestOfGroups(page: Page): Run[] {
  const figure = mainFigure(page);
  const value = (run: Run) => (figure ? run.figures.get(figure.name) : undefined) ?? -Infinity;
  const sign = figure?.better === 'lower' ? -1 : 1;
  return page.groups
    .map((group) => group.runs.filter((run) => run.path && isJudged(run)).sort((a, b) => sign * (value(b) - value(a)))[0])
    .filter((run): run is Run => run !== undefined)
    .sort((a, b) => (a.path?.ns ?? 0) - (b.path?.ns ?? 0));
}

export class PathsPanel {
  readonly panel = new Panel('paths', 'Critical path', 'wide');
  private readonly chart = new Chart((event) => this.clicked(event.data));
  private readonly table = new DataTable();
  private readonly key = h('div', { class: 'key' });
  private readonly detail = h('div', { class: 'path-detail' });

  draw(): void {
    const page = thePage();
    const shown = shownRun((run) => run.path !== null);
    if (!shown) {
      this.panel.setTools();
      this.panel.setEmpty('No run tells its slowest path yet; an implementation does once its routing is done.', 'xp launch');
      return;
    }
    const best = bestOfGroups(page);
    const bars = (best.length ? best : [shown]).slice(0, MOST_BARS);
    if (!bars.includes(shown)) bars.push(shown);
    const names = partsOf(bars);
    const words = leadOf(bars);
    this.panel.setLead(words);
    this.panel.setTools();
    this.chart.set(64 + bars.length * 30, `Stacked bars. ${words}`, () => this.option(page, bars, names));
    replace(this.key, legend(names.map((name) => ({ name: partText(name), colour: partColour(name) }))));
    this.table.set({
      caption: 'Parts of the slowest paths, ns',
      head: ['Run', page.groupWord === 'family' ? 'Family' : 'Strategy', ...names.map((name) => `${partText(name)}, ns`), 'All, ns'],
      rows: () => bars.map((run) => [h('a', { href: runAddress(run.name) }, run.name), run.group, ...names.map((name) => numberText(run.path?.parts.get(name) ?? 0, 2, true)), numberText(run.path?.ns ?? 0, 2, true)]),
    });
    this.drawDetail(page, shown);
    replace(this.panel.body, h('div', { class: 'path-overview' }, this.key, this.chart.element, this.table.element), this.detail);
  }

  private drawDetail(page: Page, run: Run): void {
    const path = run.path;
    if (!path) return;
    const known = page.runs.filter((each) => each.path !== null);
    replace(
      this.detail,
      h(
        'div',
        { class: 'detail-head' },
        h('h3', null, 'Path of ', h('a', { href: runAddress(run.name) }, run.name)),
        choice(
          'Run',
          known.map((each) => [each.name, each.name]),
          run.name,
          (name) => select(name),
        ),
      ),
      h('p', { class: 'lead' }, pathLead(run)),
      pathView(page, path),
    );
  }

  private clicked(data: unknown): void {
    const name = (data as { run?: string } | null)?.run;
    if (name) select(name);
  }

  private option(page: Page, bars: Run[], names: string[]): Record<string, unknown> {
    const colours = ink();
    const goal = page.project.goalMhz;
    const labels = fittingNames(bars.map((run) => run.name), 2 * this.chart.labelWidth);
    const byLabel = new Map(bars.map((run) => [run.name, run]));
    const longest = Math.max(...bars.map((run) => run.path?.ns ?? 0), goal ? 1000 / goal : 0);
    return {
      ...baseOption(),
      grid: { left: 12, right: 30, top: 22, bottom: 26, containLabel: true },
      xAxis: valueAxis('ns', { nameLocation: 'middle', nameGap: 26, scale: false, min: 0, max: Math.ceil(longest * 1.05) }),
      yAxis: {
        type: 'category',
        inverse: true,
        data: bars.map((run) => run.name),
        axisLine: { show: false },
        axisTick: { show: false },
        axisLabel: { color: (name?: string | number) => (String(name) === selectedRun()?.name ? colours.accent : colours.text), fontSize: 12, width: this.chart.labelWidth, overflow: 'breakAll', lineHeight: 13, interval: 0, formatter: (_: string, i: number) => labels[i] },
      },
      tooltip: {
        ...(baseOption().tooltip as object),
        formatter: (event: { data: { run: string } }) => {
          const run = byLabel.get(event.data.run);
          if (!run?.path) return '';
          return tip(run.name, [...names.map((name): [string, string] => [partText(name), `${numberText(run.path?.parts.get(name) ?? 0)} ns`]), ['all', `${numberText(run.path.ns)} ns`]]);
        },
      },
      series: names.map((name, i) => ({
        name: partText(name),
        type: 'bar',
        stack: 'path',
        barWidth: 18,
        itemStyle: { color: partColour(name), borderColor: colours.panel, borderWidth: 1 },
        data: bars.map((run) => ({ run: run.name, value: run.path?.parts.get(name) ?? 0 })),
        markLine:
          i === 0 && goal
            ? { silent: true, symbol: 'none', lineStyle: { color: colours.good, type: 'solid', width: 1.5 }, label: { formatter: `goal ${numberText(1000 / goal)} ns`, color: colours.dim, fontSize: 12, position: 'start' }, data: [{ xAxis: 1000 / goal }] }
            : undefined,
      })),
    };
  }
}

function partsOf(runs: Run[]): string[] {
  const found = new Set(runs.flatMap((run) => [...(run.path?.parts.keys() ?? [])]));
  return [...ORDER.filter((name) => found.has(name)), ...[...found].filter((name) => !ORDER.includes(name))];
}

function leadOf(bars: Run[]): string {
  const shares = bars.map((run) => ((run.path?.parts.get('routing') ?? 0) / Math.max(run.path?.ns ?? 1, 1e-9)) * 100);
  const low = Math.min(...shares);
  const high = Math.max(...shares);
  const range = high - low < 1 ? `${numberText(high, 0)}\u202f%` : `${numberText(low, 0)} to ${numberText(high, 0)}\u202f%`;
  return `Routing takes ${range} of the slowest path${bars.length > 1 ? 's' : ''}.`;
}

/** "14.33 ns on clock clk through 27 levels of logic; 57 % of it is routing." */
export function pathLead(run: Run): string {
  const { path } = run;
  if (!path) return '';
  const levels = path.levels ?? path.points.filter((point) => point.kind === 'logic').length;
  const routing = path.parts.get('routing');
  const share = routing !== undefined && path.ns > 0 ? `; ${numberText((routing / path.ns) * 100, 0)}\u202f% of it is routing` : '';
  return `${numberText(path.ns)}\u202fns on ${path.clock && path.clock !== 'no clock' ? `clock ${path.clock}` : 'no clock'}${levels ? ` through ${plural(levels, 'level')} of logic` : ''}${share}.`;
}
