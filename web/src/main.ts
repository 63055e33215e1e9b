// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
import { redrawCharts } from './chart';
import { announce, h, makeAnnouncer, replace } from './dom';
import { plural, withUnit } from './format';
import { Live } from './live';
import { readPage } from './model';
import { Header } from './panels/header';
import { NightsPanel } from './panels/nights';
import { OptionsPanel } from './panels/options';
import { PathsPanel } from './panels/paths';
import { RunsPanel } from './panels/runs';
import { SpreadPanel } from './panels/spread';
import { TimelinePanel } from './panels/timeline';
import { TradeoffPanel } from './panels/tradeoff';
import { UsePanel } from './panels/use';
import { RunView } from './runView';
import { kindOf, statusTag, statusText } from './status';
import { onChange, runAddress, select, selectedRun, setPage, tell, thePage } from './store';
import { onTheme, watchTheme } from './theme';

const runs = new RunsPanel();
const tradeoff = new TradeoffPanel();
const spread = new SpreadPanel();
const timeline = new TimelinePanel();
const paths = new PathsPanel();
const use = new UsePanel();
const options = new OptionsPanel();
const nights = new NightsPanel();
const panels = [runs, tradeoff, spread, timeline, paths, use, options, nights];

const header = new Header((kind) => {
  goToSection('runs');
  runs.showStatus(kind);
});
const runView = new RunView();
const overview = h('div', { class: 'overview' }, panels.map(({ panel }) => panel.element));
const banner = h('div', { class: 'banner', role: 'alert', hidden: true });
const selection = h('div', { class: 'selection', role: 'region', 'aria-label': 'Selected run', hidden: true });
const TITLES: [string, string][] = [
  ['runs', 'Runs'],
  ['tradeoff', 'Speed and area'],
  ['spread', 'Seeds'],
  ['timeline', 'Timeline'],
  ['paths', 'Critical path'],
  ['use', 'Utilisation'],
  ['options', 'Options'],
  ['nights', 'Nights'],
];
const sections = h('nav', { class: 'sections', 'aria-label': 'Parts of this page' }, h('ul', null, TITLES.map(([id, title]) => h('li', null, h('a', { href: `#${id}` }, title)))));

/** Where the overview was scrolled to when a run was opened. */
let overviewScroll = 0;

function shownRunName(): string | null {
  const { hash } = window.location;
  if (!hash.startsWith('#run=')) return null;
  try {
    return decodeURIComponent(hash.slice(5));
  } catch {
    return hash.slice(5);
  }
}

function goToSection(id: string): void {
  if (runView.isShown) {
    window.location.hash = `#${id}`;
    return;
  }
  document.getElementById(id)?.scrollIntoView({ block: 'start' });
}

function route(isFirst = false): void {
  const name = shownRunName();
  if (name !== null) {
    if (!runView.isShown && !isFirst) {
      overviewScroll = lastScroll;
      runs.remember();
    }
    overview.hidden = true;
    sections.hidden = true;
    runView.show(name);
    select(name);
    if (!isFirst) {
      window.scrollTo(0, 0);
      runView.focus();
    }
    drawSelection();
    return;
  }
  const wasRun = runView.isShown;
  runView.hide();
  overview.hidden = false;
  sections.hidden = false;
  header.draw();
  drawSelection();
  if (!wasRun) return;
  // The charts were drawn while nothing of them was in sight.
  redrawCharts();
  document.getElementById('main')?.focus({ preventScroll: true });
  runs.resume(selectedRun()?.name ?? '');
  window.scrollTo(0, overviewScroll);
}

let lastScroll = 0;
window.addEventListener('scroll', () => {
  if (!runView.isShown) lastScroll = window.scrollY;
}, { passive: true });

/** What is selected, at the foot of the window, and what can be done with it. */
function drawSelection(): void {
  const run = selectedRun();
  selection.hidden = !run || runView.isShown;
  document.body.classList.toggle('has-selection', !selection.hidden);
  if (!run || selection.hidden) {
    replace(selection);
    return;
  }
  const page = thePage();
  const figures = page.figures.filter((figure) => run.figures.has(figure.name)).slice(0, 3);
  replace(
    selection,
    h('b', null, run.name),
    statusTag(kindOf(run), statusText(run)),
    h('span', { class: 'selection-figures' }, figures.map((figure) => h('span', null, `${figure.label} `, h('b', null, withUnit(run.figures.get(figure.name) as number, figure.unit))))),
    h('a', { class: 'button', href: runAddress(run.name) }, 'Open'),
    h('button', { type: 'button', class: 'quiet', onclick: () => select('') }, 'Clear'),
  );
}

function drawAll(): void {
  header.draw();
  panels.forEach((panel) => panel.draw());
  drawSelection();
}

onChange((cause) => {
  if (cause === 'data') {
    drawAll();
    const name = shownRunName();
    if (name !== null) runView.show(name);
    return;
  }
  if (cause === 'theme') {
    panels.filter((panel) => panel !== runs).forEach((panel) => panel.draw());
    runs.restyle();
    const name = shownRunName();
    if (name !== null) runView.restyle(name);
    return;
  }
  if (cause === 'groups') {
    [tradeoff, spread, timeline].forEach((panel) => panel.draw());
    return;
  }
  runs.selectionChanged();
  [tradeoff, spread, timeline, paths, use].forEach((panel) => panel.draw());
  drawSelection();
  const run = selectedRun();
  if (run && !runView.isShown) {
    void runs.reveal(run.name);
    announce(`${run.name} selected, ${statusText(run)}.`);
  }
});

function preparePaper(isPaper: boolean): void {
  runs.preparePaper(isPaper);
  if (isPaper) redrawCharts(true);
}

function start(): void {
  const source = document.getElementById('xp-data');
  let data: unknown = {};
  let problem = '';
  try {
    data = JSON.parse(source?.textContent || '{}');
  } catch (error) {
    problem = `The data in this page can\u2019t be read (${error instanceof Error ? error.message : String(error)}). Make it again with `;
  }
  const app = document.getElementById('app') as HTMLElement;
  const main = h('main', { id: 'main', tabindex: '-1' }, overview, runView.element);
  app.append(header.element, banner, sections, main, h('footer', null, 'Made by ', h('code', null, 'xp html'), ' from the run directories alone. Parts of this page: Apache ECharts (Apache-2.0), ZRender and d3 (BSD-3-Clause), Tabulator (MIT), tslib (0BSD); their licences stand in its source.'), selection, makeAnnouncer());
  if (problem) {
    replace(banner, h('p', null, problem, h('code', null, 'xp html'), '.'));
    banner.hidden = false;
  }
  watchTheme();
  onTheme(() => tell('theme'));
  setPage(readPage(data));
  route(true);
  window.addEventListener('hashchange', () => route());
  window.matchMedia('print').addEventListener('change', (event) => preparePaper(event.matches));
  window.addEventListener('beforeprint', () => preparePaper(true));
  window.addEventListener('afterprint', () => preparePaper(false));
  document.querySelector('.skip')?.addEventListener('click', (event) => {
    event.preventDefault();
    main.focus();
  });
  if (thePage().live) new Live(header.live, banner, (news) => {
    const before = thePage().runs.length;
    setPage(readPage(news));
    const more = thePage().runs.length - before;
    if (more > 0) announce(`${plural(more, 'new run')}.`);
  }).start();
  document.documentElement.dataset.ready = 'yes';
}

start();
