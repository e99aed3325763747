import {Choice} from './choice';
import {readReport, type Report} from './data';
import {element} from './elements';
import {Clock} from './format';
import {fillTable} from './joints';
import {bindKeys} from './keys';
import {Link} from './link';
import {Moment} from './moment';
import {Plots} from './plots';
import {whilePrinting} from './printing';
import {Robot} from './robot';
import {csvOf, save, stem} from './save';
import {spaceOf, type Space} from './space';
import {bindTabs, showTab} from './tabs';
import {Transport} from './transport';
import {describe, describeSample} from './words';

function setTheme(theme: string): void {
  document.documentElement.dataset.theme = theme;
  element('theme').textContent = theme === 'dark' ? 'Light' : 'Dark';
}

class Page {
  readonly clock: Clock;
  readonly moment: Moment;
  readonly robot: Robot;
  readonly space: Space | undefined;
  readonly choice: Choice;
  readonly plots: Plots;
  private readonly transport: Transport;
  private readonly link: Link;

  constructor(readonly report: Report) {
    this.clock = new Clock(report.raw.start, report.duration, report.raw.samples);
    describe(report, this.clock);
    this.moment = new Moment(report);
    this.robot = new Robot(report);
    this.robot.update(0);
    this.space = spaceOf(this.robot, report);
    this.transport = new Transport(report, this.moment, this.clock);
    this.choice = new Choice(report);
    this.plots = new Plots(element('panels'), report, this.moment, this.clock);
    this.link = new Link({
      report,
      moment: this.moment,
      camera: this.space?.camera,
      choice: this.choice,
      plots: this.plots,
    });
    this.moment.listen(() => this.show());
    this.choice.onChange = () => {
      this.plots.draw(this.choice.chosen);
      this.link.later();
    };
    this.plots.onZoom = () => this.link.later();
    if (this.space) this.space.onChange = () => this.link.later();
    bindTabs();
    this.bindButtons();
    this.bindKeys();
    whilePrinting(() => this.layOutForPaper());
  }

  /** The robot first, then what takes longer. */
  start(): void {
    this.link.read();
    this.moment.showRow(this.moment.row);
    this.space?.stage.render();
    performance.mark('first picture');
    requestAnimationFrame(() => {
      this.choice.show();
      this.plots.draw(this.choice.chosen);
      this.fillTable();
      setTimeout(() => {
        this.space?.marks.addPaths();
        this.space?.stage.draw();
        document.body.dataset['ready'] = 'true';
      });
    });
  }

  private show(): void {
    this.robot.update(this.moment.row);
    this.space?.update(this.moment.row);
    if (this.space) describeSample(this.report, this.robot, this.moment, this.clock);
    this.link.later();
  }

  private fillTable(): void {
    fillTable(element('table'), this.report, this.clock, (time, joint) => {
      this.moment.pause();
      this.moment.show(time);
      this.choice.add(joint);
    });
  }

  private isDark(): boolean {
    return document.documentElement.dataset.theme === 'dark';
  }

  private setDark(dark: boolean): void {
    setTheme(dark ? 'dark' : 'light');
    this.space?.recolour();
    this.choice.show();
    this.plots.draw(this.choice.chosen);
    this.fillTable();
  }

  // Light, and to the sheet's size; what that returns makes it as it was.
  private layOutForPaper(): () => void {
    const dark = this.isDark();
    const layOut = (height?: number) => {
      this.space?.stage.resize();
      this.plots.resize(height);
    };
    if (dark) this.setDark(false);
    layOut(122);
    return () => {
      if (dark) this.setDark(true);
      layOut();
    };
  }

  private saveCsv(): void {
    save(
      `${stem(this.report)}.csv`,
      'text/csv',
      csvOf(this.report, this.plots.panels, this.plots.range),
    );
  }

  private copyLink(): void {
    this.link.write();
    const say = (text: string) => {
      element('link').textContent = text;
      setTimeout(() => (element('link').textContent = 'Link'), 2000);
    };
    const copied =
      navigator.clipboard?.writeText(location.href) ?? Promise.reject(new Error('no clipboard'));
    copied.then(
      () => say('Copied'),
      () => say('In the address'),
    );
  }

  private help(): void {
    element<HTMLDialogElement>('help').showModal();
  }

  private bindButtons(): void {
    element('reset').onclick = () => this.plots.zoom(undefined);
    element('theme').onclick = () => this.setDark(!this.isDark());
    element('csv').onclick = () => this.saveCsv();
    element('link').onclick = () => this.copyLink();
    element('help-button').onclick = () => this.help();
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', (event) =>
      this.setDark(event.matches),
    );
  }

  private bindKeys(): void {
    const {moment, plots, transport, space} = this;
    const camera = space?.camera;
    bindKeys({
      ' ': () => moment.toggle(),
      ArrowLeft: (shift) => moment.step(shift ? -10 : -1),
      ArrowRight: (shift) => moment.step(shift ? 10 : 1),
      Home: () => moment.step(-Infinity),
      End: () => moment.step(Infinity),
      '[': () => transport.faster(-1),
      ']': () => transport.faster(1),
      m: () => transport.toggleMark(),
      '1': () => space?.look('front'),
      '3': () => space?.look('side'),
      '7': () => space?.look('top'),
      f: () => space?.toggleFollow(),
      a: () => camera?.turn(-0.1, 0),
      e: () => camera?.turn(0.1, 0),
      w: () => camera?.turn(0, 0.08),
      s: () => camera?.turn(0, -0.08),
      '+': () => camera?.turn(0, 0, 0.85),
      '=': () => camera?.turn(0, 0, 0.85),
      '-': () => camera?.turn(0, 0, 1 / 0.85),
      z: () => plots.zoomBy(0.5),
      x: () => plots.zoomBy(2),
      '0': () => plots.zoom(undefined),
      '/': () => {
        showTab('plots');
        this.choice.focus();
      },
      p: () => showTab('plots', true),
      j: () => showTab('table', true),
      l: () => this.copyLink(),
      c: () => this.saveCsv(),
      d: () => this.setDark(!this.isDark()),
      '?': () => this.help(),
    });
  }
}

setTheme(matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light');
try {
  const page = new Page(readReport());
  Object.assign(window, {orvek23: page}); // for the console, and for tests
  page.start();
} catch (fault) {
  const message = document.createElement('p');
  message.className = 'fault';
  message.textContent = `This page cannot be shown: ${(fault as Error).message}`;
  document.querySelector('main')!.replaceChildren(message);
  throw fault;
}
