// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The page of one run.
import { plainTable, swatch } from './chart';
import { announce, copyText, h, newId, replace } from './dom';
import { durationText, numberText, plural, timeText, withUnit } from './format';
import { serverAddress } from './live';
import { elapsedOf, figureOf, waitingOf, type Failure, type Page, type Report, type Run, type Step } from './model';
import { groupColour, groupShape } from './palette';
import { pathLead } from './panels/paths';
import { pathView } from './panels/placement';
import { useTable } from './panels/use';
import { kindOf, kindOfWord, statusTag, statusText } from './status';
import { runAddress, thePage } from './store';

const ERROR_LINE = /\b(error|fatal|failed|abort(?:ed|ing)?)\b/i;
const NO_ERROR = /\b(0|no) errors?\b/i;
const WARNING_LINE = /\bwarning\b/i;

/** The first line of a log that tells an error: the one that the failure quotes, else one that says so. */
export function firstError(log: string[], failure: Failure | null): number {
  const quoted = failure?.tool.trim().split('\n')[0].trim() ?? '';
  const at = quoted === '' ? -1 : log.findIndex((line) => line.includes(quoted));
  return at >= 0 ? at : log.findIndex((line) => ERROR_LINE.test(line) && !NO_ERROR.test(line));
}

export class RunView {
  readonly element = h('div', { class: 'run-page', hidden: true });
  private shown = '';
  private text = '';

  get isShown(): boolean {
    return !this.element.hidden;
  }

  hide(): void {
    this.element.hidden = true;
    this.shown = '';
    this.text = '';
    replace(this.element);
  }

  /** Shows the run `name`, or that there is none of it. */
  show(name: string): void {
    this.element.hidden = false;
    const page = thePage();
    const run = page.byName.get(name);
    // In live mode most calls find nothing new; what is open or focused stays.
    const text = JSON.stringify([name, run ?? null, run && page.best.runs.includes(run.name)], (_, value: unknown) => (value instanceof Map ? [...value] : value));
    if (text === this.text) return;
    const open = new Set([...this.element.querySelectorAll('details[open] > summary')].map((summary) => summary.textContent));
    const focused = this.element.contains(document.activeElement) ? (document.activeElement as HTMLElement).dataset.focus : undefined;
    const isSame = this.shown === name;
    this.text = text;
    this.shown = name;
    replace(this.element, run ? this.contents(page, run) : missing(name));
    document.title = `${name} \u2013 ${page.project.name || 'runs'}`;
    if (!isSame) return;
    for (const details of this.element.querySelectorAll('details')) if (open.has(details.querySelector('summary')?.textContent ?? '')) details.open = true;
    if (focused) this.element.querySelector<HTMLElement>(`[data-focus="${CSS.escape(focused)}"]`)?.focus();
  }

  /** Draws it anew: its colours have changed. */
  restyle(name: string): void {
    this.text = '';
    this.show(name);
  }

  focus(): void {
    this.element.querySelector<HTMLElement>('h2')?.focus();
  }

  private contents(page: Page, run: Run): Node[] {
    return [
      head(page, run),
      h(
        'div',
        { class: 'run-grid' },
        nextBox(run),
        run.failure && failureBox(run.failure),
        h('div', { class: 'run-column' }, box('Results', figuresTable(page, run))),
        h(
          'div',
          { class: 'run-column' },
          box('Steps', stepsTable(run, page)),
          box('Options not at their defaults', optionsTable(run)),
          run.use.length > 0 && box('Utilisation', useTable(run.use, `Utilisation of ${run.name}`)),
        ),
        run.path && wide('Critical path', h('p', { class: 'lead' }, pathLead(run)), pathView(page, run.path)),
        wide('Log', logView(run, page.live)),
        wide('Reports', reportsView(run, page.live)),
        wide('How to repeat', repeatView(run)),
      ),
    ];
  }
}

function backLink(): HTMLElement {
  return h('a', { href: '#runs', class: 'back', 'data-focus': 'back' }, h('span', { 'aria-hidden': 'true' }, '\u2190 '), 'All runs');
}

function missing(name: string): Node {
  return h('div', { class: 'run-head' }, backLink(), h('h2', { tabindex: '-1' }, `There is no run ${name}`), h('p', null, 'It may have been removed or renamed since this address was made.'));
}

