// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// A chart in its panel: a heading, what it shows in words, the chart itself as one image
// for screen readers, and the same as a table.
import './safeText';
import { BarChart, CustomChart, LineChart, ScatterChart } from 'echarts/charts';
import { DataZoomComponent, GridComponent, MarkLineComponent, TooltipComponent } from 'echarts/components';
import * as echarts from 'echarts/core';
import { SVGRenderer } from 'echarts/renderers';
import { announce, h, newId, replace } from './dom';
import { listText } from './format';
import type { Page } from './model';
import { ink } from './palette';
import { isHidden, selectedRun, showAllGroups, toggleGroup } from './store';
import { currentTheme } from './theme';

echarts.use([
  BarChart,
  CustomChart,
  LineChart,
  ScatterChart,
  DataZoomComponent,
  GridComponent,
  MarkLineComponent,
  TooltipComponent,
  SVGRenderer,
]);

export type Option = Record<string, unknown>;
export type Click = (event: { seriesName?: string; data?: unknown; value?: unknown; dataIndex: number }) => void;

export const FONT = 'system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif';

/** A box of the page with a heading of its own. */
export class Panel {
  readonly element: HTMLElement;
  readonly body = h('div', { class: 'panel-body' });
  private readonly tools = h('div', { class: 'tools' });
  private readonly lead = h('p', { class: 'lead' });

  constructor(id: string, title: string, extra = '') {
    const heading = newId('heading');
    this.element = h(
      'section',
      { class: `panel ${extra}`, id, 'aria-labelledby': heading },
      h('div', { class: 'panel-head' }, h('h2', { id: heading, tabindex: '-1' }, title), this.tools),
      this.lead,
      this.body,
    );
    this.lead.hidden = true;
  }

  addTool(...tools: Node[]): void {
    this.tools.append(...tools);
  }

  setTools(...tools: Node[]): void {
    replace(this.tools, tools);
  }

  setTitle(title: string): void {
    const heading = this.element.querySelector('h2');
    if (heading) heading.textContent = title;
  }

  /** What the panel shows, in words. */
  setLead(...content: (Node | string)[]): void {
    this.lead.hidden = content.length === 0;
    replace(this.lead, content);
  }

  /** Says that there is nothing to show, and what to do for something to be. */
  setEmpty(text: string, command = ''): void {
    this.setLead();
    replace(
      this.body,
      h('div', { class: 'empty' }, h('p', null, text), command && h('p', null, 'Type ', h('code', null, command))),
    );
  }
}

interface TableOf {
  caption: string;
  head: string[];
  /** A row's first cell is its heading; numbers are set to the right. */
  rows: () => (Node | string | number)[][];
}

/** The table form of a chart, made when it is opened. */
export class DataTable {
  readonly element: HTMLDetailsElement;
  private table: TableOf | null = null;
  private readonly place = h('div', { class: 'table-scroll', tabindex: '0', role: 'region' });

  constructor(summary = 'Show as a table') {
    this.element = h('details', { class: 'data-table', ontoggle: () => this.draw() }, h('summary', null, summary), this.place);
  }

  set(table: TableOf): void {
    this.table = table;
    this.place.setAttribute('aria-label', table.caption);
    this.draw();
  }

  private draw(): void {
    if (!this.element.open || !this.table) return;
    const { caption, head, rows } = this.table;
    replace(this.place, plainTable(caption, head, rows()));
  }
}

export function plainTable(caption: string, head: string[], rows: (Node | string | number)[][]): HTMLTableElement {
  const isNumber = (cell: unknown) => typeof cell === 'number' || (typeof cell === 'string' && /^[+\u2212\u00b1-]?[\d.\u202f]+(\u202f\S+)?$/.test(cell));
  const numeric = head.map((_, i) => rows.some((row) => isNumber(row[i])) && rows.every((row) => row[i] === '' || isNumber(row[i])));
  const side = (i: number) => (numeric[i] ? 'number' : null);
  return h(
    'table',
    { class: 'plain' },
    h('caption', { class: 'vh' }, caption),
    h('thead', null, h('tr', null, head.map((cell, i) => h('th', { scope: 'col', class: side(i) }, cell)))),
    h(
      'tbody',
      null,
      rows.map((row) =>
        h(
          'tr',
          null,
          row.map((cell, i) =>
            i === 0
              ? h('th', { scope: 'row', class: side(i) }, cell)
              : h('td', { class: side(i) }, cell),
          ),
        ),
      ),
    ),
  );
}

