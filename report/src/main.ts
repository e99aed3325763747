import {Camera, type View} from './camera';
import {Choice} from './choice';
import {readReport, type Report} from './data';
import {Figure} from './figure';
import {brief, Clock, shown} from './format';
import {fillTable} from './joints';
import {bindKeys} from './keys';
import {Link} from './link';
import {Marks, type Kind} from './marks';
import {Moment} from './moment';
import {Plots} from './plots';
import {Robot} from './robot';
import {csvOf, save, stem} from './save';
import {Stage} from './stage';
import {addMarkBoxes} from './mark_boxes';
import {whilePrinting} from './printing';

const speeds = [0.05, 0.1, 0.25, 0.5, 1, 2, 5, 10];

function element<T extends HTMLElement = HTMLElement>(id: string): T {
  return document.getElementById(id) as T;
}

function setTheme(theme: string): void {
  document.documentElement.dataset.theme = theme;
  element('theme').textContent = theme === 'dark' ? 'Light' : 'Dark';
}

/** The robot in space; nothing where the browser has no WebGL. */
class Space {
  readonly figure: Figure;
  readonly marks: Marks;
  readonly camera: Camera;

  constructor(readonly stage: Stage, robot: Robot, report: Report) {
    this.figure = new Figure(robot);
    this.marks = new Marks(report, robot);
    stage.scene.add(this.figure.group, ...Object.values(this.marks.groups));
    this.camera = new Camera(stage, robot);
  }

  update(row: number): void {
    this.figure.update();
    this.marks.update(row);
    this.camera.update();
    this.stage.draw();
  }

  recolour(): void {
    this.figure.recolour();
    this.marks.recolour();
    this.stage.recolour();
  }
}

function spaceOf(robot: Robot, report: Report): Space | undefined {
  try {
    return new Space(new Stage(element<HTMLCanvasElement>('scene')), robot, report);
  } catch (fault) {
    element('state').textContent = `This browser draws nothing in space (WebGL): ${(fault as Error).message}`;
    element('scene').hidden = true;
    return undefined;
  }
}