function head(page: Page, run: Run): HTMLElement {
  const fact = (name: string, value: Node | string | null) => (value === null || value === '' ? null : h('div', null, h('dt', null, name), h('dd', null, value)));
  const place = page.runs.indexOf(run);
  const other = (at: number, text: string) => {
    const next = page.runs[at];
    return next && h('a', { href: runAddress(next.name), 'data-focus': text, title: next.name }, text);
  };
  return h(
    'div',
    { class: 'run-head' },
    h('nav', { class: 'run-nav', 'aria-label': 'Runs' }, backLink(), h('span', null, other(place - 1, 'Previous run'), ' ', other(place + 1, 'Next run'))),
    h('div', { class: 'run-title' }, h('h2', { tabindex: '-1' }, run.name), statusTag(kindOf(run), statusText(run)), page.best.runs.includes(run.name) && h('span', { class: 'badge' }, '\u2605 best')),
    run.abandoned && h('p', { class: 'lead' }, `Stopped early: ${run.abandoned}`),
    run.reasons.length > 0 && h('div', { class: 'stale-why' }, h('p', null, 'Its results are out of date:'), h('ul', null, run.reasons.map((reason) => h('li', null, reason)))),
    h(
      'dl',
      { class: 'facts' },
      fact('Flow', { synth: 'synthesis', impl: 'implementation' }[run.flow] ?? run.flow),
      fact('Family', run.family && h('span', { class: 'group-cell' }, swatch(groupColour(page, run.group), groupShape(page, run.group)), run.family)),
      fact('Sweep', run.sweep),
      fact('Strategy', run.strategy),
      fact('Seed', run.seed === null ? '' : String(run.seed)),
      fact('Synthesis', run.synthesis && (page.byName.has(run.synthesis) ? h('a', { href: runAddress(run.synthesis), 'data-focus': 'synthesis' }, run.synthesis) : run.synthesis)),
      fact('Where', run.place),
      fact('Queued', timeText(run.queuedAt)),
      fact('Waited', durationText(waitingOf(run))),
      fact('Began', timeText(run.began)),
      fact('Ended', timeText(run.ended)),
      fact('Elapsed', durationText(elapsedOf(run, page.generated))),
      fact('Warnings', run.warnings === null ? '' : String(run.warnings)),
      fact('Directory', run.directory && h('code', null, run.directory)),
    ),
  );
}

function box(title: string, ...content: (Node | string)[]): HTMLElement {
  const id = newId('heading');
  return h('section', { class: 'panel', 'aria-labelledby': id }, h('div', { class: 'panel-head' }, h('h3', { id }, title)), h('div', { class: 'panel-body' }, content));
}

function wide(title: string, ...content: (Node | string)[]): HTMLElement {
  const element = box(title, ...content);
  element.classList.add('wide');
  return element;
}

function nextBox(run: Run): HTMLElement | null {
  if (!run.next) return null;
  const element = wide('Next to do', h('p', null, run.next));
  element.classList.add('next-box');
  return element;
}

/** What failed, where, what to try, and the tool's own words last. */
function failureBox(failure: Failure): HTMLElement {
  const where = failure.file ? `${failure.file}${failure.line === null ? '' : `:${failure.line}`}` : '';
  const part = (name: string, value: Node | string) => (value === '' ? null : h('div', null, h('dt', null, name), h('dd', null, value)));
  const element = wide(
    failure.step ? `Failed in ${failure.step}` : 'Failed',
    h(
      'dl',
      { class: 'failure' },
      part('What', failure.what),
      part('Where', where && h('code', null, where)),
      part('What to try', failure.advice),
      part('The tool\u2019s own words', failure.tool && h('pre', { tabindex: '0' }, failure.tool)),
    ),
  );
  element.classList.add('failure-box');
  return element;
}

function figuresTable(page: Page, run: Run): Node {
  const rows = page.figures.filter((figure) => run.figures.has(figure.name));
  const loose = [...run.figures.keys()].filter((name) => !figureOf(page, name));
  if (rows.length + loose.length === 0) return h('p', { class: 'hint' }, 'It has no results yet.');
  const bestValue = (name: string) => page.byName.get(page.best.runs[0] ?? '')?.figures.get(name);
  const isCompared = page.best.runs.length > 0 && !page.best.runs.includes(run.name);
  return plainTable(
    `Results of ${run.name}`,
    ['Figure', 'Value', ...(isCompared ? ['Best run', 'Difference'] : [])],
    [
      ...rows.map((figure) => {
        const value = run.figures.get(figure.name) as number;
        const best = bestValue(figure.name);
        const difference = best === undefined ? '' : value === best ? '\u00b10' : `${value > best ? '+' : ''}${withUnit(value - best, figure.unit)}`;
        return [figure.label, withUnit(value, figure.unit), ...(isCompared ? [best === undefined ? '' : withUnit(best, figure.unit), difference] : [])];
      }),
      ...loose.map((name) => [name, numberText(run.figures.get(name) as number)]),
    ],
  );
}

