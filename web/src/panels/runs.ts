// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The table of runs. Tabulator draws the rows in view; what it is given are elements, so
// that no text of a run is ever read as markup.
import {
  FilterModule,
  FormatModule,
  FrozenColumnsModule,
  GroupRowsModule,
  InteractionModule,
  ResizeColumnsModule,
  ResizeTableModule,
  SortModule,
  Tabulator,
  type ColumnDefinition,
  type Row as TableRow,
} from 'tabulator-tables';
import { Panel, plainTable, swatch } from '../chart';
import { announce, choice, debounced, download, h, newId, replace } from '../dom';
import { compareNames, csvValue, durationText, numberText, plural, timeText, withUnit } from '../format';
import { elapsedOf, figureTitle, figuresInUse, mainFigure, waitingOf, type Figure, type Page, type Run } from '../model';
import { groupColour, groupShape } from '../palette';
import { KINDS, kindOf, statusTag, statusText, type Kind } from '../status';
import { summaryOf } from '../statistics';
import { runAddress, select, selectedRun, thePage } from '../store';

Tabulator.registerModule([
  FilterModule,
  FormatModule,
  FrozenColumnsModule,
  GroupRowsModule,
  InteractionModule,
  ResizeColumnsModule,
  ResizeTableModule,
  SortModule,
]);

interface Group {
  toggle(): void;
  isVisible(): boolean;
  getElement(): HTMLElement;
}

type Cells = Record<string, unknown>;

interface ColumnKind {
  field: string;
  title: string;
  isNumber: boolean;
  isShown: boolean;
  width?: number;
  grow?: number;
  value: (run: Run, page: Page) => string | number | null;
  show?: (run: Run, page: Page) => Node | string;
}

/** Rows as they are filtered by a text of a column: "> 60", "<= 5", "50..60", or a part of it. */
export function matches(filter: string, value: unknown): boolean {
  const wanted = filter.trim();
  if (wanted === '') return true;
  const limit = /^(<=|>=|<|>|=)\s*(-?\d+(?:\.\d+)?)$/.exec(wanted);
  const range = /^(-?\d+(?:\.\d+)?)\s*\.\.\s*(-?\d+(?:\.\d+)?)$/.exec(wanted);
  if (limit || range) {
    if (typeof value !== 'number') return false;
    if (range) return value >= Number(range[1]) && value <= Number(range[2]);
    const bound = Number(limit?.[2]);
    return { '<=': value <= bound, '>=': value >= bound, '<': value < bound, '>': value > bound, '=': value === bound }[
      limit?.[1] as string
    ] as boolean;
  }
  return String(value ?? '').toLowerCase().includes(wanted.toLowerCase());
}

/** Enough for most of `texts`; what is longer ends in an ellipsis. */
function widthFor(texts: string[], more: number, least: number): number {
  const longest = texts.reduce((most, text) => Math.max(most, text.length), 0);
  return Math.min(260, Math.max(least, more + longest * 7.6));
}

/** A figure's field: its place, since Tabulator reads some signs of a field's name. */
function fieldOf(page: Page, figure: Figure): string {
  return `figure${page.figures.indexOf(figure)}`;
}

