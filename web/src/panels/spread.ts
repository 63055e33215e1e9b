// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// How seeds scatter a figure in each family, and whether families differ.
import { baseOption, Chart, DataTable, hiddenHint, Panel, tip, valueAxis } from '../chart';
import { choice, h, replace } from '../dom';
import { fittingNames, inTwoLines, listText, numberText, plural, withUnit } from '../format';
import { figureOf, figuresInUse, figureTitle, isJudged, mainFigure, type ComparedFigure, type Comparison, type Figure, type Page, type Run } from '../model';
import { groupColour, groupShape, ink } from '../palette';
import { summaryOf, type Summary } from '../statistics';
import { isHidden, select, selectedRun, thePage } from '../store';

interface Spread {
  name: string;
  runs: Run[];
  summary: Summary;
}

const SWEEP = 'xp sweep night --strategies Default,Performance --seeds 1-6';

/** Families beyond these are in the table only. */
const MOST_ROWS = 24;
/** Verdicts beyond these are folded. */
const MOST_VERDICTS = 6;

export class SpreadPanel {
  readonly panel = new Panel('spread', 'Spread over seeds');
  private readonly chart = new Chart((event) => this.clicked(event.data));
  private readonly table = new DataTable();
  private readonly verdicts = h('div', { class: 'verdicts' });
  private figure = '';

  draw(): void {
    const page = thePage();
    const figure = figureOf(page, this.figure) ?? mainFigure(page);
    const all = figure ? spreadsOf(page, figure) : [];
    this.panel.setTitle(`Spread over seeds, by ${page.groupWord}`);
    if (!figure || all.length === 0) {
      this.panel.setTools();
      this.panel.setEmpty('No family has a run that is done. A sweep makes families of runs that differ in their seed alone.', SWEEP);
      return;
    }
    const options = figuresInUse(page).map((each): [string, string] => [each.name, each.label]);
    this.panel.setTools(choice('Figure', options, figure.name, (value) => {
      this.figure = value;
      this.draw();
    }));
    const spreads = all.filter(({ name }) => !isHidden(name));
    const shown = spreads.slice(0, MOST_ROWS);
    const words = leadOf(spreads, figure);
    this.panel.setLead(words);
    this.chart.set(64 + shown.length * 44, `Strip chart with medians and quartiles. ${words}`, () => this.option(page, figure, shown));
    this.drawVerdicts(page, figure);
    const decimals = page.decimals.get(figure.name) ?? 2;
    this.table.set({
      caption: `${figure.label} of each ${page.groupWord}`,
      head: [page.groupWord === 'family' ? 'Family' : 'Strategy', 'Runs', 'Least', 'Lower quartile', 'Median', 'Upper quartile', 'Greatest'],
      rows: () => spreads.map(({ name, summary }) => [name, summary.count, ...[summary.least, summary.lower, summary.median, summary.upper, summary.greatest].map((value) => numberText(value, Math.max(decimals, 1), true))]),
    });
    replace(
      this.panel.body,
      hiddenHint(page),
      this.chart.element,
      spreads.length > shown.length && h('p', { class: 'hint' }, `The ${MOST_ROWS} best of ${spreads.length} are drawn; the table has all.`),
      this.verdicts,
      page.groups.filter((group) => group.differing.length > 0).map((group) => h('p', { class: 'hint' }, `The runs of ${group.name} differ in more than their seed: ${listText(group.differing)}.`)),
      this.table.element,
    );
  }

  private drawVerdicts(page: Page, figure: Figure): void {
    const rows = page.comparisons.flatMap((comparison) => {
      const found = comparison.figures.find((each) => each.figure === figure.name);
      return found && found.verdict ? [{ comparison, row: found }] : [];
    });
    if (rows.length === 0) {
      const isMany = page.groups.length > 1;
      replace(this.verdicts, h('p', { class: 'hint' }, isMany ? `No verdict on ${figure.label}: it takes two families with two seeds each at least. ` : 'One family alone has nothing to be compared with. ', 'Type ', h('code', null, SWEEP), ' for more.'));
      return;
    }
    const items = rows.map(({ comparison, row }) => verdictItem(page, comparison, row));
    replace(
      this.verdicts,
      h('h3', null, 'Is the difference real?'),
      h('ul', null, items.slice(0, MOST_VERDICTS)),
      items.length > MOST_VERDICTS && h('details', null, h('summary', null, plural(items.length - MOST_VERDICTS, 'more comparison')), h('ul', null, items.slice(MOST_VERDICTS))),
    );
  }

