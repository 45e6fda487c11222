// Builds the page into dist/, with the description of the interface, the table of its secrets and the notices of the bundled
// packages beside it.
import { copyFileSync, mkdirSync, readdirSync, readFileSync, writeFileSync } from 'node:fs';
import { gzipSync } from 'node:zlib';
import { build } from 'esbuild';

const mostBytes = 150 * 1024;
const here = new URL('.', import.meta.url);
const path = (name) => new URL(name, here).pathname;

mkdirSync(path('dist'), { recursive: true });
const { metafile } = await build({
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
  metafile: true,
});
copyFileSync(path('page/index.html'), path('dist/index.html'));
copyFileSync(path('../interface/modules.json'), path('dist/modules.json'));
copyFileSync(path('../node/lib/secrets.json'), path('dist/secrets.json'));

/** Name, version and licence text of a bundled package. */
function noticeOf(name) {
  const folder = path(`node_modules/${name}/`);
  const { version, license } = JSON.parse(readFileSync(`${folder}package.json`, 'utf8'));
  const file = readdirSync(folder).find((each) => /^licen[cs]e/i.test(each));
  if (!file) throw new Error(`${name} has no licence text`);
  return `${name} ${version} (${license})\n\n${readFileSync(folder + file, 'utf8').trim()}\n`;
}

const bundled = Object.keys(metafile.inputs)
  .map((input) => /node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(input)?.[1])
  .filter(Boolean);
const notices = [...new Set(bundled)].sort().map(noticeOf);
writeFileSync(path('dist/NOTICES.txt'), `The page contains:\n\n${notices.join('\n\n')}`);

const bytes = ['index.html', 'page.js', 'page.css'].reduce(
  (sum, name) => sum + gzipSync(readFileSync(path(`dist/${name}`))).length,
  0,
);
console.log(`the page has ${bytes} bytes, compressed`);
if (bytes > mostBytes) throw new Error(`more than ${mostBytes}`);
