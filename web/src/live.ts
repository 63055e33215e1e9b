// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Live mode: asks the server for newer data while the page is open.
import { announce, h, replace } from './dom';
import { clockText } from './format';

const EVERY_MS = 2000;

export class Live {
  private etag = '';
  private isPaused = false;
  private isGone = false;
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
      answer = await fetch(this.address(), { headers: this.etag ? { 'If-None-Match': this.etag } : {}, cache: 'no-store', credentials: 'omit' });
    } catch {
      this.gone('The server is gone');
      return;
    }
    if (answer.status === 401 || answer.status === 403) {
      this.gone('The server doesn\u2019t know this page\u2019s token any more');
      return;
    }
    if (answer.status !== 304 && !answer.ok) {
      this.gone(`The server answered ${answer.status}`);
      return;
    }
    try {
      const data: unknown = answer.status === 304 ? null : await answer.json();
      if (this.isPaused) return;
      this.etag = answer.headers.get('ETag') ?? this.etag;
      this.back();
      if (data !== null) this.update(data);
    } catch {
      this.gone('The server\u2019s answer couldn\u2019t be read');
    }
  }

  /** The data lies beside the page; the token is the page's own. */
  private address(): string {
    const address = new URL('data.json', window.location.href);
    const token = new URLSearchParams(window.location.search).get('token');
    if (token !== null) address.searchParams.set('token', token);
    return address.href;
  }

  private gone(what: string): void {
    if (this.isGone) return;
    this.isGone = true;
    this.say('not live');
    replace(this.banner, h('p', null, h('b', null, `${what}. `), `You see what was known at ${clockText(this.lastNews)}. Start it again with `, h('code', null, 'xp serve'), ' and open the address that it prints.'));
    this.banner.hidden = false;
    announce(what);
  }

  private back(): void {
    this.lastNews = Date.now() / 1000;
    if (!this.isGone) return;
    this.isGone = false;
    this.banner.hidden = true;
    this.say('live');
    announce('The server is back.');
  }

  private pause(isPaused: boolean): void {
    this.isPaused = isPaused;
    this.button.textContent = isPaused ? 'Go on' : 'Pause';
    this.say(isPaused ? 'paused' : this.isGone ? 'not live' : 'live');
  }

  private say(text: string): void {
    this.text.textContent = text;
    this.place.dataset.state = text.replace(' ', '-');
  }
}
