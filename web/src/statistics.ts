// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

export interface Summary {
  count: number;
  least: number;
  lower: number;
  median: number;
  upper: number;
  greatest: number;
}

/** Between the two values that `share` falls between. `sorted` has one value at least. */
export function quantile(sorted: number[], share: number): number {
  const place = (sorted.length - 1) * share;
  const low = Math.floor(place);
  const high = Math.min(low + 1, sorted.length - 1);
  return sorted[low] + (sorted[high] - sorted[low]) * (place - low);
}

/** Null for no value. */
export function summaryOf(values: number[]): Summary | null {
  if (values.length === 0) return null;
  const sorted = [...values].sort((a, b) => a - b);
  return {
    count: sorted.length,
    least: sorted[0],
    lower: quantile(sorted, 0.25),
    median: quantile(sorted, 0.5),
    upper: quantile(sorted, 0.75),
    greatest: sorted[sorted.length - 1],
  };
}

export interface Point {
  x: number;
  y: number;
}

/**
 * Those of `points` that none other beats: better in one and at least as good in the other.
 * Equal points are all on the frontier. In the order of x.
 */
export function frontierOf<P extends Point>(points: P[], isHighX: boolean, isHighY: boolean): P[] {
  const x = (point: P) => (isHighX ? -point.x : point.x);
  const y = (point: P) => (isHighY ? -point.y : point.y);
  const sorted = [...points].sort((a, b) => x(a) - x(b) || y(a) - y(b));
  const frontier: P[] = [];
  for (const point of sorted) {
    const last = frontier[frontier.length - 1];
    const isEqual = last !== undefined && x(last) === x(point) && y(last) === y(point);
    if (last === undefined || y(point) < y(last) || isEqual) frontier.push(point);
  }
  return frontier.sort((a, b) => a.x - b.x);
}

/** Intervals put into as few lanes as can be, those that begin first first. */
export function lanesOf<T>(items: T[], begin: (item: T) => number, end: (item: T) => number): T[][] {
  const lanes: T[][] = [];
  const ends: number[] = [];
  for (const item of [...items].sort((a, b) => begin(a) - begin(b))) {
    let lane = ends.findIndex((time) => time <= begin(item) + 1e-6);
    if (lane < 0) {
      lane = lanes.length;
      lanes.push([]);
    }
    lanes[lane].push(item);
    ends[lane] = end(item);
  }
  return lanes;
}
