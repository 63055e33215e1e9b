// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Live mode: asks the server for newer data while the page is open.
import { announce, h, replace } from './dom';
import { clockText } from './format';

const EVERY_MS = 2000;
const START_AGAIN = (): (Node | string)[] => ['Start it again with ', h('code', null, 'xp serve'), ' and open the address that it prints.'];

/** The address of `path` at the server that this page is from, with the page's own token. */
export function serverAddress(path: string): string {
  const address = new URL(path, window.location.href);
  const token = new URLSearchParams(window.location.search).get('token');
  address.hash = '';
  if (token !== null) address.searchParams.set('token', token);
  return address.href;
}

export class Live {
  private etag = '';
  private isPaused = false;
  /** Why there is no news; empty while there is. */
  private trouble = '';
  private lastNews = Date.now() / 1000;
  private readonly text = h('span');
  private readonly button = h('button', { type: 'button', class: 'quiet', onclick: () => this.pause(!this.isPaused) }, 'Pause');

  /** `update` is handed newer data; `banner` tells when there is none to be had. */
  constructor(
    private readonly place: HTMLElement,
    private readonly banner: HTMLElement,
    private readonly update: (data: unknown) => void,
  ) {}

  start(): void {
    replace(this.place, h('span', { class: 'live-dot', 'aria-hidden': 'true' }), this.text, this.button);
    this.say('live');
    this.next();
  }

  private next(): void {
    window.setTimeout(() => {
      void this.poll().finally(() => this.next());
    }, EVERY_MS);
  }

  private async poll(): Promise<void> {
    if (this.isPaused) return;
    let answer: Response;
    try {
      answer = await fetch(serverAddress('data.json'), { headers: this.etag ? { 'If-None-Match': this.etag } : {}, cache: 'no-store', credentials: 'omit' });
    } catch {
      this.gone('The server is gone', START_AGAIN());
      return;
    }
    if (answer.status === 401 || answer.status === 403) {
      this.gone('The server doesn\u2019t know this page\u2019s token any more', ['Open the address that ', h('code', null, 'xp serve'), ' printed last.']);
      return;
    }
    if (answer.status !== 304 && !answer.ok) {
      const why = (await answer.text().catch(() => '')).trim().slice(0, 400);
      this.gone(why.replace(/\.$/, '') || `The server answered ${answer.status}`, ['The page asks again by itself.']);
      return;
    }
    try {
      const data: unknown = answer.status === 304 ? null : await answer.json();
      if (this.isPaused) return;
      this.etag = answer.headers.get('ETag') ?? this.etag;
      this.back();
      if (data !== null) this.update(data);
    } catch {
      this.gone('The server\u2019s answer couldn\u2019t be read', ['The page asks again by itself.']);
    }
  }

  private gone(what: string, advice: (Node | string)[]): void {
    if (this.trouble === what) return;
    this.trouble = what;
    this.say('not live');
    replace(this.banner, h('p', null, h('b', null, `${what}. `), `You see what was known at ${clockText(this.lastNews)}. `, advice));
    this.banner.hidden = false;
    announce(what);
  }

  private back(): void {
    this.lastNews = Date.now() / 1000;
    if (this.trouble === '') return;
    this.trouble = '';
    this.banner.hidden = true;
    this.say('live');
    announce('The server is back.');
  }

  private pause(isPaused: boolean): void {
    this.isPaused = isPaused;
    this.button.textContent = isPaused ? 'Go on' : 'Pause';
    this.say(isPaused ? 'paused' : this.trouble !== '' ? 'not live' : 'live');
  }

  private say(text: string): void {
    this.text.textContent = text;
    this.place.dataset.state = text.replace(' ', '-');
  }
}
