// The page of orvek23-replay --report in a real browser: node --test page_test.mjs
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {readFileSync, statSync, writeFileSync} from 'node:fs';
import {after, test} from 'node:test';
import {
  close,
  colours,
  folder,
  open,
  place,
  replay,
  results,
  table,
  WALK,
  WRITE_MOTIONS,
} from './browser.mjs';

const nasty = 'a <script>alert(1)<!--" & \'🤖.csv';
execFileSync(WRITE_MOTIONS, [folder]);
const walk = readFileSync(WALK, 'utf8');
const lines = walk.trim().split('\n');
const columns = (text, count) =>
  text
    .split('\n')
    .map((line) => line.split(',').slice(0, count).join(','))
    .join('\n');
writeFileSync(place('walk.csv'), walk);
writeFileSync(place('one.csv'), lines.slice(0, 2).join('\n'));
writeFileSync(place('no_wrenches.csv'), columns(walk, 29));
writeFileSync(place(nasty), lines.slice(0, 40).join('\n'));
// From a height at which no sole is on the ground, with a rate that spoils the torques.
const floating = lines.slice(0, 8).map((line) => columns(line, 29).split(','));
floating.forEach((row, i) => {
  if (i > 0) row[3] = '2';
  row.push(i === 0 ? 'd.LKneePitch' : i === 4 ? '3e38' : '0');
});
writeFileSync(place('floating.csv'), floating.map((row) => row.join(',')).join('\n'));
writeFileSync(
  place('limits.csv'),
  'joint,low,high,torque\nLHipRoll,-0.8,0.8,2.5\nLKneePitch,0,1.2,2\nRHipRoll,-1,1,3\n',
);
replay(
  'walk.csv',
  '--report',
  'walk.html',
  '--limits',
  'limits.csv',
  '-o',
  'walk.out.csv',
  '--bodies',
  'all',
  '--signals',
  'com,pose,torque,margin',
);
after(close);

const motions = {
  walk: {most: 1.5e6},
  squats: {most: 12e6, missing: /No external wrenches/},
  fall: {most: 1.5e6, missing: /No external wrenches/},
  turn: {most: 1.5e6, missing: /No external wrenches/},
  circle: {
    most: 12e6,
    missing: /No external wrenches/,
    facts: /12000 samples over 599.95 s.*curves show/,
  }, // ten minutes
  one: {most: 1.5e6, missing: /One sample/, facts: /one sample/},
  no_wrenches: {most: 1.5e6, missing: /No external wrenches/},
  floating: {
    most: 1.5e6,
    missing: /samples have results that are not finite, first [\s\S]*No foot ever stands/,
  },
};
for (const [name, {most, missing, facts}] of Object.entries(motions)) {
  test(`${name}: opens without an error or a request, and says what is missing`, async (t) => {
    if (name !== 'walk') replay(`${name}.csv`, '--report', `${name}.html`);
    assert.ok(statSync(place(`${name}.html`)).size < most);
    const page = await open(`${name}.html`);
    t.diagnostic(
      `first picture after ${await page.evaluate(() => performance.getEntriesByName('first picture')[0].startTime)} ms`,
    );
    const box = await page.locator('#scene').boundingBox();
    const points = Array.from({length: 400}, (_, i) => ({
      x: box.x + box.width * (0.3 + 0.02 * (i % 20)),
      y: box.y + box.height * (0.2 + 0.03 * Math.floor(i / 20)),
    }));
    const seen = new Set((await colours(page, points)).map(String));
    assert.ok(seen.size > 20, `${seen.size} colours in space`);
    assert.ok((await page.locator('.panel canvas').count()) >= 4, 'panels');
    if (missing) assert.match(await page.locator('#missing').innerText(), missing);
    else assert.equal(await page.locator('#missing').innerText(), '');
    if (facts) assert.match(await page.locator('#facts').innerText(), facts);
    await page.keyboard.press('End');
    await page.keyboard.press('j');
    await page.keyboard.press('d');
    assert.deepEqual(page.faults, []);
    await page.context().close();
  });
}

