// Bundles the page into one HTML file, the template that orvek23-replay fills in:
//   node build.mjs REPORT.html
import {build} from 'esbuild';
import {mkdir, readFile, writeFile} from 'node:fs/promises';
import {dirname, resolve} from 'node:path';

const target = resolve(process.argv[2] ?? 'report.html');
const here = import.meta.dirname ?? dirname(new URL(import.meta.url).pathname);

const bundled = await build({
  absWorkingDir: here,
  entryPoints: ['src/main.ts', 'src/style.css'],
  outdir: 'out',
  bundle: true,
  minify: true,
  write: false,
  charset: 'utf8',
  format: 'iife',
  target: ['chrome105', 'firefox110', 'safari16'],
  legalComments: 'none',
  logLevel: 'warning',
});
const part = (ending) => bundled.outputFiles.find((file) => file.path.endsWith(ending)).text.trim();

// The licences of what is carried along stand in the page itself.
const licences = [];
for (const name of ['three', 'uplot']) {
  const {version} = JSON.parse(await readFile(`${here}/node_modules/${name}/package.json`, 'utf8'));
  const text = await readFile(`${here}/node_modules/${name}/LICENSE`, 'utf8');
  licences.push(`${name} ${version}\n\n${text.trim()}`);
}

// Functions, as '$' means something in a replacement's text; no script may end early.
const script = part('.js').replaceAll('</script', '<\\/script');
const page = (await readFile(`${here}/src/page.html`, 'utf8'))
  .replace('/*STYLE*/', () => part('.css'))
  .replace('/*SCRIPT*/', () => script)
  .replace('<!--LICENCES-->', () =>
    licences.join('\n\n\n').replaceAll('&', '&amp;').replaceAll('<', '&lt;'),
  );
await mkdir(dirname(target), {recursive: true});
await writeFile(target, page);