function columnsOf(page: Page): ColumnKind[] {
  const used = figuresInUse(page);
  const places = new Set(page.runs.map((run) => run.place).filter(Boolean));
  const isShown = (figure: Figure) => ['fmax', 'worst_slack', 'logic_cells'].includes(figure.name) || figure === mainFigure(page);
  const figureColumn = (figure: Figure): ColumnKind => ({
    field: fieldOf(page, figure),
    title: figureTitle(figure),
    isNumber: true,
    isShown: isShown(figure),
    width: Math.max(122, 30 + figureTitle(figure).length * 7.2),
    value: (run) => run.figures.get(figure.name) ?? null,
    show: (run, now) => {
      const value = run.figures.get(figure.name);
      return value === undefined ? '' : numberText(value, now.decimals.get(figure.name) ?? 2, true);
    },
  });
  return [
    {
      field: 'name',
      title: 'Run',
      isNumber: false,
      isShown: true,
      width: widthFor(page.runs.map((run) => run.name), 44, 150),
      value: (run) => run.name,
      show: (run, now) => nameCell(run, now),
    },
    {
      field: 'status',
      title: 'Status',
      isNumber: false,
      isShown: true,
      width: 124,
      value: (run) => statusText(run),
      show: (run) => statusTag(kindOf(run), statusText(run)),
    },
    { field: 'family', title: 'Family', isNumber: false, isShown: page.groupWord === 'family', width: widthFor(page.groups.map((group) => group.name), 50, 110), value: (run) => run.family, show: groupCell },
    { field: 'strategy', title: 'Strategy', isNumber: false, isShown: page.groupWord === 'strategy', width: widthFor(page.runs.map((run) => run.strategy), 50, 110), value: (run) => run.strategy, show: (run, now) => (now.groupWord === 'strategy' ? groupCell(run, now) : run.strategy) },
    { field: 'seed', title: 'Seed', isNumber: true, isShown: true, width: 70, value: (run) => run.seed, show: (run) => (run.seed === null ? '' : String(run.seed)) },
    ...used.map(figureColumn),
    { field: 'elapsed', title: 'Elapsed', isNumber: true, isShown: true, width: 98, value: (run, now) => elapsedOf(run, now.generated), show: (run, now) => durationText(elapsedOf(run, now.generated)) },
    { field: 'waiting', title: 'Waited', isNumber: true, isShown: false, width: 104, value: waitingOf, show: (run) => durationText(waitingOf(run)) },
    { field: 'warnings', title: 'Warnings', isNumber: true, isShown: true, width: 100, value: (run) => run.warnings, show: (run) => (run.warnings === null ? '' : String(run.warnings)) },
    { field: 'place', title: 'Where', isNumber: false, isShown: places.size > 1, width: 96, value: (run) => run.place },
    { field: 'next', title: 'Next to do', isNumber: false, isShown: true, width: 180, grow: 1, value: (run) => run.next },
    { field: 'flow', title: 'Flow', isNumber: false, isShown: false, width: 88, value: (run) => run.flow },
    { field: 'step', title: 'Step', isNumber: false, isShown: false, width: 130, value: (run) => run.step },
    { field: 'synthesis', title: 'Synthesis', isNumber: false, isShown: false, width: 130, value: (run) => run.synthesis },
    { field: 'sweep', title: 'Sweep', isNumber: false, isShown: false, width: 130, value: (run) => run.sweep },
    { field: 'ended', title: 'Ended', isNumber: true, isShown: false, width: 170, value: (run) => run.ended, show: (run) => timeText(run.ended) },
    { field: 'reasons', title: 'Why stale', isNumber: false, isShown: false, width: 260, value: (run) => run.reasons.join('; ') },
  ];
}

function nameCell(run: Run, page: Page): Node {
  const isBest = page.best.runs.includes(run.name);
  return h(
    'span',
    { class: 'name-cell' },
    isBest && h('span', { class: 'star', title: 'best run' }, h('span', { 'aria-hidden': 'true' }, '\u2605'), h('span', { class: 'vh' }, 'best run ')),
    h('a', { href: runAddress(run.name), tabindex: '-1', class: 'run-link' }, run.name),
  );
}

function groupCell(run: Run, page: Page): Node | string {
  if (run.group === '') return '';
  return h('span', { class: 'group-cell' }, swatch(groupColour(page, run.group), groupShape(page, run.group)), h('span', null, run.group));
}

/** A run as Tabulator keeps it; `shown` changes whenever a cell would look another. */
function cellsOf(run: Run, page: Page, columns: ColumnKind[]): Cells {
  const cells: Cells = { name: run.name };
  for (const column of columns) cells[column.field] = column.value(run, page);
  cells.group = run.group;
  cells.kind = kindOf(run);
  cells.isBest = page.best.runs.includes(run.name);
  return cells;
}

