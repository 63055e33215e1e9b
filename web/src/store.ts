// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// What the whole page shares: its data, the selected run, and which families the charts leave out.
import { readPage, type Page, type Run } from './model';

export type Cause = 'data' | 'selection' | 'theme' | 'groups';

let page: Page = readPage({});
let selected = '';
const hidden = new Set<string>();
const listeners: ((cause: Cause) => void)[] = [];

export function onChange(listener: (cause: Cause) => void): void {
  listeners.push(listener);
}

export function tell(cause: Cause): void {
  listeners.forEach((listener) => listener(cause));
}

export function thePage(): Page {
  return page;
}

export function setPage(next: Page): void {
  page = next;
  if (!page.byName.has(selected)) selected = '';
  tell('data');
}

export function selectedRun(): Run | undefined {
  return page.byName.get(selected);
}

/** An empty name selects nothing. */
export function select(name: string): void {
  if (name === selected || (name !== '' && !page.byName.has(name))) return;
  selected = name;
  tell('selection');
}

/** Whether the charts leave out the runs of that family. */
export function isHidden(group: string): boolean {
  return hidden.has(group);
}

export function toggleGroup(group: string): void {
  if (!hidden.delete(group)) hidden.add(group);
  tell('groups');
}

export function showAllGroups(): void {
  hidden.clear();
  tell('groups');
}

/** The selected run, else the best, else the first that fits. */
export function shownRun(fits: (run: Run) => boolean): Run | undefined {
  const chosen = selectedRun();
  if (chosen && fits(chosen)) return chosen;
  const best = page.best.runs.map((name) => page.byName.get(name)).find((run) => run && fits(run));
  return best ?? page.runs.find(fits);
}

export function runAddress(name: string): string {
  return `#run=${encodeURIComponent(name)}`;
}
