// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// A run's status as a word with a mark of its own shape: colour only repeats it.
import { h, svg } from './dom';
import type { Run } from './model';

export type Kind = 'done' | 'stale' | 'running' | 'queued' | 'failed' | 'stopped' | 'idle' | 'unknown';

export const KINDS: Kind[] = ['done', 'stale', 'running', 'queued', 'failed', 'stopped', 'idle', 'unknown'];

const WORDS: Record<string, Kind> = {
  done: 'done',
  kept: 'done',
  running: 'running',
  queued: 'queued',
  waiting: 'queued',
  failed: 'failed',
  lost: 'failed',
  stopped: 'stopped',
  abandoned: 'stopped',
  'not started': 'idle',
};

export function kindOfWord(word: string): Kind {
  return Object.prototype.hasOwnProperty.call(WORDS, word) ? WORDS[word] : 'unknown';
}

export function kindOf(run: Run): Kind {
  const kind = kindOfWord(run.status);
  return kind === 'done' && run.stale ? 'stale' : kind;
}

/** "done", "done, stale", "abandoned", "running route_design". */
export function statusText(run: Run): string {
  if (run.abandoned) return 'abandoned';
  if (run.status === 'running' && run.step) return `running ${run.step}`;
  return run.stale ? `${run.status}, stale` : run.status;
}

/** Outlines on a grid of 16 by 16. */
const MARKS: Record<Kind, string> = {
  done: 'M3 8.5l3.2 3.2L13 4.8',
  stale: 'M12.6 6A5 5 0 1 0 13 9.2M13 3v3.2H9.8',
  running: 'M5 3.4v9.2L12.6 8z',
  queued: 'M8 2.6a5.4 5.4 0 1 1 0 10.8a5.4 5.4 0 0 1 0-10.8zM8 5v3.2l2.2 1.4',
  failed: 'M4 4l8 8M12 4l-8 8',
  stopped: 'M4.2 4.2h7.6v7.6H4.2z',
  idle: 'M8 3.4a4.6 4.6 0 1 1 0 9.2a4.6 4.6 0 0 1 0-9.2z',
  unknown: 'M5.6 6a2.5 2.5 0 1 1 3.7 2.2c-.9.5-1.3.9-1.3 1.9M8 12.4v.2',
};

export function mark(kind: Kind): SVGElement {
  return svg(
    'svg',
    { class: `mark mark-${kind}`, viewBox: '0 0 16 16', 'aria-hidden': 'true', focusable: 'false' },
    svg('path', { d: MARKS[kind] }),
  );
}

export function statusTag(kind: Kind, text: string): HTMLElement {
  return h('span', { class: `status status-${kind}` }, mark(kind), h('span', null, text));
}
