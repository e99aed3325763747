// What the page's tests share: motions made by the programs, and a browser to open them in.
import {execFileSync} from 'node:child_process';
import {createRequire} from 'node:module';
import {existsSync, mkdtempSync, readFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {pathToFileURL} from 'node:url';

export const {REPLAY, WRITE_MOTIONS, PLUGIN, WALK, NODE_PACKAGES} = process.env;
export const folder = mkdtempSync(join(tmpdir(), 'report-'));
export const place = (name) => join(folder, name);

const programs = ['/usr/bin/chromium', '/usr/bin/chromium-browser', '/usr/bin/google-chrome'];
const program = process.env.CHROMIUM ?? programs.find((path) => existsSync(path));
if (!program) {
  console.error(`SKIPPED: no browser, none of ${programs.join(', ')} (Debian package chromium)`);
  process.exit(77);
}

/** Runs orvek23-replay, with its plug-in, in the folder; what it prints. */
export const replay = (...words) =>
  execFileSync(REPLAY, ['--plugin', PLUGIN, ...words], {
    cwd: folder,
    encoding: 'utf8',
    stdio: ['ignore', 'pipe', 'pipe'],
  });

/** A CSV file: one object a row. */
export function table(text) {
  const [header, ...rows] = text
    .trim()
    .split('\n')
    .map((line) => line.split(','));
  return rows.map((row) => Object.fromEntries(row.map((cell, i) => [header[i], Number(cell)])));
}
export const results = (name) => table(readFileSync(place(name), 'utf8'));

const {chromium} = createRequire(join(NODE_PACKAGES, 'package.json'))('playwright-core');
const browser = await chromium.launch({
  executablePath: program,
  args: [
    '--headless',
    '--no-sandbox',
    '--disable-gpu',
    '--disable-quic',
    '--no-first-run',
    '--disable-background-networking',
    '--disable-component-update',
    '--disable-sync',
    '--use-angle=swiftshader',
    '--enable-unsafe-swiftshader',
  ],
});
export const close = () => browser.close();

/** Opens a page of the folder from disk; `faults` gathers whatever goes wrong and every request. */
export async function open(name, {fragment = '', width = 1280, height = 720, ...options} = {}) {
  const context = await browser.newContext({
    viewport: {width, height},
    acceptDownloads: true,
    ...options,
  });
  await context.setOffline(true);
  const page = await context.newPage();
  const faults = [];
  const address = pathToFileURL(place(name)).href;
  page.on('pageerror', (error) => faults.push(`error: ${error.message}`));
  page.on('console', (message) => {
    if (!/GL Driver Message/.test(message.text()))
      faults.push(`${message.type()}: ${message.text()}`);
  });
  page.on('request', (request) => {
    if (!request.url().startsWith(address) && !/^(data|blob):/.test(request.url()))
      faults.push(`request: ${request.url()}`);
  });
  await page.goto(address + fragment);
  await page.waitForSelector('body[data-ready]', {timeout: 30000});
  page.faults = faults;
  return page;
}

/** The colours of a screenshot at these points: [r, g, b] each. */
export async function colours(page, points) {
  const picture = (await page.screenshot()).toString('base64');
  return page.evaluate(
    async ({picture, points}) => {
      const image = new Image();
      image.src = `data:image/png;base64,${picture}`;
      await image.decode();
      const canvas = new OffscreenCanvas(image.width, image.height).getContext('2d', {
        willReadFrequently: true,
      });
      canvas.drawImage(image, 0, 0);
      return points.map(({x, y}) => [
        ...canvas.getImageData(Math.round(x), Math.round(y), 1, 1).data.slice(0, 3),
      ]);
    },
    {picture, points},
  );
}
