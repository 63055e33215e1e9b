// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// How a figure went from night to night, and where it got worse.
import { baseOption, Chart, DataTable, legend, Panel, tip, valueAxis } from '../chart';
import { choice, h, replace } from '../dom';
import { numberText, plural, withUnit } from '../format';
import { figureOf, figureTitle, mainFigure, type Figure, type Night, type Page } from '../model';
import { ink } from '../palette';
import { thePage } from '../store';

export class NightsPanel {
  readonly panel = new Panel('nights', 'Nights');
  private readonly chart = new Chart();
  private readonly table = new DataTable();
  private readonly marks = h('div', { class: 'night-marks' });
  private readonly key = h('div', { class: 'key' });
  private figure = '';

  draw(): void {
    const page = thePage();
    const nights = [...page.nights].sort((a, b) => (a.date < b.date ? -1 : 1));
    const told = [...new Set(nights.flatMap((night) => [...night.figures.keys()]))];
    const figures = told.map((name) => figureOf(page, name) ?? { name, label: name, unit: '', better: '' as const });
    const figure = figures.find((each) => each.name === this.figure) ?? figures.find((each) => each.name === mainFigure(page)?.name) ?? figures[0];
    if (nights.length === 0 || !figure) {
      this.panel.setTools();
      this.panel.setEmpty('There is no history yet: every launch that ends is added to it, and each day becomes a point of a trend.', 'xp launch');
      return;
    }
    this.panel.setTools(choice('Figure', figures.map((each) => [each.name, each.label]), figure.name, (value) => {
      this.figure = value;
      this.draw();
    }));
    const words = leadOf(nights, figure);
    this.panel.setLead(words);
    const colours = ink();
    this.chart.set(260, `Line chart by day. ${words}`, () => this.option(page, nights, figure));
    replace(this.key, legend([{ name: 'best', colour: colours.accent, shape: 'circle' }, { name: 'median', colour: colours.dim, shape: 'rect' }, { name: 'got worse', colour: colours.bad, shape: 'triangle' }]));
    const marked = nights.filter((night) => night.marks.length > 0);
    replace(this.marks, marked.length > 0 && [h('h3', null, 'Where it got worse'), h('ul', null, [...marked].reverse().map((night) => h('li', null, h('b', null, night.date), ': ', night.marks.join('; '))))]);
    this.table.set({
      caption: `${figure.label} by day`,
      head: ['Day', `Best ${figureTitle(figure)}`, `Median ${figureTitle(figure)}`, 'Launches', 'Done', 'Failed', 'Marks'],
      rows: () => [...nights].reverse().map((night) => [night.date, valueText(night, figure, 'best'), valueText(night, figure, 'median'), night.launches, night.done, night.failed, night.marks.join('; ')]),
    });
    replace(this.panel.body, this.key, this.chart.element, this.marks, this.table.element);
  }

  private option(page: Page, nights: Night[], figure: Figure): Record<string, unknown> {
    const colours = ink();
    const values = (which: 'best' | 'median') => nights.map((night) => night.figures.get(figure.name)?.[which] ?? null);
    const best = values('best');
    const goal = page.project.goalMhz;
    return {
      ...baseOption(),
      grid: { left: 12, right: 24, top: 30, bottom: 6, containLabel: true },
      xAxis: {
        type: 'category',
        data: nights.map((night) => night.date),
        boundaryGap: nights.length < 3,
        axisLabel: { color: colours.dim, fontSize: 12, hideOverlap: true, formatter: (value: string) => value.slice(5) },
        axisLine: { lineStyle: { color: colours.line } },
        axisTick: { show: false },
      },
      yAxis: valueAxis(figureTitle(figure), { nameTextStyle: { color: colours.dim, align: 'left', fontSize: 12 }, boundaryGap: ['10%', '15%'] }),
      tooltip: {
        ...(baseOption().tooltip as object),
        trigger: 'axis',
        axisPointer: { lineStyle: { color: colours.line } },
        formatter: (events: { dataIndex: number }[]) => {
          const night = nights[events[0]?.dataIndex ?? -1];
          if (!night) return '';
          return tip(night.date, [
            [`best ${figure.label}`, valueText(night, figure, 'best')],
            [`median ${figure.label}`, valueText(night, figure, 'median')],
            ['launches', String(night.launches)],
            ['failed', String(night.failed)],
            ...night.marks.map((mark): [string, string] => ['got worse', mark]),
          ]);
        },
      },
      series: [
        {
          name: 'best',
          type: 'line',
          symbol: 'circle',
          symbolSize: 7,
          connectNulls: true,
          lineStyle: { width: 2.2, color: colours.accent },
          itemStyle: { color: colours.accent },
          data: best,
          markLine: figure.name === 'fmax' && goal ? { silent: true, symbol: 'none', lineStyle: { color: colours.good, type: 'solid', width: 1.5 }, label: { formatter: `goal ${numberText(goal)}`, color: colours.dim, position: 'insideEndTop', fontSize: 12, backgroundColor: colours.panel, padding: [1, 4] }, data: [{ yAxis: goal }] } : undefined,
        },
        { name: 'median', type: 'line', symbol: 'rect', symbolSize: 5, connectNulls: true, lineStyle: { width: 1.6, type: [4, 3], color: colours.dim }, itemStyle: { color: colours.dim }, data: values('median') },
        {
          name: 'got worse',
          type: 'scatter',
          symbol: 'triangle',
          symbolRotate: 180,
          symbolSize: 13,
          symbolOffset: [0, -15],
          z: 5,
          itemStyle: { color: colours.bad },
          data: nights.flatMap((night, i) => (night.marks.length > 0 && best[i] !== null ? [[i, best[i]]] : [])),
        },
      ],
    };
  }
}

function valueText(night: Night, figure: Figure, which: 'best' | 'median'): string {
  const value = night.figures.get(figure.name)?.[which] ?? null;
  return value === null ? '' : withUnit(value, figure.unit);
}

function leadOf(nights: Night[], figure: Figure): string {
  const told = nights.filter((night) => (night.figures.get(figure.name)?.best ?? null) !== null);
  if (told.length === 0) return `${plural(nights.length, 'day')} with launches; none tells ${figure.label}.`;
  const last = told[told.length - 1];
  const first = told[0];
  const value = (night: Night) => night.figures.get(figure.name)?.best as number;
  const difference = value(last) - value(first);
  const marked = nights.filter((night) => night.marks.length > 0).length;
  const trend = told.length < 2 ? '' : difference === 0 ? `, the same as on ${first.date}` : `, ${withUnit(Math.abs(difference), figure.unit)} ${difference > 0 ? 'more' : 'less'} than on ${first.date}`;
  return `Best ${figure.label} on ${last.date}: ${withUnit(value(last), figure.unit)}${trend}. ${marked ? `It got worse on ${plural(marked, 'day')}.` : told.length > 1 ? 'Nothing got worse.' : ''}`.trim();
}
