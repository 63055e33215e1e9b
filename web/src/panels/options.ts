// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// The options that aren't at their defaults: a column a family, and only the rows that
// differ unless all are asked for.
import { Panel, swatch } from '../chart';
import { h, newId, replace } from '../dom';
import { compareNames, plural } from '../format';
import type { Page, Run } from '../model';
import { groupColour, groupShape } from '../palette';
import { thePage } from '../store';

const MOST_COLUMNS = 16;

interface Column {
  title: string;
  group: string;
  runs: Run[];
}

interface Cell {
  text: string;
  isDefault: boolean;
}

export class OptionsPanel {
  readonly panel = new Panel('options', 'Options');
  private isAll = false;

  draw(): void {
    const page = thePage();
    this.panel.setTitle(`What differs between the ${page.groups.length > 1 ? (page.groupWord === 'family' ? 'families' : 'strategies') : 'runs'}`);
    const columns = columnsOf(page);
    const names = [...new Set(columns.flatMap((column) => column.runs.flatMap((run) => [...run.options.keys()])))].sort(compareNames);
    if (columns.length === 0 || names.length === 0) {
      this.panel.setTools();
      if (page.runs.length === 0) this.panel.setEmpty('Options that differ between runs show here.', 'xp create synth_1 --flow synth');
      else this.panel.setEmpty('All runs have every option at its default.', `xp set ${page.runs[0].name} OPTION=VALUE`);
      return;
    }
    const shown = columns.slice(0, MOST_COLUMNS);
    const rows = names.map((name) => ({ name, cells: shown.map((column) => cellOf(column.runs, name)) }));
    const differing = rows.filter((row) => row.cells.some((cell) => cell.text !== row.cells[0].text));
    const hidden = rows.length - differing.length;
    this.drawTools(shown.length === 1 ? 0 : hidden);
    const visible = this.isAll || shown.length === 1 ? rows : differing;
    this.panel.setLead(differing.length === 0 ? (shown.length > 1 ? 'No option differs.' : 'There is nothing yet to differ from.') : `${plural(differing.length, 'option')} of those not at their defaults ${differing.length === 1 ? 'differs' : 'differ'}${hidden && !this.isAll ? `; ${plural(hidden, 'equal one')} hidden` : ''}.`);
    replace(
      this.panel.body,
      visible.length > 0 && matrix(page, shown, visible),
      columns.length > shown.length && h('p', { class: 'hint' }, `The first ${shown.length} of ${columns.length} are shown.`),
    );
  }

  private drawTools(hidden: number): void {
    const id = newId('equal');
    const box = h('input', { type: 'checkbox', id, checked: this.isAll, onchange: () => {
      this.isAll = box.checked;
      this.draw();
      this.panel.element.querySelector<HTMLElement>('.tools input')?.focus();
    } });
    this.panel.setTools(...(hidden > 0 || this.isAll ? [h('span', { class: 'check' }, box, h('label', { for: id }, 'Show equal ones too'))] : []));
  }
}

function columnsOf(page: Page): Column[] {
  if (page.groups.length > 1) return page.groups.filter((group) => group.runs.length > 0).map((group) => ({ title: group.name, group: group.name, runs: group.runs }));
  return page.runs.filter((run) => run.flow !== 'synth').map((run) => ({ title: run.name, group: run.group, runs: [run] }));
}

/** The value that all of `runs` have; else that it varies, and between what. */
function cellOf(runs: Run[], name: string): Cell {
  const values = [...new Set(runs.map((run) => run.options.get(name)))];
  const isDefault = values.length === 1 && values[0] === undefined;
  const texts = values.map((value) => (value === undefined ? 'default' : value === '' ? "''" : value)).sort(compareNames);
  const text = texts.length > 5 ? `${texts.slice(0, 2).join(', ')}, \u2026, ${texts[texts.length - 1]}` : texts.join(', ');
  return { text, isDefault };
}

function matrix(page: Page, columns: Column[], rows: { name: string; cells: Cell[] }[]): HTMLElement {
  return h(
    'div',
    { class: 'table-scroll', tabindex: '0', role: 'region', 'aria-label': 'Options' },
    h(
      'table',
      { class: 'plain matrix' },
      h('caption', { class: 'vh' }, 'Options by column'),
      h(
        'thead',
        null,
        h('tr', null, h('th', { scope: 'col' }, 'Option'), columns.map((column) => h('th', { scope: 'col' }, column.group ? [swatch(groupColour(page, column.group), groupShape(page, column.group)), ' '] : null, column.title))),
      ),
      h(
        'tbody',
        null,
        rows.map((row) => h('tr', null, h('th', { scope: 'row' }, h('code', null, row.name)), row.cells.map((cell) => h('td', { class: cell.isDefault ? 'dim' : 'set' }, cell.text)))),
      ),
    ),
  );
}
