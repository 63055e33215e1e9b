// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
import { choice, h, replace } from '../dom';
import { durationText, listText, numberText, plural, timeText, withUnit } from '../format';
import { figureOf, mainFigure, type Page, type Run } from '../model';
import { kindOf, mark, type Kind } from '../status';
import { runAddress, thePage } from '../store';
import { chooseTheme, storedChoice, type ThemeChoice } from '../theme';

const TILES: [Kind, string][] = [
  ['done', 'done'],
  ['running', 'running'],
  ['queued', 'queued'],
  ['stale', 'stale'],
  ['failed', 'failed'],
  ['stopped', 'stopped'],
  ['unknown', 'unknown'],
  ['idle', 'not started'],
];

/** The page's head: project, counts, and the best run in words. */
export class Header {
  readonly element: HTMLElement;
  /** Where live mode says how it goes. */
  readonly live = h('span', { class: 'live' });
  private readonly title = h('h1');
  private readonly about = h('p', { class: 'about' });
  private readonly tiles = h('ul', { class: 'tiles', 'aria-label': 'Runs by status' });
  private readonly best = h('div', { class: 'best' });

  /** `show` is told the status whose count was pressed; empty for all. */
  constructor(private readonly show: (kind: Kind | '') => void) {
    const theme = choice(
      'Theme',
      [
        ['auto', 'as system'],
        ['light', 'light'],
        ['dark', 'dark'],
      ],
      storedChoice(),
      (value) => chooseTheme(value as ThemeChoice),
    );
    this.element = h(
      'header',
      { class: 'page-head' },
      h(
        'div',
        { class: 'head-row' },
        h('div', { class: 'head-title' }, this.title, this.about),
        this.tiles,
        h('div', { class: 'head-tools' }, this.live, theme),
      ),
      this.best,
    );
  }

  draw(): void {
    const page = thePage();
    const { project } = page;
    const name = project.name || 'No project';
    document.title = `${name} \u2013 runs`;
    replace(this.title, name);
    replace(
      this.about,
      [
        project.top && project.top !== name ? `top ${project.top}` : '',
        [project.device, project.package].filter(Boolean).join('-'),
        project.goalMhz === null ? '' : `goal ${withUnit(project.goalMhz, 'MHz')}`,
        page.wallSeconds ? `${durationText(page.wallSeconds)} on the clock` : '',
        page.toolSeconds ? `${durationText(page.toolSeconds)} of tools` : '',
        page.generated === null ? '' : `as of ${timeText(page.generated)}`,
      ]
        .filter(Boolean)
        .flatMap((text, i) => (i === 0 ? [text] : [h('span', { class: 'dot', 'aria-hidden': 'true' }, ' \u00b7 '), h('span', { class: 'vh' }, ', '), text])),
    );
    this.drawTiles(page);
    this.drawBest(page);
  }

  private drawTiles(page: Page): void {
    const counts = new Map<Kind, number>();
    for (const run of page.runs) counts.set(kindOf(run), (counts.get(kindOf(run)) ?? 0) + 1);
    const focused = (document.activeElement as HTMLElement | null)?.closest<HTMLElement>('.tile')?.dataset.kind;
    replace(
      this.tiles,
      tile('', page.runs.length, page.runs.length === 1 ? 'run' : 'runs', () => this.show('')),
      TILES.filter(([kind]) => counts.has(kind)).map(([kind, word]) =>
        tile(kind, counts.get(kind) ?? 0, word, () => this.show(kind)),
      ),
    );
    if (focused !== undefined) this.tiles.querySelector<HTMLElement>(`[data-kind="${focused}"]`)?.focus();
  }

  private drawBest(page: Page): void {
    const runs = page.best.runs.map((name) => page.byName.get(name)).filter((run): run is Run => run !== undefined);
    this.best.hidden = page.runs.length === 0;
    const [sentence, ...more] = bestSentence(page, runs);
    const why = page.best.why.length > 0 && runs.length > 0;
    replace(
      this.best,
      h('p', { class: 'best-line' }, sentence, more),
      why &&
        h(
          'details',
          { class: 'why', open: this.best.querySelector('details')?.open ?? false },
          h('summary', null, 'Why this one'),
          page.best.rule && h('p', null, 'Rule: ', h('code', null, page.best.rule)),
          h('ul', null, page.best.why.map((line) => h('li', null, line))),
        ),
    );
  }
}

function tile(kind: Kind | '', count: number, word: string, pressed: () => void): HTMLElement {
  return h(
    'li',
    null,
    h(
      'button',
      {
        class: `tile tile-${kind || 'all'}`,
        type: 'button',
        'data-kind': kind,
        title: kind ? `Show the runs that are ${word}` : 'Show all runs',
        onclick: pressed,
      },
      kind && mark(kind),
      h('b', null, numberText(count, 0)),
      ' ',
      h('span', null, word),
    ),
  );
}

function runLink(run: Run): HTMLElement {
  return h('a', { href: runAddress(run.name) }, run.name);
}

/** "Best run: a, 69.8 MHz, 20.2 MHz (22 %) short of the goal." */
export function bestSentence(page: Page, runs: Run[]): (Node | string)[] {
  const figure = mainFigure(page);
  if (runs.length === 0) {
    const going = page.runs.filter((run) => run.status === 'running' || run.status === 'queued').length;
    if (going > 0) return [`No run can be judged yet: ${plural(going, 'run is', 'runs are')} still to end.`];
    return ['No run can be judged: none is done and up to date.'];
  }
  const parts: (Node | string)[] = [h('b', null, runs.length > 1 ? 'Best runs, equally good: ' : 'Best run: ')];
  if (runs.length === 1) parts.push(runLink(runs[0]));
  else if (runs.length <= 4) runs.forEach((run, i) => parts.push(i ? (i === runs.length - 1 ? ' and ' : ', ') : '', runLink(run)));
  else parts.push(listText(runs.map((run) => run.name)));
  const value = figure ? runs[0].figures.get(figure.name) : undefined;
  if (figure && value !== undefined) {
    parts.push(' with ', h('b', null, `${figure.label} ${withUnit(value, figure.unit)}`));
    parts.push(goalText(page, figure.name, value));
  }
  const slack = figureOf(page, 'worst_slack');
  const short = runs[0].figures.get('worst_slack');
  if (slack && short !== undefined) parts.push(`, worst slack ${withUnit(short, slack.unit || 'ns')}`);
  parts.push('.');
  return parts;
}

function goalText(page: Page, figure: string, value: number): string {
  const goal = page.project.goalMhz;
  if (figure !== 'fmax' || goal === null || goal <= 0) return '';
  const share = `${numberText((Math.abs(value - goal) / goal) * 100, 1)}\u202f%`;
  if (value >= goal) return `, ${share} above the goal of ${withUnit(goal, 'MHz')}`;
  return `, ${share} short of the goal of ${withUnit(goal, 'MHz')}`;
}