export class RunsPanel {
  readonly panel = new Panel('runs', 'Runs', 'wide');
  private readonly holder = h('div', { class: 'runs-table' });
  private readonly search = h('input', { type: 'search', placeholder: 'any text', oninput: debounced(() => this.filter(), 120) });
  private readonly count = h('span', { class: 'count', 'aria-live': 'polite' });
  private readonly chooser = h('details', { class: 'menu columns-menu' });
  private readonly paper = h('div', { class: 'paper-only' });
  private readonly filters = new Map<string, HTMLInputElement>();
  private readonly statusChoice: HTMLElement;
  private readonly groupChoice: HTMLElement;
  private readonly clear = h('button', { type: 'button', class: 'quiet', onclick: () => this.clearFilters() }, 'Clear filters');
  private columns: ColumnKind[] = [];
  private table: Tabulator | null = null;
  private isBuilt = false;
  private signature = '';
  private active = '';
  private marked = '';
  private kind: Kind | '' = '';
  private groupBy = '';
  private scroll = [0, 0];
  /** The run whose link has the focus; empty for none. */
  private focused = '';

  constructor() {
    this.statusChoice = choice(
      'Status',
      [['', 'all'], ...KINDS.map((kind): [string, string] => [kind, kind === 'idle' ? 'not started' : kind])],
      '',
      (value) => this.showStatus(value as Kind | ''),
    );
    this.groupChoice = choice(
      'Group by',
      [['', 'nothing'], ['group', 'family'], ['kind', 'status'], ['synthesis', 'synthesis']],
      '',
      (value) => this.group(value),
    );
    this.clear.hidden = true;
    document.addEventListener('keydown', (event) => {
      if (event.key === 'Escape') this.closeMenus(event);
    });
    document.addEventListener('focusin', (event) => {
      if (!this.holder.contains(event.target as Node)) this.focused = '';
    });
    document.addEventListener('pointerdown', () => {
      this.focused = '';
    });
    document.addEventListener('click', (event) => {
      if (!(event.target as Element).closest?.('.menu')) this.closeMenus(null);
    });
  }

  draw(): void {
    const page = thePage();
    if (page.runs.length === 0) {
      this.reset();
      this.panel.setTools();
      this.panel.setEmpty('There is no run yet.', 'xp create synth_1 --flow synth');
      return;
    }
    const columns = columnsOf(page);
    const signature = [page.groupWord, ...page.figures.map((figure) => figure.name), ...columns.map((column) => `${column.field} ${column.title}`)].join('\n');
    if (this.table && signature === this.signature) {
      this.update(page);
      return;
    }
    this.reset();
    this.signature = signature;
    this.columns = columns;
    this.build(page);
  }

  /** Draws all rows anew: their colours have changed. */
  restyle(): void {
    if (this.isBuilt) this.table?.redraw(true);
  }

  private reset(): void {
    this.table?.destroy();
    this.table = null;
    this.isBuilt = false;
    this.filters.clear();
  }

  private build(page: Page): void {
    this.drawTools(page);
    replace(this.panel.body, this.holder, h('p', { class: 'hint' }, 'In the table: arrow keys move, Enter opens a run, Space selects it. A column\u2019s filter takes a part of a text, or for numbers ', h('code', null, '> 60'), ', ', h('code', null, '<= 5'), ', ', h('code', null, '50..60'), '.'), this.paper);
    const main = mainFigure(page);
    const first = main ? fieldOf(page, main) : 'name';
    const table = new Tabulator(this.holder, {
      index: 'name',
      data: page.runs.map((run) => cellsOf(run, page, this.columns)),
      columns: this.columns.map((column) => this.definition(column)),
      nestedFieldSeparator: false,
      height: Math.min(460, 92 + 33 * page.runs.length),
      layout: 'fitColumns',
      initialSort: [{ column: first, dir: main && main.better !== 'lower' ? 'desc' : 'asc' }],
      columnHeaderSortMulti: true,
      headerSortElement: '<span class="sort-arrow" aria-hidden="true"></span>',
      placeholder: h('p', { class: 'no-match' }, 'No run fits the filters.'),
      groupHeader: (value: string, count: number, data: Cells[], group: Group) => this.groupHead(value, count, data, group),
      groupToggleElement: false,
      groupBy: this.groupBy || false,
      rowFormatter: (row: TableRow) => this.formatRow(row),
    });
    this.table = table;
    table.on('tableBuilt', () => {
      this.isBuilt = true;
      this.dressUp();
      this.filter();
      this.selectionChanged();
    });
    table.on('renderComplete', () => this.keepActive());
    table.on('dataFiltered', (_filters: unknown, rows: TableRow[]) => this.counted(rows.length));
    table.on('rowClick', (event: Event, row: TableRow) => this.rowClicked(event, row));
    table.on('rowDblClick', (_event: Event, row: TableRow) => {
      window.location.hash = runAddress(String(row.getData().name));
    });
  }