  private clicked(data: unknown): void {
    const name = (data as { run?: string } | null)?.run;
    if (name) select(name === selectedRun()?.name ? '' : name);
  }

  private option(page: Page, figure: Figure, spreads: Spread[]): Record<string, unknown> {
    const colours = ink();
    const chosen = selectedRun()?.name;
    const names = fittingNames(spreads.map((spread) => spread.name), 2 * this.chart.labelWidth).map((name) => inTwoLines(name, this.chart.labelWidth));
    const dots = spreads.map(({ name, runs }, row) => ({
      name,
      type: 'scatter',
      symbol: groupShape(page, name),
      symbolSize: runs.length > 40 ? 5 : 10,
      z: runs.length > 40 ? 1 : 4,
      itemStyle: { color: groupColour(page, name), opacity: runs.length > 40 ? 0.6 : 0.9, borderColor: colours.panel, borderWidth: runs.length > 40 ? 0 : 1 },
      data: runs.map((run, i) => ({
        run: run.name,
        value: [run.figures.get(figure.name), row],
        symbolOffset: [0, shiftOf(i, runs.length)],
        itemStyle: run.name === chosen ? { borderColor: colours.accent, borderWidth: 3, opacity: 1 } : undefined,
      })),
    }));
    return {
      ...baseOption(),
      grid: { left: 12, right: 24, top: 8, bottom: 30, containLabel: true },
      xAxis: valueAxis(figureTitle(figure), { nameLocation: 'middle', nameGap: 28, boundaryGap: ['4%', '4%'], splitNumber: 5 }),
      yAxis: {
        type: 'category',
        inverse: true,
        data: spreads.map((spread) => spread.name),
        axisLine: { show: false },
        axisTick: { show: false },
        axisLabel: {
          color: colours.text,
          fontSize: 12,
          width: this.chart.labelWidth,
          overflow: 'breakAll',
          formatter: (_: string, i: number) => `${names[i]}\n${plural(spreads[i].summary.count, 'run')}`,
          lineHeight: 14,
        },
      },
      tooltip: {
        ...(baseOption().tooltip as object),
        formatter: (event: { seriesType: string; data: { run?: string } & unknown[]; dataIndex: number }) => {
          if (event.seriesType === 'custom') return summaryTip(spreads[event.dataIndex], figure);
          const run = thePage().byName.get(event.data.run ?? '');
          return run ? tip(run.name, [[figure.label, withUnit(run.figures.get(figure.name) ?? NaN, figure.unit)], ['seed', run.seed === null ? 'none' : String(run.seed)]]) : '';
        },
      },
      series: [boxes(page, spreads), ...dots],
    };
  }
}

/** Up or down, so that marks of like values don't hide each other. */
function shiftOf(i: number, count: number): number {
  if (count < 2) return 0;
  return count > 40 ? (((i * 29) % 27) - 13) * 1.1 : (((i * 7) % 5) - 2) * 3.4;
}

function spreadsOf(page: Page, figure: Figure): Spread[] {
  const sign = figure.better === 'lower' ? 1 : -1;
  return page.groups
    .flatMap((group) => {
      const runs = group.runs.filter((run) => isJudged(run) && run.figures.has(figure.name));
      const summary = summaryOf(runs.map((run) => run.figures.get(figure.name) as number));
      return summary ? [{ name: group.name, runs, summary }] : [];
    })
    .sort((a, b) => sign * (a.summary.median - b.summary.median));
}

