// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Numbers and times as texts. No locale plays a part: the same data read the same everywhere.

/** Between a number and its unit, and between groups of digits. */
const THIN = '\u202f';

/** 12 345.6: at most `decimals` digits behind the point, groups from 10 000 on. */
export function numberText(value: number, decimals = 2, keepZeros = false): string {
  if (!Number.isFinite(value)) return '';
  let text = value.toFixed(decimals);
  if (!keepZeros && text.includes('.')) text = text.replace(/\.?0+$/, '');
  if (Number(text) === 0 && value !== 0 && !keepZeros) return value.toPrecision(3).replace(/\.?0+$/, '');
  const [whole, rest] = text.split('.');
  const digits = whole.replace('-', '');
  const grouped = digits.length > 4 ? digits.replace(/\B(?=(\d{3})+$)/g, THIN) : digits;
  const sign = whole.startsWith('-') ? '\u2212' : '';
  return sign + grouped + (rest === undefined ? '' : `.${rest}`);
}

export function withUnit(value: number, unit: string, decimals = 2): string {
  return unit ? `${numberText(value, decimals)}${THIN}${unit}` : numberText(value, decimals);
}

/** As many decimals as the values need, two at most, so that a column lines up. */
export function decimalsOf(values: number[]): number {
  let most = 0;
  for (const value of values)
    for (let digits = most; digits < 2; digits += 1)
      if (Math.abs(value - Number(value.toFixed(digits))) > 1e-9) most = digits + 1;
  return most;
}

/** "9.8 s", "3 min 46 s", "2 h 05 min", "1 d 03 h". */
export function durationText(seconds: number | null): string {
  if (seconds === null || !Number.isFinite(seconds)) return '';
  if (seconds < 0) return `\u2212${durationText(-seconds)}`;
  if (seconds < 99.95) return `${numberText(seconds, 1, true)}${THIN}s`;
  const all = Math.round(seconds);
  const pair = (high: number, highUnit: string, low: number, lowUnit: string) =>
    `${high}${THIN}${highUnit} ${String(low).padStart(2, '0')}${THIN}${lowUnit}`;
  if (all < 3600) return pair(Math.floor(all / 60), 'min', all % 60, 's');
  if (all < 86400) return pair(Math.floor(all / 3600), 'h', Math.floor((all % 3600) / 60), 'min');
  return pair(Math.floor(all / 86400), 'd', Math.floor((all % 86400) / 3600), 'h');
}

const two = (value: number) => String(value).padStart(2, '0');

/** "2026-11-20 23:14:05" in the reader's time zone. */
export function timeText(epochSeconds: number | null, withSeconds = true): string {
  if (epochSeconds === null || !Number.isFinite(epochSeconds)) return '';
  const time = new Date(epochSeconds * 1000);
  if (Number.isNaN(time.getTime())) return '';
  const day = `${time.getFullYear()}-${two(time.getMonth() + 1)}-${two(time.getDate())}`;
  const clock = `${two(time.getHours())}:${two(time.getMinutes())}`;
  return `${day} ${clock}${withSeconds ? `:${two(time.getSeconds())}` : ''}`;
}

export function clockText(epochSeconds: number): string {
  return timeText(epochSeconds).slice(11);
}

export function plural(count: number, one: string, many = `${one}s`): string {
  return `${numberText(count, 0)} ${count === 1 ? one : many}`;
}

/** "a", "a and b", "a, b and c"; beyond `most` "a, b and 7 more". */
export function listText(items: string[], most = 4): string {
  const shown = items.length > most ? [...items.slice(0, most - 1), `${items.length - most + 1} more`] : items;
  if (shown.length < 2) return shown.join('');
  return `${shown.slice(0, -1).join(', ')} and ${shown[shown.length - 1]}`;
}

/** Names with numbers in their natural order: s2 before s10. */
export function compareNames(a: string, b: string): number {
  const left = a.match(/\d+|\D+/g) ?? [];
  const right = b.match(/\d+|\D+/g) ?? [];
  for (let i = 0; i < Math.min(left.length, right.length); i += 1) {
    if (left[i] === right[i]) continue;
    const difference = Number(left[i]) - Number(right[i]);
    if (Number.isFinite(difference) && difference !== 0) return difference;
    if (left[i] !== right[i]) return left[i] < right[i] ? -1 : 1;
  }
  return left.length - right.length;
}

/** A value of a CSV file; what a spreadsheet would take for a formula becomes text. */
export function csvValue(value: unknown): string {
  if (value === null || value === undefined) return '';
  if (typeof value === 'number') return String(value);
  let text = String(value);
  if (/^[=+\-@\t\r]/.test(text)) text = `'${text}`;
  return /[",\r\n]/.test(text) ? `"${text.replace(/"/g, '""')}"` : text;
}

/** About so much a letter takes beside an axis, and no more than so much. */
const LETTER = 7;
const WIDE_LETTER = 8;

/**
 * `names` as they fit into `width` beside an axis. Those of one sweep differ at their ends, so it
 * is their heads that are left out: first what all have in common.
 */
export function fittingNames(names: string[], width: number): string[] {
  const most = Math.max(4, Math.floor(width / LETTER));
  if (names.every((name) => name.length <= most)) return names;
  const head = commonHead(names).length;
  return names.map((name) => {
    const rest = head > 0 ? `\u2026${name.slice(head)}` : name;
    return rest.length <= most ? rest : `\u2026${rest.slice(rest.length - most + 1)}`;
  });
}

/** `name` in two lines where `width` is too little for it, the first up to a sign between words if there is one in reach. */
export function inTwoLines(name: string, width: number): string {
  const most = Math.floor(width / WIDE_LETTER);
  if (name.length <= most) return name;
  const at = /^.*[_.\-/ ]/.exec(name.slice(0, most))?.[0].length ?? 0;
  return at > 0 && name.length - at <= most ? `${name.slice(0, at)}\n${name.slice(at)}` : name;
}

/** What all names begin with, up to a sign between words. */
function commonHead(names: string[]): string {
  if (names.length < 2) return '';
  let head = names[0];
  for (const name of names) while (!name.startsWith(head) || name === head) head = head.slice(0, -1);
  return /^.*[_.\-/ ]/.exec(head)?.[0] ?? '';
}