  private definition(column: ColumnKind): ColumnDefinition {
    return {
      field: column.field,
      title: column.title,
      visible: column.isShown,
      minWidth: column.grow ? 180 : Math.min(column.width ?? 100, 72),
      width: column.grow ? undefined : column.width,
      widthGrow: column.grow,
      hozAlign: column.isNumber ? 'right' : 'left',
      headerHozAlign: column.isNumber ? 'right' : 'left',
      frozen: column.field === 'name' && window.innerWidth >= 700,
      cssClass: column.isNumber ? 'number' : '',
      headerSortStartingDir: column.isNumber ? 'desc' : 'asc',
      sorter: (a: unknown, b: unknown, _row: unknown, _other: unknown, _column: unknown, direction: string) => sortValues(a, b, direction),
      titleFormatter: () => h('button', { type: 'button', class: 'col-title', title: `Sort by ${column.title}` }, column.title),
      formatter: (cell: { getData(): Cells }) => {
        const page = thePage();
        const run = page.byName.get(String(cell.getData().name));
        if (!run) return '';
        const shown = column.show ? column.show(run, page) : String(column.value(run, page) ?? '');
        return typeof shown === 'string' ? h('span', { title: shown.length > 24 ? shown : null }, shown) : shown;
      },
      headerFilter: (_cell: unknown, _rendered: unknown, success: (value: string) => void) => this.headerFilter(column, success),
      headerFilterFunc: (wanted: string, value: unknown) => matches(wanted, value),
      headerFilterLiveFilter: false,
    };
  }

  private headerFilter(column: ColumnKind, success: (value: string) => void): HTMLElement {
    const input = h('input', { type: 'text', class: 'col-filter', 'aria-label': `Filter ${column.title}`, autocomplete: 'off', spellcheck: 'false' });
    input.addEventListener('input', debounced(() => {
      success(input.value);
      this.showClear();
    }, 120));
    input.addEventListener('keydown', (event) => event.stopPropagation());
    input.addEventListener('click', (event) => event.stopPropagation());
    this.filters.set(column.field, input);
    return input;
  }

  private drawTools(page: Page): void {
    const hasGroups = page.groups.length > 0;
    const word = this.groupChoice.querySelector<HTMLOptionElement>('option[value=group]');
    if (word) word.textContent = page.groupWord;
    this.drawChooser();
    this.panel.setTools(
      h('label', { class: 'choice' }, h('span', null, 'Find'), this.search),
      this.statusChoice,
      ...(hasGroups ? [this.groupChoice] : []),
      this.clear,
      this.count,
      this.chooser,
      h(
        'details',
        { class: 'menu' },
        h('summary', null, 'Export'),
        h(
          'div',
          { class: 'menu-box' },
          h('button', { type: 'button', onclick: () => this.exportCsv() }, 'CSV, the rows and columns shown'),
          h('button', { type: 'button', onclick: () => this.exportJson() }, 'JSON, all of the rows shown'),
        ),
      ),
    );
  }

  private drawChooser(): void {
    replace(
      this.chooser,
      h('summary', null, 'Columns'),
      h(
        'fieldset',
        { class: 'menu-box' },
        h('legend', { class: 'vh' }, 'Columns shown'),
        this.columns.slice(1).map((column) => {
          const id = newId('column');
          return h(
            'div',
            { class: 'check' },
            h('input', { type: 'checkbox', id, checked: column.isShown, onchange: (event: Event) => this.showColumn(column, (event.target as HTMLInputElement).checked) }),
            h('label', { for: id }, column.title),
          );
        }),
      ),
    );
  }

