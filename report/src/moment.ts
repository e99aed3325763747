// What the page shows at present: the time, whether it goes on, and who must know.
import type {Report} from './data';

export type Listener = () => void;

/** Times are in seconds from the motion's start. */
export class Moment {
  time = 0;
  row = 0;
  playing = false;
  speed = 1;
  /** The second cursor. */
  mark: number | undefined;
  private readonly listeners: Listener[] = [];
  private last = 0;

  constructor(private readonly report: Report) {}

  listen(listener: Listener): void {
    this.listeners.push(listener);
  }

  changed(): void {
    for (const listener of this.listeners) listener();
  }

  get end(): number {
    const times = this.report.table.times;
    return times[times.length - 1] ?? 0;
  }

  /** Shows a time, at the sample nearest to it. */
  show(time: number): void {
    this.showRow(this.report.table.nearest(time));
  }

  showRow(row: number): void {
    const times = this.report.table.times;
    this.row = Math.max(0, Math.min(row, times.length - 1));
    this.time = times[this.row] ?? 0;
    this.changed();
  }

  step(rows: number): void {
    this.pause();
    this.showRow(this.row + rows);
  }

  setMark(time: number | undefined): void {
    this.mark = time;
    this.changed();
  }

  toggle(): void {
    this.playing ? this.pause() : this.play();
  }

  play(): void {
    if (this.playing) return;
    if (this.time >= this.end) this.showRow(0);
    this.playing = true;
    this.last = performance.now();
    this.changed();
    requestAnimationFrame((now) => this.advance(now));
  }

  pause(): void {
    if (!this.playing) return;
    this.playing = false;
    this.changed();
  }

  private advance(now: number): void {
    if (!this.playing) return;
    this.time += (Math.max(0, now - this.last) / 1000) * this.speed;
    this.last = now;
    if (this.time >= this.end) {
      this.playing = false;
      this.time = this.end;
    }
    this.row = this.report.table.rowAt(this.time);
    this.changed();
    requestAnimationFrame((next) => this.advance(next));
  }
}