function leadOf(spreads: Spread[], figure: Figure): string {
  if (spreads.length === 0) return 'All of them are left out.';
  const [best] = spreads;
  const range = (spread: Spread) => (spread.summary.median === 0 ? 0 : ((spread.summary.greatest - spread.summary.least) / Math.abs(spread.summary.median)) * 100);
  const widest = [...spreads].sort((a, b) => range(b) - range(a))[0];
  const first = `${spreads.length > 1 ? 'Best median' : 'Median'}: ${best.name}, ${withUnit(best.summary.median, figure.unit)} over ${plural(best.summary.count, 'seed')}.`;
  return widest.summary.count < 2 || range(widest) === 0 ? first : `${first} Seeds alone scatter a ${spreads.length > 1 ? 'family' : 'figure'} by up to ${numberText(range(widest), 1)}\u202f%${spreads.length > 1 ? ` (${widest.name})` : ''}.`;
}

function summaryTip({ name, summary }: Spread, figure: Figure): HTMLElement {
  const shown = (value: number) => withUnit(value, figure.unit);
  return tip(name, [
    ['median', shown(summary.median)],
    ['quartiles', `${numberText(summary.lower)} to ${shown(summary.upper)}`],
    ['range', `${numberText(summary.least)} to ${shown(summary.greatest)}`],
    ['runs', String(summary.count)],
  ]);
}

interface Api {
  value(dimension: number): number;
  coord(point: [number, number]): [number, number];
}

/** From quartile to quartile a box, from least to greatest a line, at the median a bar. */
function boxes(page: Page, spreads: Spread[]): unknown {
  const { text } = ink();
  return {
    type: 'custom',
    z: 2,
    data: spreads.map(({ summary }, row) => [row, summary.least, summary.lower, summary.median, summary.upper, summary.greatest]),
    encode: { x: [1, 2, 3, 4, 5], y: 0 },
    renderItem: (_: unknown, api: Api) => {
      const row = api.value(0);
      const at = (dimension: number) => api.coord([api.value(dimension), row]);
      const [, y] = at(3);
      const colour = groupColour(page, spreads[row].name);
      const [least, lower, median, upper, greatest] = [1, 2, 3, 4, 5].map((dimension) => at(dimension)[0]);
      return {
        type: 'group',
        children: [
          { type: 'line', shape: { x1: least, y1: y, x2: greatest, y2: y }, style: { stroke: colour, lineWidth: 1.5, opacity: 0.6 } },
          { type: 'rect', shape: { x: lower, y: y - 14, width: Math.max(upper - lower, 1), height: 28, r: 3 }, style: { fill: colour, opacity: 0.2 } },
          { type: 'rect', shape: { x: median - 1.5, y: y - 17, width: 3, height: 34 }, style: { fill: text } },
        ],
      };
    },
  };
}

const VERDICT_MARKS = { better: '\u25b2', worse: '\u25bc', differs: '\u2260', same: '=', open: '?' };

function senseOf(row: ComparedFigure): keyof typeof VERDICT_MARKS {
  if (/^can't tell/i.test(row.verdict)) return 'open';
  if (/^no real/i.test(row.verdict)) return 'same';
  if (/^better/i.test(row.verdict)) return 'better';
  return /^worse/i.test(row.verdict) ? 'worse' : 'differs';
}

/** "DepthMap against Default: no real difference", and by which test. */
function verdictItem(page: Page, comparison: Comparison, row: ComparedFigure): HTMLElement {
  const sense = senseOf(row);
  const name = (family: string) => h('b', { style: `--family: ${groupColour(page, family)}`, class: 'family-name' }, family);
  const chance = row.chance === null || row.test === '' ? '' : `; chance of it without a difference ${row.chance < 0.001 ? 'below 0.001' : numberText(row.chance, 3)}`;
  return h(
    'li',
    { class: `verdict verdict-${sense}` },
    h('span', { class: 'verdict-mark', 'aria-hidden': 'true' }, VERDICT_MARKS[sense]),
    h('div', null, h('p', null, name(comparison.other), ' against ', name(comparison.base), ': ', h('span', { class: 'verdict-words' }, row.verdict), '.'), row.test && h('p', { class: 'test' }, `${row.test[0].toUpperCase()}${row.test.slice(1)}${chance}.`)),
  );
}