  private showColumn(column: ColumnKind, isShown: boolean): void {
    column.isShown = isShown;
    if (isShown) this.table?.showColumn(column.field);
    else this.table?.hideColumn(column.field);
    this.table?.redraw();
  }

  private closeMenus(event: KeyboardEvent | null): void {
    for (const menu of this.panel.element.querySelectorAll<HTMLDetailsElement>('details.menu[open]')) {
      if (event && menu.contains(document.activeElement)) menu.querySelector('summary')?.focus();
      menu.open = false;
    }
  }

  /** What Tabulator leaves out for the keyboard and for screen readers. */
  private dressUp(): void {
    this.holder.setAttribute('aria-label', 'Runs');
    const rows = this.holder.querySelector<HTMLElement>('.tabulator-tableholder');
    rows?.addEventListener('keydown', (event) => this.moveByKey(event));
    rows?.removeAttribute('tabindex');
    this.holder.addEventListener('focusin', (event) => {
      const link = (event.target as Element).closest('.run-link');
      this.focused = link?.textContent ?? '';
    });
  }

  // ---- filters ----

  showStatus(kind: Kind | ''): void {
    this.kind = kind;
    const box = this.statusChoice.querySelector('select');
    if (box) box.value = kind;
    this.filter();
  }

  private filter(): void {
    if (!this.isBuilt || !this.table) return;
    const words = this.search.value.toLowerCase().split(/\s+/).filter(Boolean);
    this.table.setFilter((cells: Cells) => this.isWanted(cells, words));
    this.showClear();
  }

  private isWanted(cells: Cells, words: string[]): boolean {
    if (this.kind && cells.kind !== this.kind) return false;
    if (words.length === 0) return true;
    const run = thePage().byName.get(String(cells.name));
    if (!run) return false;
    const all = [...Object.values(cells), run.abandoned, run.failure?.what, ...run.options.entries()].join('\n').toLowerCase();
    return words.every((word) => all.includes(word));
  }

  private isFiltered(): boolean {
    return this.kind !== '' || this.search.value.trim() !== '' || [...this.filters.values()].some((input) => input.value.trim() !== '');
  }

  private showClear(): void {
    this.clear.hidden = !this.isFiltered();
  }

  private clearFilters(): void {
    this.search.value = '';
    for (const [field, input] of this.filters) {
      input.value = '';
      this.table?.setHeaderFilterValue(field, '');
    }
    this.showStatus('');
    this.search.focus();
  }

  private counted(shown: number): void {
    const all = thePage().runs.length;
    this.count.textContent = shown === all ? plural(all, 'run') : `${numberText(shown, 0)} of ${plural(all, 'run')}`;
  }

  // ---- groups ----

  private group(by: string): void {
    this.groupBy = by;
    this.table?.setGroupBy(by || false);
  }

  private groupHead(value: string, count: number, data: Cells[], group: Group): Node {
    const page = thePage();
    const main = mainFigure(page);
    const summary = main ? summaryOf(data.map((cells) => cells[fieldOf(page, main)]).filter((each): each is number => typeof each === 'number')) : null;
    group.getElement().setAttribute('role', 'row');
    const button = h('button', { type: 'button', class: 'group-toggle', 'aria-expanded': String(group.isVisible()) }, value || 'none');
    button.addEventListener('click', (event) => {
      event.stopPropagation();
      group.toggle();
      button.setAttribute('aria-expanded', String(group.isVisible()));
    });
    return h(
      'span',
      { class: 'group-head', role: 'gridcell' },
      button,
      this.groupBy === 'group' && value !== '' && swatch(groupColour(page, value), groupShape(page, value)),
      h('span', { class: 'dim' }, [plural(count, 'run'), main && summary ? `median ${main.label} ${withUnit(summary.median, main.unit)}` : ''].filter(Boolean).join(', ')),
    );
  }

  // ---- selection and keys ----

