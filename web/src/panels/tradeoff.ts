// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// One figure against another, a mark a run: by itself Fmax against area.
import { baseOption, Chart, DataTable, hiddenHint, legend, Panel, tip, valueAxis } from '../chart';
import { choice, h, replace } from '../dom';
import { listText, numberText, plural, withUnit } from '../format';
import { areaFigure, figureOf, figuresInUse, figureTitle, isJudged, mainFigure, type Figure, type Page, type Run } from '../model';
import { groupColour, groupShape, ink } from '../palette';
import { statusText } from '../status';
import { frontierOf } from '../statistics';
import { isHidden, runAddress, select, selectedRun, thePage } from '../store';

interface Dot {
  x: number;
  y: number;
  run: Run;
}

export class TradeoffPanel {
  readonly panel = new Panel('tradeoff', 'Fmax against area');
  private readonly chart = new Chart((event) => this.clicked(event.data));
  private readonly table = new DataTable();
  private readonly key = h('div', { class: 'key' });
  private x = '';
  private y = '';

  draw(): void {
    const page = thePage();
    const y = figureOf(page, this.y) ?? mainFigure(page);
    const x = figureOf(page, this.x) ?? areaFigure(page) ?? figuresInUse(page).find((figure) => figure !== y);
    const all = x && y ? dotsOf(page, x, y) : [];
    if (!x || !y || all.length === 0) {
      this.panel.setTools();
      this.panel.setTitle('Fmax against area');
      if (page.runs.length === 0) this.panel.setEmpty('Runs that are done show here what speed costs in area.', 'xp launch');
      else this.panel.setEmpty('No run tells both figures yet; an implementation does once its routing is done.', 'xp launch');
      return;
    }
    this.panel.setTitle(`${y.label} against ${x === areaFigure(page) && y.name === 'fmax' ? `area (${x.label.toLowerCase()})` : x.label}`);
    this.drawTools(page, x, y);
    const dots = all.filter((dot) => !isHidden(dot.run.group));
    const frontier = frontierOf(dots.filter((dot) => isJudged(dot.run)), x.better === 'higher', y.better !== 'lower');
    const words = leadOf(frontier, dots, x, y);
    this.panel.setLead(words);
    this.chart.set(400, `Scatter chart. ${words}`, () => this.option(page, x, y, dots, frontier));
    const used = new Set(all.map((dot) => dot.run.group));
    replace(
      this.key,
      legend([
        ...page.groups.filter((group) => used.has(group.name)).map((group) => ({ name: group.name, group: group.name, colour: groupColour(page, group.name), shape: groupShape(page, group.name) })),
        ...(used.has('') ? [{ name: `no ${page.groupWord}`, group: '', colour: groupColour(page, ''), shape: 'circle' }] : []),
      ]),
    );
    this.table.set({
      caption: `${y.label} and ${x.label} of each run`,
      head: ['Run', page.groupWord === 'family' ? 'Family' : 'Strategy', figureTitle(y), figureTitle(x), 'On the frontier'],
      rows: () =>
        [...dots]
          .sort((a, b) => (y.better === 'lower' ? a.y - b.y : b.y - a.y))
          .map((dot) => [
            h('a', { href: runAddress(dot.run.name) }, dot.run.name),
            dot.run.group,
            numberText(dot.y, page.decimals.get(y.name) ?? 2, true),
            numberText(dot.x, page.decimals.get(x.name) ?? 2, true),
            frontier.includes(dot) ? 'yes' : '',
          ]),
    });
    replace(this.panel.body, this.key, hiddenHint(page), this.chart.element, this.table.element);
  }

  private drawTools(page: Page, x: Figure, y: Figure): void {
    const options = figuresInUse(page).map((figure): [string, string] => [figure.name, figure.label]);
    this.panel.setTools(
      choice('Up', options, y.name, (value) => {
        this.y = value;
        this.draw();
      }),
      choice('Across', options, x.name, (value) => {
        this.x = value;
        this.draw();
      }),
    );
  }

  private clicked(data: unknown): void {
    const name = (data as { run?: string } | null)?.run;
    if (name) select(name === selectedRun()?.name ? '' : name);
  }

