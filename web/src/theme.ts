// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

/** What the user chose: "auto" follows the system. */
export type ThemeChoice = 'auto' | 'light' | 'dark';
export type Theme = 'light' | 'dark';

const KEY = 'xperiment.theme';
const dark = window.matchMedia('(prefers-color-scheme: dark)');
const print = window.matchMedia('print');
const listeners: (() => void)[] = [];

/** The choice of an earlier visit; "auto" where nothing can be stored. */
export function storedChoice(): ThemeChoice {
  try {
    const value = window.localStorage.getItem(KEY);
    return value === 'light' || value === 'dark' ? value : 'auto';
  } catch {
    return 'auto';
  }
}

export function themeOf(choice: ThemeChoice): Theme {
  if (print.matches) return 'light';
  if (choice === 'auto') return dark.matches ? 'dark' : 'light';
  return choice;
}

export function applyTheme(choice: ThemeChoice): void {
  document.documentElement.dataset.theme = themeOf(choice);
}

export function currentTheme(): Theme {
  return document.documentElement.dataset.theme === 'dark' ? 'dark' : 'light';
}

export function chooseTheme(choice: ThemeChoice): void {
  try {
    if (choice === 'auto') window.localStorage.removeItem(KEY);
    else window.localStorage.setItem(KEY, choice);
  } catch {
    // It holds for this visit only.
  }
  chosen = choice;
  refresh();
}

export function onTheme(listener: () => void): void {
  listeners.push(listener);
}

let chosen = storedChoice();

function refresh(): void {
  const before = currentTheme();
  applyTheme(chosen);
  if (currentTheme() !== before) listeners.forEach((listener) => listener());
}

/** Follows the system's theme; paper is always light. */
export function watchTheme(): void {
  dark.addEventListener('change', refresh);
  print.addEventListener('change', refresh);
}