  private formatRow(row: TableRow): void {
    const element = row.getElement();
    const name = row.getData().name;
    if (name === undefined) return;
    const isSelected = name === selectedRun()?.name;
    element.classList.toggle('is-selected', isSelected);
    element.setAttribute('aria-selected', String(isSelected));
    const link = element.querySelector<HTMLElement>('.run-link');
    if (link) link.tabIndex = name === this.active ? 0 : -1;
  }

  private rowOf(name: string): TableRow | null {
    const row = this.isBuilt && name !== '' ? this.table?.getRow(name) : false;
    return row || null;
  }

  private rowClicked(event: Event, row: TableRow): void {
    if ((event.target as Element).closest('a, button')) return;
    const name = String(row.getData().name);
    this.activate(name, false);
    select(name === selectedRun()?.name ? '' : name);
  }

  private visibleRows(): TableRow[] {
    // The heads of groups are among them.
    return (this.table?.getRows('display') ?? []).filter((row) => '_row' in row);
  }

  /** One row at a time can be reached by Tab: the first, or the one that was last at. */
  private keepActive(): void {
    // A row that was drawn anew under the focus has lost it.
    if (this.focused !== '' && document.activeElement === document.body) this.activate(this.focused, true);
    const links = [...this.holder.querySelectorAll<HTMLElement>('.tabulator-row .run-link')];
    const stop = links.find((link) => link.textContent === this.active) ?? links[0];
    for (const link of links) link.tabIndex = link === stop ? 0 : -1;
  }

  private activate(name: string, isFocused: boolean): void {
    for (const link of this.holder.querySelectorAll<HTMLElement>('.run-link[tabindex="0"]')) link.tabIndex = -1;
    this.active = name;
    const row = this.rowOf(name);
    const link = row?.getElement().querySelector<HTMLElement>('.run-link');
    if (!link) return;
    link.tabIndex = 0;
    if (isFocused) link.focus({ preventScroll: true });
  }

