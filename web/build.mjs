// SPDX-License-Identifier: Apache-2.0
// Copyright the Xperiment authors
//
// Builds the page's template: one file with its styles and its program inside.
//
//   node build.mjs [--out FILE]
//
// The same sources and packages give the same bytes, so that the committed file can be
// compared with what they build.
import { createHash } from 'node:crypto';
import { readFileSync, writeFileSync, mkdirSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
// By require, which finds packages that lie elsewhere too (NODE_PATH).
const require = createRequire(import.meta.url);
const esbuild = require('esbuild');

/** What a template may weigh. */
const LIMIT = 1.2e6;

const asked = process.argv.indexOf('--out');
const out = resolve(asked < 0 ? join(here, '../data/html/page.html') : process.argv[asked + 1]);

async function bundle(entry) {
  const result = await esbuild.build({
    absWorkingDir: here,
    entryPoints: [entry],
    bundle: true,
    minify: true,
    write: false,
    format: 'iife',
    target: ['es2020', 'chrome90', 'firefox90', 'safari15'],
    charset: 'ascii',
    // The licences stand in the file's first comment.
    legalComments: 'none',
    nodePaths: (process.env.NODE_PATH ?? '').split(':').filter(Boolean),
    define: { 'process.env.NODE_ENV': '"production"' },
    logLevel: 'warning',
  });
  return result.outputFiles[0].text.trim();
}

/** Text for the inside of a script element. */
const inScript = (text) => text.replace(/<\/(script)/gi, '<\\/$1').replace(/<!--/g, '<\\!--');

const script = inScript(await bundle('src/main.ts'));
const early = inScript(await bundle('src/early.ts'));
const style = await bundle('src/styles/page.css');
const hashOf = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;
const notice = readFileSync(join(here, 'NOTICE'), 'utf8').trim();
if (notice.includes('--')) throw new Error('NOTICE holds "--", which ends a comment');

const parts = {
  NOTICE: notice,
  POLICY: [
    "default-src 'none'",
    `script-src ${hashOf(script)} ${hashOf(early)}`,
    "style-src 'unsafe-inline'",
    'img-src data:',
    "connect-src 'self'",
    "base-uri 'none'",
    "form-action 'none'",
  ].join('; '),
  STYLE: style,
  EARLY: early,
  SCRIPT: script,
};
const page = readFileSync(join(here, 'src/page.html'), 'utf8').replace(
  /\{\{([A-Z]+)\}\}/g,
  (_, name) => parts[name],
);
if (Buffer.byteLength(page) > LIMIT) throw new Error(`the template has ${page.length} bytes, more than ${LIMIT}`);

mkdirSync(dirname(out), { recursive: true });
writeFileSync(out, page);
console.error(`${out}: ${Buffer.byteLength(page)} bytes`);
