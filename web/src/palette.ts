// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// One colour and one shape for a family, the same in every chart.
import { FAMILIES } from './colours';
import type { Page } from './model';
import { currentTheme } from './theme';

const LOOSE = { light: '#6b7684', dark: '#93a0b0' };
export const SHAPES = ['circle', 'triangle', 'rect', 'diamond', 'pin', 'roundRect', 'arrow'] as const;

/** What a chart is drawn with, besides the families. */
export interface Ink {
  text: string;
  dim: string;
  line: string;
  faint: string;
  panel: string;
  accent: string;
  good: string;
  bad: string;
  warn: string;
}

/** The page's own colours, as its styles have them. */
export function ink(): Ink {
  const style = getComputedStyle(document.documentElement);
  const of = (name: string) => style.getPropertyValue(`--${name}`).trim() || '#888';
  return {
    text: of('text'),
    dim: of('dim'),
    line: of('line'),
    faint: of('faint'),
    panel: of('panel'),
    accent: of('accent'),
    good: of('good'),
    bad: of('bad'),
    warn: of('warn'),
  };
}

/** The place of `group` among the page's groups; -1 for none. */
function placeOf(page: Page, group: string): number {
  return page.groups.findIndex((each) => each.name === group);
}

export function groupColour(page: Page, group: string): string {
  const place = placeOf(page, group);
  const theme = currentTheme();
  return place < 0 ? LOOSE[theme] : FAMILIES[theme][place % FAMILIES[theme].length];
}

export function groupShape(page: Page, group: string): string {
  const place = placeOf(page, group);
  return place < 0 ? 'circle' : SHAPES[place % SHAPES.length];
}

const STEPS = {
  light: ['#9db4d0', '#4f83bd', '#e0a458', '#3b9b8f', '#a879b8', '#b0a24a', '#c77b7b', '#7d8894'],
  dark: ['#6d86a6', '#6ea3e0', '#d9a055', '#4fb5a6', '#b58bc6', '#b8ab57', '#d18c8c', '#8f9ba8'],
};
const KNOWN_STEPS = ['init_design', 'synth_design', 'place_design', 'route_design', 'write_bitstream'];
const PARTS = {
  light: { clk_to_q: '#7d8c9c', logic: '#1b5fa8', routing: '#e0953f', setup: '#394657' },
  dark: { clk_to_q: '#8d9cae', logic: '#5a9fe6', routing: '#e6a04f', setup: '#c3cedb' },
};

export const WAITING = 'waiting';

export function stepColour(name: string, all: string[]): string {
  const theme = currentTheme();
  if (name === WAITING) return theme === 'dark' ? '#3c4654' : '#d9dfe7';
  const known = KNOWN_STEPS.indexOf(name);
  const place = known >= 0 ? known : KNOWN_STEPS.length + all.filter((each) => !KNOWN_STEPS.includes(each)).indexOf(name);
  return STEPS[theme][place % STEPS[theme].length];
}

export function partColour(name: string): string {
  const parts: Record<string, string> = PARTS[currentTheme()];
  return Object.prototype.hasOwnProperty.call(parts, name) ? parts[name] : LOOSE[currentTheme()];
}

export function partText(name: string): string {
  return { clk_to_q: 'clock to output', logic: 'logic', routing: 'routing', setup: 'setup' }[name] ?? name;
}
