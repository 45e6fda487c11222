// node tools/lint/links.mjs FILE...: fails where a link of these Markdown files leads to no file, or to
// no heading in it.
import { existsSync, readFileSync } from 'node:fs';
import { dirname, join } from 'node:path';

/** The anchors of the headings, as web hosts of Git make them. */
function anchorsOf(file) {
  const text = readFileSync(file, 'utf8').replaceAll(/^```.*?^```/gms, '');
  return [...text.matchAll(/^#+ (.*)$/gm)].map(([, heading]) =>
    heading
      .toLowerCase()
      .replaceAll(/[^\w\- ]/g, '')
      .replaceAll(' ', '-'),
  );
}

let failed = false;
for (const document of process.argv.slice(2)) {
  for (const [, target] of readFileSync(document, 'utf8').matchAll(/\]\(([^):]+)\)/g)) {
    const [file, anchor] = target.split('#');
    const path = file ? join(dirname(document), file) : document;
    if (existsSync(path) && (!anchor || anchorsOf(path).includes(anchor))) continue;
    console.error(`${document}: ${target} leads nowhere`);
    failed = true;
  }
}
process.exit(failed ? 1 : 0);