const charts = new Set<Chart>();

/** A chart of ECharts that is drawn once it comes into view. */
export class Chart {
  readonly element = h('div', { class: 'chart', role: 'img' });
  private readonly holder = h('div', { class: 'chart-holder', 'aria-hidden': 'true' });
  private chart: echarts.ECharts | null = null;
  private option: (() => Option) | null = null;
  private isSeen = false;
  private isDirty = false;
  private height = 0;
  /** What the chart was last drawn from. */
  private stamp = '';
  private size = '';

  constructor(private readonly clicked: Click | null = null) {
    this.element.append(this.holder);
    charts.add(this);
    new IntersectionObserver((entries) => {
      this.isSeen = entries.some((entry) => entry.isIntersecting);
      if (this.isSeen) this.draw();
    }, { rootMargin: '300px' }).observe(this.element);
    new ResizeObserver(() => this.resize()).observe(this.element);
  }

  /** `option` is asked for whenever the chart is drawn, so that it takes the theme of then. */
  set(height: number, words: string, option: () => Option): void {
    this.element.setAttribute('aria-label', words);
    this.height = height;
    this.element.style.height = `${height}px`;
    this.option = option;
    this.isDirty = true;
    if (this.isSeen) this.draw();
  }

  /** What names beside an axis may take of the width. */
  get labelWidth(): number {
    const width = this.element.clientWidth;
    return width < 420 ? 88 : width < 560 ? 120 : 150;
  }

  redraw(isForced: boolean): void {
    this.isDirty = true;
    if (this.isSeen || isForced) this.draw();
  }

  private draw(): void {
    if (!this.isDirty || !this.option || this.element.clientWidth === 0 || this.height === 0) return;
    this.isDirty = false;
    if (!this.chart) {
      this.chart = echarts.init(this.holder, null, { renderer: 'svg' });
      this.chart.on('click', (event) => this.clicked?.(event as never));
    }
    const size = `${this.element.clientWidth} ${this.height}`;
    if (size !== this.size) this.chart.resize();
    this.size = size;
    const option = this.option();
    const stamp = JSON.stringify([option, selectedRun()?.name, currentTheme()]);
    if (stamp === this.stamp) return;
    this.stamp = stamp;
    this.chart.setOption(option as never, { notMerge: true });
    this.element.dataset.drawn = String(Number(this.element.dataset.drawn ?? 0) + 1);
  }

  private resize(): void {
    if (this.isDirty) this.draw();
    else if (this.element.clientWidth > 0) this.chart?.resize();
  }
}

/** Draws all charts anew: the theme has changed, or (`isForced`) paper shows all of them. */
export function redrawCharts(isForced = false): void {
  charts.forEach((chart) => chart.redraw(isForced));
}

/** What all charts have in common. */
export function baseOption(): Option {
  const { text, panel, line } = ink();
  return {
    animation: false,
    textStyle: { fontFamily: FONT, fontSize: 12 },
    tooltip: {
      trigger: 'item',
      confine: true,
      transitionDuration: 0,
      backgroundColor: panel,
      borderColor: line,
      padding: [6, 10],
      textStyle: { color: text, fontSize: 12, fontFamily: FONT },
    },
  };
}

/** Lines of a tooltip: a title, then names with values. As elements, so that names stay texts. */
export function tip(title: string, rows: [string, string][]): HTMLElement {
  return h(
    'div',
    { class: 'tip' },
    h('div', { class: 'tip-title' }, title),
    rows.map(([name, value]) => h('div', { class: 'tip-row' }, h('span', null, name), h('b', null, value))),
  );
}