test('no peak of a thinned motion is lost', async () => {
  const page = await open('circle.html');
  const lost = await page.evaluate(() => {
    const {report} = window.orvek23;
    return [...report.columns.values()]
      .filter(({name, curve, low, high}) => {
        const values = [...report.curves.column(name)].filter(Number.isFinite);
        const close = (a, b) => Math.abs(a - b) <= 1e-6 * Math.abs(b);
        return (
          curve &&
          values.length > 0 &&
          !(close(Math.min(...values), low[0]) && close(Math.max(...values), high[0]))
        );
      })
      .map(({name}) => name);
  });
  assert.deepEqual(lost, []);
});

// A pinhole camera by hand, from what the link says of it.
function projected(page, point, {azimuth, elevation, distance, target}, box) {
  const [cosA, sinA, cosE, sinE] = [
    Math.cos(azimuth),
    Math.sin(azimuth),
    Math.cos(elevation),
    Math.sin(elevation),
  ];
  const back = [cosE * cosA, cosE * sinA, sinE];
  const right = [-sinA, cosA, 0];
  const up = [-sinE * cosA, -sinE * sinA, cosE];
  const from = point.map((v, i) => v - target[i] - distance * back[i]);
  const dot = (a, b) => a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
  const scale = box.height / 2 / Math.tan((16 * Math.PI) / 180) / -dot(from, back);
  return {
    x: box.x + box.width / 2 + scale * dot(from, right),
    y: box.y + box.height / 2 - scale * dot(from, up),
  };
}

test('the pose on the screen is that of the results', async () => {
  const rows = results('walk.out.csv');
  const camera = {azimuth: 0.1, elevation: 0.35, distance: 1.2, target: [0.2, 0, 0.2]};
  for (const row of [0, 250, 600]) {
    const page = await open('walk.html', {
      fragment: `#t=${rows[row].time}&camera=0.1,0.35,1.2&at=0.2,0,0.2`,
    });
    const poses = await page.evaluate(() => {
      const {report, robot} = window.orvek23;
      return report.raw.bodies.map(({name}, i) => [
        name,
        robot.poses[i].position.toArray(),
        robot.poses[i].quaternion.toArray(),
      ]);
    });
    assert.equal(poses.length, 23);
    for (const [name, position, [qx, qy, qz, qw]] of poses) {
      const of = (parts) => parts.map((part) => rows[row][`${name}.${part}`]);
      const turned = of(['qx', 'qy', 'qz', 'qw']);
      const sign = Math.sign(qw * turned[3] + qx * turned[0] + qy * turned[1] + qz * turned[2]);
      of(['x', 'y', 'z']).forEach((value, i) =>
        assert.ok(Math.abs(value - position[i]) < 1e-6, `${name}, row ${row}`),
      );
      turned.forEach((value, i) =>
        assert.ok(Math.abs(value - sign * [qx, qy, qz, qw][i]) < 3e-6, `${name}, row ${row}`),
      );
    }
    const box = await page.locator('#scene').boundingBox();
    const com = ['x', 'y', 'z'].map((axis) => rows[row][`com.${axis}`]);
    // In front of each foot's ankle, 5 mm above the sole: x up, z ahead in its frame.
    const foot = (name) => {
      const at = rows[row];
      const [w, x, y, z] = ['qw', 'qx', 'qy', 'qz'].map((part) => at[`${name}.${part}`]);
      const up = [1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)];
      const ahead = [2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)];
      return ['x', 'y', 'z'].map(
        (axis, i) => at[`${name}.${axis}`] - 0.039 * up[i] + 0.075 * ahead[i],
      );
    };
    await page.locator('#marks label', {hasText: 'wrenches: 10'}).click();
    await page.locator('#marks label', {hasText: 'paths'}).click();
    await page.waitForTimeout(300);
    const [mark, left, right] = await colours(
      page,
      [com, foot('LAnkleRoll'), foot('RAnkleRoll')].map((point) =>
        projected(page, point, camera, box),
      ),
    );
    assert.ok(Math.max(...mark) < 40, `the centre of mass's mark at row ${row}: ${mark}`);
    assert.ok(left[2] > left[0] + 40, `the left sole is blue at row ${row}: ${left}`);
    assert.ok(right[0] > right[2] + 40, `the right sole is vermillion at row ${row}: ${right}`);
    assert.deepEqual(page.faults, []);
    await page.context().close();
  }
});

const clock = (page) => page.locator('#clock').innerText();
const value = async (page, panel, label) =>
  (
    await page.locator(`#panel-${panel} .values > span`, {hasText: label}).locator('i').innerText()
  ).replaceAll('−', '-');

