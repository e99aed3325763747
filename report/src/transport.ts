// Play, pause, speed, single samples, second cursor.
import type {Report} from './data';
import {element} from './elements';
import type {Clock} from './format';
import type {Moment} from './moment';

const speeds = [0.05, 0.1, 0.25, 0.5, 1, 2, 5, 10];

export class Transport {
  private readonly scrub = element<HTMLInputElement>('scrub');
  private readonly speed = element<HTMLSelectElement>('speed');

  constructor(
    report: Report,
    private readonly moment: Moment,
    private readonly clock: Clock,
  ) {
    this.scrub.max = String(report.table.times.length - 1);
    this.speed.append(
      ...speeds.map((value) => new Option(`${value} ×`, String(value), value === 1, value === 1)),
    );
    element('play').onclick = () => moment.toggle();
    element('back').onclick = () => moment.step(-1);
    element('forth').onclick = () => moment.step(1);
    element('mark').onclick = () => this.toggleMark();
    this.speed.onchange = () => (moment.speed = Number(this.speed.value));
    this.scrub.oninput = () => {
      moment.pause();
      moment.showRow(Number(this.scrub.value));
    };
    moment.listen(() => this.show());
  }

  faster(steps: number): void {
    const at = speeds.indexOf(this.moment.speed) + steps;
    this.moment.speed = speeds[Math.max(0, Math.min(at, speeds.length - 1))]!;
    this.speed.value = String(this.moment.speed);
  }

  toggleMark(): void {
    this.moment.setMark(this.moment.mark === undefined ? this.moment.time : undefined);
  }

  private show(): void {
    const {moment, clock} = this;
    this.scrub.value = String(moment.row);
    this.scrub.setAttribute('aria-valuetext', `${clock.text(moment.time)} s`);
    element('play').textContent = moment.playing ? 'Pause' : 'Play';
    element('mark').setAttribute('aria-pressed', String(moment.mark !== undefined));
    const since =
      moment.mark === undefined
        ? ''
        : ` (Δ ${(moment.time - moment.mark).toFixed(clock.decimals)})`;
    element('clock').textContent = `${clock.text(moment.time)} s${since}`;
  }
}