export function valueAxis(name: string, more: Option = {}): Option {
  const { dim, faint, line } = ink();
  return {
    type: 'value',
    name,
    scale: true,
    nameTextStyle: { color: dim, fontSize: 12 },
    nameTruncate: { maxWidth: 260, ellipsis: '\u2026' },
    axisLabel: { color: dim, fontSize: 12, showMaxLabel: 'max' in more ? false : undefined, formatter: (value: number) => axisNumber(value) },
    axisLine: { show: false, lineStyle: { color: line } },
    axisTick: { show: false },
    splitLine: { lineStyle: { color: faint } },
    ...more,
  };
}

function axisNumber(value: number): string {
  return String(Number(value.toPrecision(6))).replace('-', '\u2212').replace(/\B(?=(\d{3})+$)/g, (_, __, at: number, all: string) => (all.length > 4 && !all.includes('.') && at >= 0 ? '\u202f' : ''));
}

interface Entry {
  name: string;
  colour: string;
  shape?: string;
  /** The family that a press leaves out of the charts, or brings back. */
  group?: string;
}

/** A legend of marks and names. */
export function legend(entries: Entry[]): HTMLElement {
  return h('ul', { class: 'legend' }, entries.map((entry) => h('li', null, entry.group === undefined ? key(entry) : groupButton(entry, entry.group))));
}

function key({ name, colour, shape }: Entry): Node[] {
  return [swatch(colour, shape ?? 'rect'), h('span', null, name)];
}

function groupButton(entry: Entry, group: string): HTMLElement {
  const isShown = !isHidden(group);
  const pressed = () => {
    toggleGroup(group);
    announce(`${entry.name} is ${isHidden(group) ? 'left out of' : 'back in'} the charts.`);
  };
  return h('button', { type: 'button', 'aria-pressed': String(isShown), 'data-group': group, title: isShown ? 'Leave it out of the charts' : 'Bring it back into the charts', onclick: pressed }, key(entry));
}

/** Which families the charts leave out, and how to have them back; false for none. */
export function hiddenHint(page: Page): HTMLElement | false {
  const names = page.groups.map((group) => group.name).filter(isHidden);
  if (isHidden('')) names.push(`runs of no ${page.groupWord}`);
  return names.length > 0 && h('p', { class: 'hint hidden-groups' }, `Left out: ${listText(names, 4)}. `, h('button', { type: 'button', class: 'quiet', onclick: showAllGroups }, 'Show all'));
}

const OUTLINES: Record<string, string> = {
  circle: 'M8 3a5 5 0 1 1 0 10a5 5 0 0 1 0-10z',
  triangle: 'M8 3l5.4 9.6H2.6z',
  rect: 'M3.4 3.4h9.2v9.2H3.4z',
  diamond: 'M8 2l5.4 6L8 14 2.6 8z',
  pin: 'M8 14L4.2 8.4a4.4 4.4 0 1 1 7.6 0z',
  roundRect: 'M5.4 3h5.2A2.4 2.4 0 0 1 13 5.4v5.2a2.4 2.4 0 0 1-2.4 2.4H5.4A2.4 2.4 0 0 1 3 10.6V5.4A2.4 2.4 0 0 1 5.4 3z',
  arrow: 'M8 2.4l5 11-5-2.6-5 2.6z',
};

export function swatch(colour: string, shape: string): SVGElement {
  const place = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  place.setAttribute('class', 'swatch');
  place.setAttribute('viewBox', '0 0 16 16');
  place.setAttribute('aria-hidden', 'true');
  const path = document.createElementNS('http://www.w3.org/2000/svg', 'path');
  path.setAttribute('d', OUTLINES[shape] ?? OUTLINES.rect);
  path.setAttribute('fill', colour);
  place.append(path);
  return place;
}

export { echarts };