test('cursors: a click goes there, shift marks, a drag zooms all, a double click shows all', async () => {
  const page = await open('walk.html');
  const rows = results('walk.out.csv');
  const plot = await page.locator('#panel-torque .u-over').boundingBox();
  const at = (time) => [plot.x + (plot.width * time) / 8, plot.y + plot.height / 2];
  await page.mouse.click(...at(3));
  const time = parseFloat(await clock(page));
  assert.ok(Math.abs(time - 3) < 0.02, String(time));
  await page.mouse.move(10, 300);
  const now = rows[Math.round(time * 100)];
  assert.ok(
    Math.abs(parseFloat(await value(page, 'torque', 'LHipRoll')) - now['torque.LHipRoll']) < 1e-3,
  );
  assert.ok(Math.abs(parseFloat(await value(page, 'margin', 'margin')) - now.margin) < 1e-4);
  await page.keyboard.down('Shift');
  await page.mouse.click(...at(2));
  await page.keyboard.up('Shift');
  await page.mouse.move(10, 300);
  assert.match(await clock(page), /Δ (0\.9|1\.0)/);
  const marked = await page.evaluate(() => window.orvek23.moment.mark);
  const more = now['torque.LHipRoll'] - rows[Math.round(marked * 100)]['torque.LHipRoll'];
  const [, shown] = (await value(page, 'torque', 'LHipRoll')).match(/Δ \+?(.*)\)/);
  assert.ok(Math.abs(parseFloat(shown) - more) < 1e-3);
  await page.mouse.move(...at(4));
  await page.mouse.down();
  await page.mouse.move(...at(6), {steps: 5});
  await page.mouse.up();
  const ranges = () =>
    page.evaluate(() =>
      window.orvek23.plots.drawn.map(({plot}) => [plot.scales.x.min, plot.scales.x.max]),
    );
  for (const [from, to] of await ranges())
    assert.ok(Math.abs(from - 4) < 0.05 && Math.abs(to - 6) < 0.05, `${from} ${to}`);
  await page.mouse.dblclick(...at(4));
  for (const range of await ranges()) assert.deepEqual(range, [0, 8]);
  assert.deepEqual(page.faults, []);
});

test('keys: time, views, search, table; all of it without a mouse', async () => {
  const page = await open('walk.html');
  const press = (keys) =>
    keys
      .split(' ')
      .reduce((done, key) => done.then(() => page.keyboard.press(key)), Promise.resolve());
  await press('ArrowRight ArrowRight ArrowLeft Shift+ArrowRight');
  assert.equal(await clock(page), '0.11 s');
  await press('End');
  assert.equal(await clock(page), '8.00 s');
  await press('Home Space');
  await page.waitForFunction(() => window.orvek23.moment.time > 0.2);
  await press('Space');
  const stopped = await clock(page);
  await page.waitForTimeout(150);
  assert.equal(await clock(page), stopped);
  const where = (key) =>
    press(key).then(() => page.evaluate(() => window.orvek23.space.camera.where()));
  const heading = await page.evaluate(() => window.orvek23.robot.heading());
  const turned = (angle) => Math.abs(Math.atan2(Math.sin(angle), Math.cos(angle)));
  assert.ok(turned((await where('1')).azimuth - heading) < 1e-3);
  assert.ok(turned((await where('3')).azimuth - heading + Math.PI / 2) < 1e-3);
  assert.ok((await where('7')).elevation > 1.5);
  const followed = (await where('f')).target.x;
  await press('End');
  assert.equal((await where('a')).target.x, followed, 'the camera stays');
  await press('f');
  assert.ok((await where('+')).target.x > followed + 0.3, 'the camera follows');
  await press('/');
  await page.keyboard.type('r elbow y');
  await press('Enter Escape');
  assert.equal(
    await page.locator('#panel-torque .values > span', {hasText: 'RElbowYaw'}).count(),
    1,
  );
  await press('/');
  await page.keyboard.type('zmp.x');
  await press('Enter Escape m z j');
  assert.equal(await page.locator('#panel-points').count(), 1);
  assert.ok(await page.locator('#table').isVisible());
  for (let i = 0; i < 40; ++i) await press('Tab');
  assert.notEqual(await page.evaluate(() => document.activeElement?.tagName), 'BODY');
  assert.deepEqual(page.faults, []);
});

