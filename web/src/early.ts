// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Runs before the first paint, so that the chosen theme doesn't flash up late.
import { applyTheme, storedChoice } from './theme';

applyTheme(storedChoice());
