// Builds the page into dist/, with the description of the interface beside it.
import { copyFileSync, mkdirSync, readFileSync } from 'node:fs';
import { gzipSync } from 'node:zlib';
import { build } from 'esbuild';

const mostBytes = 150 * 1024;
const here = new URL('.', import.meta.url);
const path = (name) => new URL(name, here).pathname;

mkdirSync(path('dist'), { recursive: true });
await build({
  entryPoints: [path('page/main.js')],
  outfile: path('dist/page.js'),
  bundle: true,
  minify: true,
  format: 'esm',
  target: 'chrome110',
  loader: { '.js': 'jsx' },
  jsx: 'automatic',
  jsxImportSource: 'preact',
  legalComments: 'inline',
});
copyFileSync(path('page/index.html'), path('dist/index.html'));
copyFileSync(path('../interface/modules.json'), path('dist/modules.json'));

const bytes = ['index.html', 'page.js', 'page.css'].reduce(
  (sum, name) => sum + gzipSync(readFileSync(path(`dist/${name}`))).length,
  0,
);
console.log(`the page has ${bytes} bytes, compressed`);
if (bytes > mostBytes) throw new Error(`more than ${mostBytes}`);