test('the table: what passed its limit is marked, a click goes to the peak', async () => {
  const page = await open('walk.html');
  await page.click('#tab-table');
  assert.deepEqual(
    (await page.locator('td.passed').allInnerTexts()).map((text) => text.slice(0, 6)),
    ['▲ 2.64', '▲ 1.30'],
  );
  await page.click('td.passed >> nth=0 >> button');
  assert.equal(await clock(page), '1.42 s');
  assert.match(await page.locator('#state').innerText(), /beyond its limits: LHipRoll$/);
  await page.click('tr:has-text("HeadYaw") button >> nth=0');
  assert.equal(await page.locator('#chosen li', {hasText: 'HeadYaw'}).count(), 1);
});

test('a link leads to the same moment, view and plots', async () => {
  const page = await open('walk.html');
  for (const key of ['Shift+ArrowRight', 'm', 'Shift+ArrowRight', 'z', 'w', 'e', 'f', 'l'])
    await page.keyboard.press(key);
  await page.evaluate(() => window.orvek23.choice.toggle('HeadYaw'));
  await page.waitForTimeout(400);
  const state = (of) =>
    of.evaluate(() => {
      const {moment, space, choice, plots} = window.orvek23;
      const {target, ...camera} = space.camera.where();
      const round = (v) => Math.round(v * 1e3) / 1e3;
      return [
        moment.row,
        moment.mark,
        choice.chosen,
        plots.range,
        Object.values(camera).map(round),
        target.toArray().map(round),
      ];
    });
  const again = await open('walk.html', {fragment: new URL(page.url()).hash});
  assert.deepEqual(await state(again), await state(page));
  const broken = await open('walk.html', {
    fragment: '#t=soon&zoom=3&view=nowhere&draw=%E0%A4%A&camera=1,,2',
  });
  assert.deepEqual(broken.faults, []);
});

test('exports: a plot as SVG, the columns that are drawn as CSV', async () => {
  const page = await open('walk.html', {fragment: '#zoom=2,3', colorScheme: 'dark'});
  const rows = results('walk.out.csv');
  const saved = async (act) => {
    const [download] = await Promise.all([page.waitForEvent('download'), act()]);
    return {name: download.suggestedFilename(), text: readFileSync(await download.path(), 'utf8')};
  };
  const csv = await saved(() => page.keyboard.press('c'));
  assert.equal(csv.name, 'walk.csv');
  const got = table(csv.text);
  assert.equal(got.length, 101);
  for (const row of got) {
    const want = rows[Math.round(row.time * 100)];
    for (const name of ['time', 'margin', 'torque.LHipRoll'])
      assert.equal(row[name], want[name], `${name} at ${row.time}`);
  }
  const svg = await saved(() => page.click('#panel-torque figcaption button'));
  assert.equal(svg.name, 'walk-torque.svg');
  assert.match(svg.text, /#e69f00/, 'colours for white, though the page is dark');
  const parsed = await page.evaluate((text) => {
    const image = new DOMParser().parseFromString(text, 'image/svg+xml');
    return [
      image.querySelector('parsererror')?.textContent ?? '',
      image.documentElement.textContent,
      image.querySelectorAll('path[fill="none"]').length,
    ];
  }, svg.text);
  assert.equal(parsed[0], '');
  for (const word of ['walk.csv: Torques', 'torque, N m', 'time, s', 'LHipRoll'])
    assert.ok(parsed[1].includes(word), word);
  assert.equal(parsed[2], 6);
});

test('a title does no harm', async () => {
  replay(nasty, '--report', 'nasty.html');
  const page = await open('nasty.html');
  assert.equal(await page.locator('#title').innerText(), nasty);
  assert.equal(await page.title(), nasty);
  assert.deepEqual(page.faults, []);
});

test('fits a phone and one sheet of paper', async () => {
  for (const [width, height] of [
    [390, 844],
    [1280, 720],
    [1920, 1080],
  ]) {
    const page = await open('walk.html', {width, height});
    assert.ok(
      (await page.evaluate(() => document.documentElement.scrollWidth)) <= width,
      `${width} px`,
    );
    await page.context().close();
  }
  const page = await open('walk.html', {colorScheme: 'dark'});
  const paper = (await page.pdf({preferCSSPageSize: true, printBackground: true})).toString(
    'latin1',
  );
  assert.equal(paper.match(/\/Type\s*\/Page\b/g).length, 1);
});
