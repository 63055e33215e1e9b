// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors

/**
 * The colours of families in their order, by theme: told apart with the common kinds of
 * colour blindness too, the first four best, and each with a contrast of 3 to 1 at least
 * to its ground.
 */
export const FAMILIES = {
  light: ['#1a4fd6', '#8f3a1c', '#2b9f8b', '#cf5ccb', '#a58b0c', '#50289b', '#d4745a', '#1a686a'],
  dark: ['#4488f6', '#cf9a38', '#4deeae', '#d951a8', '#f5dc5c', '#bb94ec', '#f44562', '#a5e1e9'],
};

/** What a panel is coloured; as in page.css. */
export const GROUND = { light: '#ffffff', dark: '#181e26' };