function start(report: Report): void {
  const {raw} = report;
  const clock = new Clock(raw.start, report.duration, raw.samples);
  const moment = new Moment(report);
  const robot = new Robot(report);
  robot.update(0);
  const space = spaceOf(robot, report);
  const camera = space?.camera;
  const choice = new Choice(report);
  const plots = new Plots(element('panels'), report, moment, clock);
  const link = new Link({report, moment, camera, choice, plots});

  const scrub = element<HTMLInputElement>('scrub'), speed = element<HTMLSelectElement>('speed');
  describe(report, clock);
  scrub.max = String(report.table.times.length - 1);
  speed.append(...speeds.map((value) => new Option(`${value} ×`, String(value), value === 1, value === 1)));

  const write = () => {
    robot.update(moment.row);
    space?.update(moment.row);
    scrub.value = String(moment.row);
    scrub.setAttribute('aria-valuetext', `${clock.text(moment.time)} s`);
    element('play').textContent = moment.playing ? 'Pause' : 'Play';
    element('mark').setAttribute('aria-pressed', String(moment.mark !== undefined));
    const since = moment.mark === undefined ? '' : ` (Δ ${(moment.time - moment.mark).toFixed(clock.decimals)})`;
    element('clock').textContent = `${clock.text(moment.time)} s${since}`;
    writeState(report, robot, moment, clock, space !== undefined);
    link.later();
  };
  moment.listen(write);

  // Space.
  const look = (view: View) => camera?.lookAt(view);
  const follow = (on: boolean) => camera?.setFollow(on);
  const showView = () => {
    document.querySelectorAll<HTMLElement>('[data-view]').forEach((button) =>
      button.setAttribute('aria-pressed', String(button.dataset['view'] === camera?.view)));
    element('follow').setAttribute('aria-pressed', String(camera?.follow ?? false));
    link.later();
  };
  if (camera) camera.onChange = showView;
  document.querySelectorAll<HTMLElement>('[data-view]').forEach((button) =>
    (button.onclick = () => look(button.dataset['view'] as View)));
  element('follow').onclick = () => follow(!camera?.follow);
  if (space) {
    element<HTMLDetailsElement>('legend').open = innerWidth > 820;
    addMarkBoxes(element('marks'), report, space.marks, (kind: Kind, on: boolean) => {
      space.marks.groups[kind].visible = on;
      space.stage.draw();
    });
  }

  // Time.
  const faster = (steps: number) => {
    const at = speeds.indexOf(moment.speed) + steps;
    moment.speed = speeds[Math.max(0, Math.min(at, speeds.length - 1))]!;
    speed.value = String(moment.speed);
  };
  const mark = () => moment.setMark(moment.mark === undefined ? moment.time : undefined);
  element('play').onclick = () => moment.toggle();
  element('back').onclick = () => moment.step(-1);
  element('forth').onclick = () => moment.step(1);
  element('mark').onclick = mark;
  speed.onchange = () => (moment.speed = Number(speed.value));
  scrub.oninput = () => {
    moment.pause();
    moment.showRow(Number(scrub.value));
  };

  // Beside it.
  choice.onChange = () => {
    plots.draw(choice.chosen);
    link.later();
  };
  plots.onZoom = () => link.later();
  const tab = (name: 'plots' | 'table', focus = false) => {
    for (const panel of ['plots', 'table']) {
      const button = element(`tab-${panel}`);
      element(panel).classList.toggle('active', panel === name);
      button.setAttribute('aria-selected', String(panel === name));
      button.tabIndex = panel === name ? 0 : -1;
      if (focus && panel === name) button.focus();
    }
  };
  for (const [name, other] of [['plots', 'table'], ['table', 'plots']] as const) {
    element(`tab-${name}`).onclick = () => tab(name);
    element(`tab-${name}`).onkeydown = (event) => {
      if (event.key === 'ArrowLeft' || event.key === 'ArrowRight') tab(other, true);
    };
  }
  const drawTable = () => fillTable(element('table'), report, clock, (time, joint) => {
    moment.pause();
    moment.show(time);
    choice.add(joint);
  });
  element('reset').onclick = () => plots.zoom(undefined);

  // The page.
  const theme = (dark: boolean) => {
    setTheme(dark ? 'dark' : 'light');
    space?.recolour();
    choice.show();
    plots.draw(choice.chosen);
    drawTable();
  };
  const isDark = () => document.documentElement.dataset.theme === 'dark';
  const saveCsv = () => save(`${stem(report)}.csv`, 'text/csv', csvOf(report, plots.panels, plots.range));
  const copyLink = () => {
    link.write();
    const said = (text: string) => {
      element('link').textContent = text;
      setTimeout(() => (element('link').textContent = 'Link'), 2000);
    };
    navigator.clipboard?.writeText(location.href).then(() => said('Copied'), () => said('In the address'));
  };
  const help = () => element<HTMLDialogElement>('help').showModal();
  element('theme').onclick = () => theme(!isDark());
  element('csv').onclick = saveCsv;
  element('link').onclick = copyLink;
  element('help-button').onclick = help;
  matchMedia('(prefers-color-scheme: dark)').addEventListener('change', (event) => theme(event.matches));
  whilePrinting(() => {
    const dark = isDark();
    if (dark) theme(false);
    space?.stage.resize();
    plots.resize(122);
    return () => {
      if (dark) theme(true);
      space?.stage.resize();
      plots.resize();
    };
  });

  bindKeys({
    ' ': () => moment.toggle(),
    ArrowLeft: (shift) => moment.step(shift ? -10 : -1), ArrowRight: (shift) => moment.step(shift ? 10 : 1),
    Home: () => moment.step(-Infinity), End: () => moment.step(Infinity),
    '[': () => faster(-1), ']': () => faster(1), m: mark,
    '1': () => look('front'), '3': () => look('side'), '7': () => look('top'), f: () => follow(!camera?.follow),
    a: () => camera?.turn(-0.1, 0), e: () => camera?.turn(0.1, 0), w: () => camera?.turn(0, 0.08), s: () => camera?.turn(0, -0.08),
    '+': () => camera?.turn(0, 0, 0.85), '=': () => camera?.turn(0, 0, 0.85), '-': () => camera?.turn(0, 0, 1 / 0.85),
    z: () => plots.zoomBy(0.5), x: () => plots.zoomBy(2), '0': () => plots.zoom(undefined),
    '/': () => {
      tab('plots');
      choice.focus();
    },
    p: () => tab('plots', true), j: () => tab('table', true),
    l: copyLink, c: saveCsv, d: () => theme(!isDark()), '?': help,
  });

  // The robot first, then what takes longer.
  link.read();
  moment.showRow(moment.row);
  space?.stage.render();
  performance.mark('first picture');
  requestAnimationFrame(() => {
    choice.show();
    plots.draw(choice.chosen);
    drawTable();
    performance.mark('plots');
    setTimeout(() => {
      space?.marks.addPaths();
      space?.stage.draw();
      performance.mark('complete');
      document.body.dataset['ready'] = 'true';
    });
  });
  // For the console, and for tests.
  Object.assign(window, {orvek23: {report, moment, robot, space, plots, choice}});
}

function describe(report: Report, clock: Clock): void {
  const {raw} = report;
  document.title = raw.title;
  element('title').textContent = raw.title;
  element('title').title = raw.title;
  const thinned = report.isThinned
    ? `; ${report.table.times.length} of them kept, curves show what each ${brief(2 * report.duration / report.curves.times.length)} s reached` : '';
  element('facts').textContent = raw.samples === 1 ? 'one sample'
    : `${raw.samples} samples over ${report.duration.toFixed(clock.decimals)} s${thinned}`;
  element('written').textContent = `Written by ${raw.writer}. SI units; world z up; left is blue, right is vermillion.`;
  element('missing').replaceChildren(...raw.missing.map((text) => {
    const item = document.createElement('li');
    item.textContent = text;
    return item;
  }));
}

function writeState(report: Report, robot: Robot, moment: Moment, clock: Clock, canDraw: boolean): void {
  if (!canDraw) return;
  const margin = report.table.column('margin')[moment.row] ?? NaN;
  const standing = report.raw.feet.filter((foot) => report.table.column(`stands.${foot.body}`)[moment.row]! > 0);
  const feet = standing.length === 0 ? 'no foot stands' : standing.length === 2 ? 'both feet stand'
    : `${standing[0]!.body.startsWith('L') ? 'left' : 'right'} foot stands`;
  const lines = [`${clock.text(moment.time)} s`, robot.isFinite ? feet : 'no pose: these results are not finite'];
  if (Number.isFinite(margin)) lines.push(`margin ${shown(margin)} m${margin < 0 ? ': outside the support' : ''}`);
  element('state').textContent = lines.join('\n');
  element('scene').setAttribute('aria-label', `Robot at ${lines.join(', ')}`);
}

setTheme(matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light');
try {
  start(readReport());
} catch (fault) {
  const message = document.createElement('p');
  message.className = 'fault';
  message.textContent = `This page cannot be shown: ${(fault as Error).message}`;
  document.querySelector('main')!.replaceChildren(message);
  throw fault;
}
