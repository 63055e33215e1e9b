// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// A critical path: its points as a table, and drawn where they lie on the device.
import { append, h, newId, svg } from '../dom';
import { numberText, plural } from '../format';
import type { CriticalPath, Page, PathPoint } from '../model';
import { partColour, partText } from '../palette';

/** "clk-to-q" of a point is "clk_to_q" of the parts. */
export function partOf(kind: string): string {
  return kind === 'source' ? 'clk_to_q' : kind.replace(/-/g, '_');
}

/** "u.v:37" without what stands before the file's name in wide paths. */
function place(src: string): HTMLElement {
  const short = src.replace(/^.*\/(?=[^/]+$)/, '');
  return h('code', { title: short === src ? null : src }, short);
}

/** Points at the same tile follow each other at no distance: only where it moves is drawn. */
function stopsOf(path: CriticalPath): { x: number; y: number; points: number[] }[] {
  const stops: { x: number; y: number; points: number[] }[] = [];
  path.points.forEach((point, i) => {
    if (point.x === null || point.y === null) return;
    const last = stops[stops.length - 1];
    if (last && last.x === point.x && last.y === point.y) last.points.push(i);
    else stops.push({ x: point.x, y: point.y, points: [i] });
  });
  return stops;
}

/** The table of points, and the drawing beside it; what is pointed at in one shows in the other. */
export function pathView(page: Page, path: CriticalPath, isWithDrawing = true): HTMLElement {
  if (path.points.length === 0)
    return h('p', { class: 'hint' }, path.cut ? 'The points of this path were left out to keep the page small; make a page of fewer runs to see them.' : 'No step told the points of this path.');
  const drawing = isWithDrawing && page.device ? placementDrawing(page.device, path) : null;
  const rows = path.points.map((point, i) => pointRow(path, point, i));
  const element = h(
    'div',
    { class: 'path-view' },
    drawing && h('figure', { class: 'placement' }, drawing, h('figcaption', null, drawing.getAttribute('aria-label'))),
    h(
      'div',
      { class: 'table-scroll path-points', tabindex: '0', role: 'region', 'aria-label': 'Points of the critical path' },
      h(
        'table',
        { class: 'plain' },
        h('caption', { class: 'vh' }, `Points of the critical path of clock ${path.clock}`),
        h('thead', null, h('tr', null, ['Part', 'Delay, ns', 'At, ns', 'Cell or net', 'Source', 'Tile'].map((text, i) => h('th', { scope: 'col', class: i === 1 || i === 2 ? 'number' : null }, text)))),
        h('tbody', null, rows),
      ),
    ),
  );
  if (drawing) link(drawing, rows, path);
  return element;
}

function pointRow(path: CriticalPath, point: PathPoint, i: number): HTMLTableRowElement {
  const at = path.points.slice(0, i + 1).reduce((sum, each) => sum + each.ns, 0);
  const part = partOf(point.kind);
  return h(
    'tr',
    { 'data-point': i },
    h('th', { scope: 'row' }, h('span', { class: 'part', style: `--part: ${partColour(part)}` }, partText(part))),
    h('td', { class: 'number' }, numberText(point.ns, 2, true)),
    h('td', { class: 'number dim' }, numberText(at, 2, true)),
    h('td', { class: 'net' }, point.net ? h('span', { class: 'dim' }, 'net ') : null, point.net || point.cell),
    h('td', { class: 'nowrap' }, point.src ? place(point.src) : ''),
    h('td', { class: 'nowrap' }, point.x === null ? '' : `${point.x}, ${point.y}`),
  );
}

const CELL = 10;

