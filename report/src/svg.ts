// A plot as SVG, drawn anew: light, to scale, with titles, units and a legend.
import {onWhite} from './colours';
import type {Report} from './data';
import type {Clock} from './format';
import type {Panel, Series} from './panels';

const width = 800;
const height = 320;
const left = 62;
const right = 62;
const top = 52;
const bottom = 44;

export function escaped(text: string): string {
  return text
    .replaceAll('&', '&amp;')
    .replaceAll('<', '&lt;')
    .replaceAll('>', '&gt;')
    .replaceAll('"', '&quot;');
}

/** Round numbers between two, about `count` of them. */
export function roundSteps(low: number, high: number, count: number): number[] {
  const raw = (high - low) / count;
  const size = 10 ** Math.floor(Math.log10(raw));
  const step = size * ([1, 2, 5].find((factor) => factor * size >= raw) ?? 10);
  const steps: number[] = [];
  for (let i = Math.ceil(low / step - 1e-9); i * step <= high + 1e-9 * step; ++i) {
    steps.push(Number((i * step).toPrecision(12)));
  }
  return steps;
}

class Sheet {
  private readonly elements: string[] = [];

  add(name: string, attributes: Record<string, string | number>, text = ''): void {
    const list = Object.entries(attributes).map(
      ([key, value]) => ` ${key}="${escaped(`${value}`)}"`,
    );
    this.elements.push(`<${name}${list.join('')}>${escaped(text)}</${name}>`);
  }

  text(text: string, x: number, y: number, anchor = 'start', more = {}): void {
    this.add('text', {x, y, 'text-anchor': anchor, ...more}, text);
  }

  finished(wide: number): string {
    const size = `width="${wide}" height="${height}" viewBox="0 0 ${wide} ${height}"`;
    return [
      `<svg xmlns="http://www.w3.org/2000/svg" ${size} font-family="sans-serif" font-size="12">`,
      '<rect width="100%" height="100%" fill="#fff"/>',
      ...this.elements,
      '</svg>\n',
    ].join('\n');
  }
}

/** A panel over a stretch of time, in seconds from the motion's start. */
export function svgOf(
  report: Report,
  panel: Panel,
  [from, to]: [number, number],
  clock: Clock,
): string {
  const {times} = report.curves;
  const rows = [...times.keys()].filter((row) => times[row]! >= from && times[row]! <= to);
  const x = (time: number) => left + ((time - from) / (to - from)) * (width - left - right);
  const sheet = new Sheet();
  for (const time of roundSteps(from + clock.offset, to + clock.offset, 8)) {
    const at = x(time - clock.offset);
    sheet.add('path', {d: `M${at} ${top}V${height - bottom}`, stroke: '#ddd'});
    sheet.text(String(time), at, height - bottom + 16, 'middle');
  }
  sheet.text('time, s', width / 2, height - 8, 'middle');
  addScale(sheet, report, panel, 'y', rows, x);
  addScale(sheet, report, panel, 'y2', rows, x);
  const title = `${report.raw.title}: ${panel.title}`;
  sheet.text(title, left, 18, 'start', {'font-size': 15, 'font-weight': 600});
  let at = left;
  for (const series of panel.series) {
    sheet.add('path', {d: `M${at} 36h18`, 'stroke-width': 2, ...stroke(series)});
    sheet.text(series.label, at + 22, 40);
    at += 36 + 6.6 * series.label.length;
  }
  return sheet.finished(Math.max(width, at));
}

function stroke({colour, dashed}: Series): Record<string, string> {
  return {stroke: onWhite(colour), ...(dashed ? {'stroke-dasharray': '6 4'} : {})};
}

// What the columns reach, with room; from the panel's floor up.
function reach(columns: Float32Array[], rows: number[], floor = -Infinity): [number, number] {
  const values = columns.flatMap((column) => rows.map((row) => column[row]!));
  const finite = values.filter(Number.isFinite);
  const high = finite.reduce((a, b) => Math.max(a, b), -Infinity);
  const lowest = finite.reduce((a, b) => Math.min(a, b), Infinity);
  const low = lowest < floor ? Math.min(floor, high - 0.01) : lowest;
  const room = Math.max(0.05 * (high - low), 1e-9);
  return [low - room, high + room];
}

function addScale(
  sheet: Sheet,
  report: Report,
  panel: Panel,
  scale: 'y' | 'y2',
  rows: number[],
  x: (time: number) => number,
): void {
  const series = panel.series.filter((one) => one.scale === scale);
  const columns = series.map(({column}) => report.curves.column(column));
  const [low, high] = reach(columns, rows, panel.floor);
  if (!(low < high)) return;
  const foot = height - bottom;
  const y = (value: number) => foot - ((value - low) / (high - low)) * (foot - top);
  const isFirst = scale === 'y';
  for (const value of roundSteps(low, high, 5)) {
    const line = {
      d: `M${left} ${y(value)}H${width - right}`,
      stroke: value === 0 ? '#999' : '#ddd',
    };
    if (isFirst) sheet.add('path', line);
    const place = isFirst ? left - 6 : width - right + 6;
    sheet.text(String(value), place, y(value) + 4, isFirst ? 'end' : 'start');
  }
  const turn = `translate(${isFirst ? 14 : width - 12} ${(top + foot) / 2}) rotate(-90)`;
  sheet.text(panel.axes[isFirst ? 0 : 1] ?? '', 0, 0, 'middle', {transform: turn});
  series.forEach((one, i) => {
    let d = '';
    let isDown = false;
    for (const row of rows) {
      const value = columns[i]![row]!;
      const place = `${x(report.curves.times[row]!).toFixed(2)} ${Math.min(y(value), foot).toFixed(2)}`;
      if (Number.isFinite(value)) d += (isDown ? 'L' : 'M') + place;
      isDown = Number.isFinite(value);
    }
    // One sample alone makes a dot.
    const line = rows.length === 1 ? {d: `${d}h0.01`, 'stroke-width': 6} : {d, 'stroke-width': 1.4};
    sheet.add('path', {...line, fill: 'none', 'stroke-linecap': 'round', ...stroke(one)});
  });
}
