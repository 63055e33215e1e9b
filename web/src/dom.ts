// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Elements are made here and nowhere else: what comes from data becomes text or the value
// of an attribute, never markup.

type Child = Node | string | number | null | undefined | false;
type Props = Record<string, unknown>;

/**
 * An element. A property that begins with "on" is a listener, `class` and everything else
 * an attribute; null and false leave it out.
 */
export function h<K extends keyof HTMLElementTagNameMap>(
  tag: K,
  props: Props | null = null,
  ...children: (Child | Child[])[]
): HTMLElementTagNameMap[K] {
  const element = document.createElement(tag);
  fill(element, props, children);
  return element;
}

/** The same for SVG. */
export function svg(tag: string, props: Props | null = null, ...children: (Child | Child[])[]): SVGElement {
  const element = document.createElementNS('http://www.w3.org/2000/svg', tag);
  fill(element, props, children);
  return element;
}

function fill(element: Element, props: Props | null, children: (Child | Child[])[]): void {
  for (const [name, value] of Object.entries(props ?? {})) {
    if (value === null || value === undefined || value === false) continue;
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value as EventListener);
    else element.setAttribute(name, value === true ? '' : String(value));
  }
  append(element, children);
}

export function append(element: Element, children: (Child | Child[])[]): void {
  for (const child of children.flat()) {
    if (child === null || child === undefined || child === false) continue;
    element.append(child instanceof Node ? child : String(child));
  }
}

/** What tells elements apart for a reader: not their ids, nor what was opened. */
function looksOf(node: Node): string {
  if (!(node instanceof Element)) return node.textContent ?? '';
  return node.outerHTML.replace(/ (?:id|for|aria-labelledby|open)="[^"]*"/g, '').replace(/url\(#[^)]*\)/g, '');
}

const FOCUSABLE = 'a[href], button, select, input, summary, [tabindex]';

/**
 * Puts `children` into `element`. Where nothing would look another the old ones stay, so that
 * news leave focus, scroll and what is open alone; else focus and scroll go to the new ones.
 */
export function replace(element: Element, ...children: (Child | Child[])[]): void {
  const fresh = document.createDocumentFragment();
  const wanted: Node[] = [];
  for (const child of children.flat())
    if (child !== null && child !== undefined && child !== false)
      wanted.push(child instanceof Node ? child : document.createTextNode(String(child)));
  const old = [...element.childNodes];
  const isSame = (node: Node, i: number) => node === old[i] || (!element.contains(node) && looksOf(node) === looksOf(old[i]));
  if (old.length === wanted.length && wanted.every(isSame)) return;
  const focusables = () => [...element.querySelectorAll<HTMLElement>(FOCUSABLE)];
  const at = element.contains(document.activeElement) ? focusables().indexOf(document.activeElement as HTMLElement) : -1;
  const tag = document.activeElement?.tagName;
  const scrolls = [...element.querySelectorAll('.table-scroll')].map((each) => each.scrollTop);
  fresh.append(...wanted);
  element.textContent = '';
  element.append(fresh);
  element.querySelectorAll('.table-scroll').forEach((each, i) => {
    if (scrolls[i]) each.scrollTop = scrolls[i];
  });
  const next = at < 0 ? undefined : focusables()[at];
  if (next && next.tagName === tag) next.focus({ preventScroll: true });
}

let announcer: HTMLElement | null = null;

/** The place that screen readers read news from. */
export function makeAnnouncer(): HTMLElement {
  announcer = h('div', { class: 'vh', role: 'status', 'aria-live': 'polite', id: 'announcer' });
  return announcer;
}

export function announce(text: string): void {
  if (announcer) announcer.textContent = text;
}

let count = 0;

export function newId(stem: string): string {
  count += 1;
  return `${stem}-${count}`;
}

/** Calls `work` once no call has come for `ms`. */
export function debounced(work: () => void, ms: number): () => void {
  let timer = 0;
  return () => {
    window.clearTimeout(timer);
    timer = window.setTimeout(work, ms);
  };
}

/** A labelled choice. `options` are value and text. */
export function choice(
  label: string,
  options: [string, string][],
  value: string,
  changed: (value: string) => void,
): HTMLElement {
  const id = newId('choice');
  const select = h(
    'select',
    { id, onchange: () => changed(select.value) },
    options.map(([each, text]) => h('option', { value: each, selected: each === value }, text)),
  );
  return h('span', { class: 'choice' }, h('label', { for: id }, label), select);
}

/** Puts `text` on the clipboard, also where a page from a file may not use it directly. */
export async function copyText(text: string): Promise<boolean> {
  try {
    await navigator.clipboard.writeText(text);
    return true;
  } catch {
    const area = h('textarea', { class: 'vh', 'aria-hidden': 'true', tabindex: '-1' });
    const focused = document.activeElement as HTMLElement | null;
    area.value = text;
    document.body.append(area);
    area.select();
    let copied = false;
    try {
      copied = document.execCommand('copy');
    } catch {
      copied = false;
    }
    area.remove();
    focused?.focus();
    return copied;
  }
}

export function download(name: string, type: string, text: string): void {
  const url = URL.createObjectURL(new Blob([text], { type }));
  const link = h('a', { href: url, download: name });
  document.body.append(link);
  link.click();
  link.remove();
  window.setTimeout(() => URL.revokeObjectURL(url), 10000);
}