  private moveByKey(event: KeyboardEvent): void {
    const link = (event.target as Element).closest<HTMLElement>('.run-link');
    if (!link || event.ctrlKey || event.altKey || event.metaKey) return;
    const name = link.textContent ?? '';
    if (event.key === ' ') {
      event.preventDefault();
      select(name === selectedRun()?.name ? '' : name);
      return;
    }
    const rows = this.visibleRows();
    const at = rows.findIndex((row) => row.getData().name === name);
    const last = rows.length - 1;
    const to = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: last, PageDown: at + 10, PageUp: at - 10 }[event.key];
    if (to === undefined || at < 0) return;
    event.preventDefault();
    void this.goTo(rows[Math.max(0, Math.min(last, to))]);
  }

  private async goTo(row: TableRow): Promise<void> {
    const name = String(row.getData().name);
    await this.scrollTo(row);
    this.activate(name, true);
    this.rowOf(name)?.getElement().scrollIntoView({ block: 'nearest' });
  }

  private async scrollTo(row: TableRow): Promise<void> {
    const holder = this.holder.querySelector('.tabulator-tableholder');
    const element = row.getElement();
    if (holder?.contains(element)) {
      const [outer, inner] = [holder.getBoundingClientRect(), element.getBoundingClientRect()];
      const bottom = outer.top + holder.clientHeight;
      if (inner.top < outer.top) holder.scrollTop -= outer.top - inner.top;
      else if (inner.bottom > bottom) holder.scrollTop += inner.bottom - bottom;
      return;
    }
    try {
      await this.table?.scrollToRow(row, 'nearest', false);
    } catch {
      // It is filtered out.
    }
  }

  selectionChanged(): void {
    if (!this.isBuilt) return;
    for (const name of new Set([this.marked, selectedRun()?.name ?? ''])) {
      const row = this.rowOf(name);
      if (row) this.formatRow(row);
    }
    this.marked = selectedRun()?.name ?? '';
  }

  /** To be called before the table is hidden, which forgets where it was scrolled to. */
  remember(): void {
    const holder = this.holder.querySelector('.tabulator-tableholder');
    this.scroll = holder ? [holder.scrollLeft, holder.scrollTop] : [0, 0];
  }

  /** To be called once the table is shown again; the row of `name` has the focus then. */
  resume(name: string): void {
    if (!this.isBuilt) return;
    this.table?.redraw(true);
    this.scrollBack();
    if (name !== '') this.activate(name, true);
  }

  private scrollBack(): void {
    const holder = this.holder.querySelector('.tabulator-tableholder');
    if (holder) [holder.scrollLeft, holder.scrollTop] = this.scroll;
  }

  /** Brings the selected run into view; for selections made elsewhere. */
  async reveal(name: string): Promise<void> {
    const row = this.rowOf(name);
    if (row && this.visibleRows().some((each) => each.getData().name === name)) await this.scrollTo(row);
  }

  // ---- live data ----

  /** Changes what has changed; focus, scroll, sort, filters and selection stay. */
  private update(page: Page): void {
    const table = this.table;
    if (!table || !this.isBuilt) return;
    const fresh = new Map(page.runs.map((run) => [run.name, cellsOf(run, page, this.columns)]));
    const focused = document.activeElement?.matches('.run-link') ? this.focused : '';
    this.remember();
    let isChanged = false;
    table.blockRedraw();
    for (const row of table.getRows()) {
      const before = row.getData();
      const now = fresh.get(String(before.name));
      fresh.delete(String(before.name));
      if (!now) {
        void row.delete();
        isChanged = true;
      } else if (Object.keys(now).some((key) => now[key] !== before[key])) {
        void row.update(now);
        row.reformat();
        isChanged = true;
      }
    }
    if (fresh.size > 0) {
      void table.addData([...fresh.values()]);
      isChanged = true;
    }
    // Filtering sorts and groups anew, too.
    if (isChanged) this.filter();
    table.restoreRedraw();
    if (!isChanged) return;
    this.scrollBack();
    if (focused !== '') this.activate(focused, true);
  }

  // ---- export ----

  private shownRuns(): Run[] {
    const page = thePage();
    return this.visibleRows()
      .map((row) => page.byName.get(String(row.getData().name)))
      .filter((run): run is Run => run !== undefined);
  }

  private fileName(ending: string): string {
    return `${(thePage().project.name || 'runs').replace(/[^\w.-]+/g, '_')}-runs.${ending}`;
  }

  private exportCsv(): void {
    const page = thePage();
    const columns = this.columns.filter((column) => column.isShown);
    const rows = this.shownRuns().map((run) => columns.map((column) => csvValue(column.value(run, page))).join(','));
    download(this.fileName('csv'), 'text/csv;charset=utf-8', [columns.map((column) => csvValue(column.title)).join(','), ...rows, ''].join('\r\n'));
    this.exported(rows.length);
  }

  private exportJson(): void {
    const plain = (_: string, value: unknown) => (value instanceof Map ? Object.fromEntries(value) : value);
    const runs = this.shownRuns();
    download(this.fileName('json'), 'application/json', `${JSON.stringify(runs, plain, 1)}\n`);
    this.exported(runs.length);
  }

  private exported(count: number): void {
    this.closeMenus(null);
    announce(`Exported ${plural(count, 'run')}.`);
  }

  /** On paper all rows are printed, not only those in view. */
  preparePaper(isPaper: boolean): void {
    replace(this.paper);
    if (!isPaper || !this.isBuilt) return;
    const page = thePage();
    const columns = this.columns.filter((column) => column.isShown);
    this.paper.append(
      plainTable('Runs', columns.map((column) => column.title), this.shownRuns().map((run) => columns.map((column) => (column.field === 'name' ? run.name : (column.show?.(run, page) ?? String(column.value(run, page) ?? '')))))),
    );
  }
}

/** Empty cells are last in both directions. */
function sortValues(a: unknown, b: unknown, direction: string): number {
  const isEmpty = (value: unknown) => value === null || value === undefined || value === '';
  if (isEmpty(a) || isEmpty(b)) {
    if (isEmpty(a) && isEmpty(b)) return 0;
    return isEmpty(a) === (direction === 'asc') ? 1 : -1;
  }
  return typeof a === 'number' && typeof b === 'number' ? a - b : compareNames(String(a), String(b));
}
