// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
import { Panel } from '../chart';
import { h, replace } from '../dom';
import { numberText } from '../format';
import type { Run, Use } from '../model';
import { runAddress, shownRun, thePage } from '../store';

/** How much of the device a run takes. */
export class UsePanel {
  readonly panel = new Panel('use', 'Utilisation');

  draw(): void {
    const page = thePage();
    const run = shownRun((each) => each.use.length > 0);
    if (!run) {
      this.panel.setEmpty('No run tells what it takes of the device yet.', 'xp launch');
      return;
    }
    const device = [page.project.device, page.project.package].filter(Boolean).join('-');
    this.panel.setLead(...useLead(run, device));
    replace(this.panel.body, useTable(run.use, `Utilisation of ${run.name}`));
  }
}

function useLead(run: Run, device: string): (Node | string)[] {
  const fullest = [...run.use].sort((a, b) => share(b) - share(a))[0];
  return [h('a', { href: runAddress(run.name) }, run.name), ` on ${device || 'its device'}: ${capital(fullest.name)} ${/s$/.test(fullest.name) ? 'are' : 'is'} fullest, ${numberText(share(fullest), 1)}\u202f%.`];
}

const share = (use: Use) => (use.of > 0 ? (use.used / use.of) * 100 : 0);

const capital = (text: string) => text.charAt(0).toUpperCase() + text.slice(1);

/** A bar a resource; one that is nearly full says so in words. */
export function useTable(uses: Use[], caption: string): HTMLElement {
  return h(
    'table',
    { class: 'plain use' },
    h('caption', { class: 'vh' }, caption),
    h('thead', null, h('tr', null, h('th', { scope: 'col' }, 'Resource'), h('th', { scope: 'col', class: 'bar-cell' }, h('span', { class: 'vh' }, 'Bar')), h('th', { scope: 'col', class: 'number' }, 'Used'), h('th', { scope: 'col', class: 'number' }, 'Of'), h('th', { scope: 'col', class: 'number' }, 'Share'), h('th', { scope: 'col' }, h('span', { class: 'vh' }, 'Note')))),
    h(
      'tbody',
      null,
      uses.map((use) => {
        const percent = share(use);
        const note = percent > 100 ? 'too many' : percent >= 90 ? 'nearly full' : '';
        return h(
          'tr',
          null,
          h('th', { scope: 'row' }, capital(use.name)),
          h('td', { class: 'bar-cell' }, h('div', { class: `bar${note ? ' bar-full' : ''}`, 'aria-hidden': 'true' }, h('div', { class: 'bar-used', style: percent > 0 ? `width: ${Math.min(100, percent).toFixed(2)}%` : 'display: none' }))),
          h('td', { class: 'number' }, numberText(use.used, 0)),
          h('td', { class: 'number dim' }, numberText(use.of, 0)),
          h('td', { class: 'number' }, `${numberText(percent, 1, true)}\u202f%`),
          h('td', { class: 'note' }, note),
        );
      }),
    ),
  );
}
