// The moment and the view in the address's fragment, so that a link leads there.
import {Vector3} from 'three';
import type {Camera, View} from './camera';
import type {Choice} from './choice';
import type {Report} from './data';
import type {Moment} from './moment';
import type {Plots} from './plots';

interface Parts {
  report: Report;
  moment: Moment;
  camera: Camera | undefined;
  choice: Choice;
  plots: Plots;
}

const round = (value: number, decimals: number) => String(Number(value.toFixed(decimals)));

export class Link {
  private timer = 0;
  private written = '';

  constructor(private readonly parts: Parts) {
    window.addEventListener('hashchange', () => {
      if (location.hash !== this.written) this.read();
    });
  }

  /** Soon, and not in every picture: browsers allow only so many changes of the address. */
  later(): void {
    clearTimeout(this.timer);
    if (!this.parts.moment.playing) this.timer = window.setTimeout(() => this.write(), 250);
  }

  write(): void {
    const {report, moment, camera, choice, plots} = this.parts;
    const fields: string[] = [`t=${round(report.raw.start + moment.time, 6)}`];
    if (moment.mark !== undefined) fields.push(`mark=${round(report.raw.start + moment.mark, 6)}`);
    if (camera) {
      const {azimuth, elevation, distance, target} = camera.where();
      fields.push(
        camera.view && camera.follow
          ? `view=${camera.view}`
          : `camera=${[azimuth, elevation, distance].map((v) => round(v, 4))}`,
      );
      if (camera.view && camera.follow) fields.push(`distance=${round(distance, 3)}`);
      if (!camera.follow) fields.push(`at=${target.toArray().map((v) => round(v, 4))}`);
    }
    if (String(choice.chosen) !== String(choice.largest()))
      fields.push(`draw=${choice.chosen.map(encodeURIComponent)}`);
    if (plots.range[0] > 0 || plots.range[1] < moment.end) {
      fields.push(`zoom=${plots.range.map((t) => round(report.raw.start + t, 6))}`);
    }
    this.written = `#${fields.join('&')}`;
    history.replaceState(null, '', this.written);
  }

  /** What the fragment does not name, or names wrongly, stays. */
  read(): void {
    const {report, moment, camera, choice, plots} = this.parts;
    const fields = new Map(
      location.hash
        .slice(1)
        .split('&')
        .map((field) => {
          const at = field.indexOf('=');
          return [field.slice(0, at), field.slice(at + 1)] as const;
        }),
    );
    const numbers = (name: string, count: number): number[] | undefined => {
      const list = (fields.get(name) ?? '')
        .split(',')
        .map((text) => (text === '' ? NaN : Number(text)));
      return list.length === count && list.every(Number.isFinite) ? list : undefined;
    };
    const [time] = numbers('t', 1) ?? [];
    const [mark] = numbers('mark', 1) ?? [];
    if (mark !== undefined) moment.mark = mark - report.raw.start;
    if (time !== undefined) {
      moment.pause();
      moment.show(time - report.raw.start);
    }
    const names = fields.get('draw');
    if (names !== undefined) choice.set(names.split(',').map(decoded));
    const zoom = numbers('zoom', 2);
    if (zoom) plots.zoom([zoom[0]! - report.raw.start, zoom[1]! - report.raw.start]);
    if (!camera) return;
    const at = numbers('at', 3);
    camera.setFollow(!at);
    if (at) camera.moveTarget(new Vector3(...at));
    const [distance] = numbers('distance', 1) ?? [];
    const free = numbers('camera', 3);
    const view = fields.get('view');
    if (free) camera.lookFrom(free[0]!, free[1]!, free[2]!);
    else if (view === 'front' || view === 'side' || view === 'top') {
      if (distance) camera.turn(0, 0, distance / camera.where().distance);
      camera.lookAt(view satisfies View);
    }
  }
}

function decoded(text: string): string {
  try {
    return decodeURIComponent(text);
  } catch {
    return text;
  }
}