function stepsTable(run: Run, page: Page): Node {
  if (run.steps.length === 0) return h('p', { class: 'hint' }, 'It wasn\u2019t launched yet.');
  const secondsOf = (step: Step) => step.seconds ?? (step.status === 'running' && step.began !== null && page.generated !== null ? page.generated - step.began : null);
  return plainTable(
    `Steps of ${run.name}`,
    ['Step', 'Status', 'Began', 'Took'],
    run.steps.map((step) => [step.name, statusTag(kindOfWord(step.status), step.kept ? `${step.status}, kept` : step.status), timeText(step.began), durationText(secondsOf(step))]),
  );
}

function optionsTable(run: Run): Node {
  if (run.options.size === 0) return h('p', { class: 'hint' }, 'All of its options are at their defaults.');
  return plainTable(`Options of ${run.name}`, ['Option', 'Value'], [...run.options].map(([name, value]) => [h('code', null, name), h('code', null, value === '' ? "''" : value)]));
}

/** At a server the whole of a log or report can be had. */
function serverLink(path: string[], text: string, focus: string): HTMLElement {
  return h('a', { href: serverAddress(path.map(encodeURIComponent).join('/')), target: '_blank', rel: 'noopener', 'data-focus': focus }, text);
}

function logView(run: Run, isLive: boolean): Node {
  if (run.log.length === 0) return h('p', { class: 'hint' }, 'Its log is empty or was left out; ', h('code', null, `xp log ${run.name}`), ' shows it.');
  const first = run.failure || kindOf(run) === 'failed' ? firstError(run.log, run.failure) : -1;
  const id = newId('first-error');
  const lines = run.log.map((line, i) => h('span', { class: i === first ? 'log-line log-first' : WARNING_LINE.test(line) ? 'log-line log-warning' : ERROR_LINE.test(line) && !NO_ERROR.test(line) ? 'log-line log-error' : 'log-line', id: i === first ? id : null }, i === first && h('span', { class: 'vh' }, 'First error: '), line, '\n'));
  const view = h('pre', { class: 'log', tabindex: '0', role: 'region', 'aria-label': 'Log' }, lines);
  const jump = () => {
    const line = view.querySelector<HTMLElement>('.log-first');
    if (line) view.scrollTop = Math.max(0, line.offsetTop - view.offsetTop - 40);
    view.focus();
  };
  return h('div', null, h('p', { class: 'hint' }, `The last ${plural(run.log.length, 'line')}. `, isLive && [serverLink(['log', run.name], 'The whole log', 'log'), ' '], first >= 0 && h('button', { type: 'button', class: 'quiet', 'data-focus': 'first-error', onclick: jump }, `Go to the first error, line ${first + 1}`)), view);
}

function reportsView(run: Run, isLive: boolean): Node {
  if (run.reports.length === 0) return h('p', { class: 'hint' }, 'It has no reports; ', h('code', null, `xp report list ${run.name}`), ' tells which it could have.');
  return h('div', { class: 'reports' }, run.reports.map((report) => reportView(run, report, isLive)));
}

function reportView(run: Run, report: Report, isLive: boolean): HTMLElement {
  const about = h('span', { class: 'dim' }, [report.step, report.state, report.reason].filter(Boolean).join(', '));
  if (report.text === null) {
    const isMade = report.state === 'generated';
    return h('div', { class: 'report-line' }, h('b', null, report.name), ' ', about, isMade && [' ', isLive ? serverLink(['report', run.name, report.name], 'Show', `report ${report.name}`) : h('code', null, `xp report open ${run.name} ${report.name}`)]);
  }
  return h('details', null, h('summary', { 'data-focus': `report ${report.name}` }, h('b', null, report.name), ' ', about), h('pre', { class: 'report', tabindex: '0', role: 'region', 'aria-label': report.name }, report.text));
}

function repeatView(run: Run): Node {
  if (run.repeat.length === 0) return h('p', { class: 'hint' }, 'Nothing tells how it was made.');
  const text = run.repeat.join('\n');
  const button = h('button', { type: 'button', 'data-focus': 'copy' }, 'Copy');
  button.addEventListener('click', () => {
    void copyText(text).then((isCopied) => {
      button.textContent = isCopied ? 'Copied' : 'Not copied: select the text';
      announce(isCopied ? 'The commands were copied.' : 'The commands couldn\u2019t be copied.');
      window.setTimeout(() => (button.textContent = 'Copy'), 2000);
    });
  });
  return h('div', { class: 'repeat' }, h('pre', { tabindex: '0', role: 'region', 'aria-label': 'Commands' }, text), button);
}