  private option(page: Page, x: Figure, y: Figure, dots: Dot[], frontier: Dot[]): Record<string, unknown> {
    const colours = ink();
    const groups = [...new Set(dots.map((dot) => dot.run.group))];
    const item = (dot: Dot) => ({
      run: dot.run.name,
      value: [dot.x, dot.y],
      itemStyle: isJudged(dot.run) ? undefined : { color: colours.panel, borderColor: groupColour(page, dot.run.group), borderWidth: 2, opacity: 1 },
    });
    const series: unknown[] = groups.map((group) => ({
      name: group,
      type: 'scatter',
      symbol: groupShape(page, group),
      symbolSize: dots.length > 300 ? 8 : 11,
      itemStyle: { color: groupColour(page, group), opacity: 0.85, borderColor: colours.panel, borderWidth: 1 },
      emphasis: { scale: 1.3 },
      data: dots.filter((dot) => dot.run.group === group).map(item),
    }));
    series.unshift({
      type: 'line',
      step: x.better === 'higher' ? 'start' : 'end',
      silent: true,
      symbol: 'none',
      lineStyle: { color: colours.dim, type: [5, 4], width: 1.5 },
      data: frontierLine(frontier, dots, x, y),
      z: 4,
      markLine: goalLine(page, y),
    });
    series.push(rings(page, dots));
    return {
      ...baseOption(),
      grid: { left: 12, right: 24, top: 28, bottom: 26, containLabel: true },
      xAxis: valueAxis(figureTitle(x), { nameLocation: 'middle', nameGap: 30, boundaryGap: ['6%', '6%'], splitNumber: 4 }),
      yAxis: valueAxis(figureTitle(y), { nameTextStyle: { color: colours.dim, align: 'left', fontSize: 12 }, boundaryGap: ['6%', '10%'] }),
      tooltip: {
        ...(baseOption().tooltip as object),
        formatter: (event: { data?: { run?: string } }) => {
          const run = thePage().byName.get(event.data?.run ?? '');
          if (!run) return '';
          return tip(run.name, [
            [page.groupWord, run.group || 'none'],
            [y.label, withUnit(run.figures.get(y.name) ?? NaN, y.unit)],
            [x.label, withUnit(run.figures.get(x.name) ?? NaN, x.unit)],
            ['status', statusText(run)],
          ]);
        },
      },
      series,
    };
  }
}

function dotsOf(page: Page, x: Figure, y: Figure): Dot[] {
  return page.runs.flatMap((run) => {
    const across = run.figures.get(x.name);
    const up = run.figures.get(y.name);
    return across === undefined || up === undefined ? [] : [{ x: across, y: up, run }];
  });
}

function leadOf(frontier: Dot[], dots: Dot[], x: Figure, y: Figure): string {
  if (dots.length === 0) return 'All of these runs are left out; press a name to bring some back.';
  if (frontier.length === 0) return `${plural(dots.length, 'run')}; none is done and up to date.`;
  const shown = (dot: Dot) => `${dot.run.name} (${withUnit(dot.y, y.unit)}, ${withUnit(dot.x, x.unit)})`;
  const fewer = `no other run is better in one of the two and as good in the other`;
  return `On the frontier, the dashed line: ${listText(frontier.map(shown), 3)}; ${fewer}.`;
}

function goalLine(page: Page, y: Figure): unknown {
  const goal = page.project.goalMhz;
  if (y.name !== 'fmax' || goal === null) return undefined;
  const { good, dim, panel } = ink();
  return {
    silent: true,
    symbol: 'none',
    lineStyle: { color: good, type: 'solid', width: 1.5 },
    label: { formatter: `goal ${numberText(goal)}`, color: dim, position: 'insideEndTop', fontSize: 12, backgroundColor: panel, padding: [1, 4] },
    data: [{ yAxis: goal }],
  };
}

/** Through the frontier and on from its ends, so that it parts what is beaten from what isn't. */
function frontierLine(frontier: Dot[], dots: Dot[], x: Figure, y: Figure): number[][] {
  if (frontier.length === 0) return [];
  const line = frontier.map((dot) => [dot.x, dot.y]);
  const xs = dots.map((dot) => dot.x);
  const ys = dots.map((dot) => dot.y);
  const worstY = y.better === 'lower' ? Math.max(...ys) : Math.min(...ys);
  if (x.better === 'higher') return [[Math.min(...xs), line[0][1]], ...line, [line[line.length - 1][0], worstY]];
  return [[line[0][0], worstY], ...line, [Math.max(...xs), line[line.length - 1][1]]];
}

/** Rings around the best runs, named, and around the selected one. */
function rings(page: Page, dots: Dot[]): unknown {
  const { text, accent, panel } = ink();
  const chosen = selectedRun()?.name;
  const ring = (dot: Dot, colour: string, size: number, isNamed: boolean) => ({
    run: dot.run.name,
    value: [dot.x, dot.y],
    symbolSize: size,
    itemStyle: { color: 'transparent', borderColor: colour, borderWidth: 2 },
    label: { show: isNamed, position: namePlace(dot, dots), distance: 6, formatter: () => dot.run.name, color: text, fontSize: 12, fontWeight: 600, textBorderColor: panel, textBorderWidth: 3 },
  });
  const best = dots.filter((dot) => page.best.runs.includes(dot.run.name));
  return {
    type: 'scatter',
    symbol: 'circle',
    cursor: 'pointer',
    z: 5,
    data: [
      ...best.map((dot, i) => ring(dot, text, 19, i === 0)),
      ...dots.filter((dot) => dot.run.name === chosen).map((dot) => ring(dot, accent, 25, !best.includes(dot))),
    ],
  };
}

/** Where the name of a ringed dot stands: towards the middle, so that the edge cuts no letter. */
function namePlace(dot: Dot, dots: Dot[]): string {
  const xs = dots.map((each) => each.x);
  const least = Math.min(...xs);
  const span = Math.max(...xs) - least;
  const part = span > 0 ? (dot.x - least) / span : 0.5;
  return part < 0.3 ? 'right' : part > 0.7 ? 'left' : 'top';
}