/** The device's tiles with the path over them; column 0, row 0 is at the lower left. */
export function placementDrawing(device: { width: number; height: number }, path: CriticalPath): SVGElement {
  const stops = stopsOf(path);
  const width = device.width * CELL;
  const height = device.height * CELL;
  const at = (stop: { x: number; y: number }) => [(stop.x + 0.5) * CELL, height - (stop.y + 0.5) * CELL];
  const tiles = stops.length;
  const reach = stops.slice(1).reduce((sum, stop, i) => sum + Math.abs(stop.x - stops[i].x) + Math.abs(stop.y - stops[i].y), 0);
  const words =
    tiles === 0
      ? 'The placement of this path isn\u2019t known.'
      : `The path visits ${plural(tiles, 'tile')} of the ${device.width} by ${device.height} and travels ${plural(reach, 'tile')} in all.`;
  const pattern = newId('tiles');
  const drawing = svg('svg', { class: 'device', viewBox: `-14 -6 ${width + 22} ${height + 22}`, role: 'img', 'aria-label': words, preserveAspectRatio: 'xMidYMid meet' });
  append(drawing, [
    svg('defs', null, svg('pattern', { id: pattern, width: CELL, height: CELL, patternUnits: 'userSpaceOnUse' }, svg('rect', { x: 0.6, y: 0.6, width: CELL - 1.2, height: CELL - 1.2, rx: 1, class: 'tile-cell' }))),
    svg('rect', { x: 0, y: 0, width, height, class: 'device-ground', rx: 2 }),
    svg('rect', { x: 0, y: 0, width, height, fill: `url(#${pattern})` }),
    axisTexts(device, height),
    segments(path, stops, at),
    stops.map((stop, i) => {
      const [x, y] = at(stop);
      const isEnd = i === 0 || i === stops.length - 1;
      return svg('circle', { cx: x, cy: y, r: isEnd ? 5.5 : 3.4, class: isEnd ? (i === 0 ? 'stop stop-start' : 'stop stop-end') : 'stop', 'data-points': stop.points.join(' ') }, svg('title', null, stopTitle(path, stop)));
    }),
    endTexts(stops, at, width),
  ]);
  return drawing;
}

function axisTexts(device: { width: number; height: number }, height: number): SVGElement[] {
  const every = Math.max(device.width, device.height) > 40 ? 8 : 5;
  const texts: SVGElement[] = [];
  for (let x = 0; x < device.width; x += every) texts.push(svg('text', { x: (x + 0.5) * CELL, y: height + 11, 'text-anchor': 'middle', class: 'axis' }, x));
  for (let y = 0; y < device.height; y += every) texts.push(svg('text', { x: -4, y: height - (y + 0.5) * CELL + 3, 'text-anchor': 'end', class: 'axis' }, y));
  return texts;
}

/** Lines between stops, the wider the longer the hop takes. */
function segments(path: CriticalPath, stops: { x: number; y: number; points: number[] }[], at: (stop: { x: number; y: number }) => number[]): SVGElement[] {
  return stops.slice(1).map((stop, i) => {
    const [x1, y1] = at(stops[i]);
    const [x2, y2] = at(stop);
    const first = stop.points[0];
    const ns = path.points[first].ns;
    return svg('line', { x1, y1, x2, y2, class: 'hop', 'stroke-width': Math.max(1.6, Math.min(6, ns * 2)).toFixed(1), 'data-points': first }, svg('title', null, `${path.points[first].net || partText(partOf(path.points[first].kind))}: ${numberText(ns)} ns`));
  });
}

function stopTitle(path: CriticalPath, stop: { x: number; y: number; points: number[] }): string {
  const names = stop.points.map((i) => path.points[i].cell || path.points[i].net).filter(Boolean);
  return `${stop.x}, ${stop.y}: ${[...new Set(names)].join(', ')}`;
}

function endTexts(stops: { x: number; y: number }[], at: (stop: { x: number; y: number }) => number[], width: number): SVGElement[] {
  if (stops.length < 2) return [];
  return [
    ['start', stops[0]] as const,
    ['end', stops[stops.length - 1]] as const,
  ].map(([text, stop]) => {
    const [x, y] = at(stop);
    const isRight = x > width * 0.8;
    return svg('text', { x: x + (isRight ? -9 : 9), y: y - 7, 'text-anchor': isRight ? 'end' : 'start', class: 'end-text' }, text);
  });
}

function link(drawing: SVGElement, rows: HTMLTableRowElement[], path: CriticalPath): void {
  const shapes = [...drawing.querySelectorAll<SVGElement>('[data-points]')];
  const show = (points: number[]) => {
    rows.forEach((row, i) => row.classList.toggle('is-pointed', points.includes(i)));
    shapes.forEach((shape) => shape.classList.toggle('is-pointed', (shape.dataset.points ?? '').split(' ').some((each) => points.includes(Number(each)))));
  };
  rows.forEach((row, i) => {
    row.addEventListener('mouseenter', () => show(path.points[i].x === null ? [] : [i]));
    row.addEventListener('mouseleave', () => show([]));
  });
  shapes.forEach((shape) => {
    shape.addEventListener('mouseenter', () => show((shape.dataset.points ?? '').split(' ').map(Number)));
    shape.addEventListener('mouseleave', () => show([]));
  });
}
