// A plot as SVG, drawn anew: light, to scale, with titles, units and a legend.
import type {Report} from './data';
import type {Clock} from './format';
import type {Panel, Series} from './panels';

const width = 800, height = 320, left = 62, right = 62, top = 52, bottom = 44;

export function escaped(text: string): string {
  return text.replaceAll('&', '&amp;').replaceAll('<', '&lt;').replaceAll('>', '&gt;').replaceAll('"', '&quot;');
}

/** Round numbers between two, about `count` of them. */
export function roundSteps(low: number, high: number, count: number): number[] {
  const raw = (high - low) / count, size = 10 ** Math.floor(Math.log10(raw));
  const step = size * ([1, 2, 5].find((factor) => factor * size >= raw) ?? 10);
  const steps: number[] = [];
  for (let i = Math.ceil(low / step - 1e-9); i * step <= high + 1e-9 * step; ++i) steps.push(Number((i * step).toPrecision(12)));
  return steps;
}

export function svgOf(report: Report, panel: Panel, [from, to]: [number, number], clock: Clock): string {
  const {curves} = report;
  const rows = [...curves.times.keys()].filter((row) => curves.times[row]! >= from && curves.times[row]! <= to);
  const x = (time: number) => left + (time - from) / (to - from) * (width - left - right);
  const out: string[] = [];
  const text = (content: string, at: string) => out.push(`<text ${at}>${escaped(content)}</text>`);
  roundSteps(from + clock.offset, to + clock.offset, 8).forEach((time) => {
    const at = x(time - clock.offset).toFixed(1);
    out.push(`<path d="M${at} ${top}V${height - bottom}" stroke="#ddd"/>`);
    text(String(time), `x="${at}" y="${height - bottom + 16}" text-anchor="middle"`);
  });
  text('time, s', `x="${width / 2}" y="${height - 8}" text-anchor="middle"`);
  (['y', 'y2'] as const).forEach((scale, i) => {
    const series = panel.series.filter((one) => one.scale === scale), title = panel.axes[i];
    if (series.length > 0 && title) addScale(out, report, series, rows, x, title, i === 1, panel.floor);
  });
  text(`${report.raw.title}: ${panel.title}`, `x="${left}" y="18" font-size="15" font-weight="600"`);
  let legend = left;
  panel.series.forEach((series) => {
    out.push(`<path d="M${legend} 36h18" stroke="${series.colour}" stroke-width="2"${dashes(series)}/>`);
    text(series.label, `x="${legend + 22}" y="40"`);
    legend += 36 + 6.6 * series.label.length;
  });
  return `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${height}" viewBox="0 0 ${Math.max(width, legend)} ${height}" ` +
    `font-family="sans-serif" font-size="12" fill="#222"><rect width="100%" height="100%" fill="#fff"/>${out.join('\n')}</svg>\n`;
}

function dashes(series: Series): string {
  return series.dashed ? ' stroke-dasharray="6 4"' : '';
}

function addScale(out: string[], report: Report, series: Series[], rows: number[], x: (time: number) => number, title: string,
                  atRight: boolean, floor: number | undefined): void {
  const columns = series.map(({column}) => report.curves.column(column));
  let low = Infinity, high = -Infinity;
  for (const column of columns) {
    for (const row of rows) {
      const value = column[row]!;
      if (Number.isFinite(value)) [low, high] = [Math.min(low, value), Math.max(high, value)];
    }
  }
  if (low > high) return;
  if (floor !== undefined) low = Math.min(Math.max(low, floor), high - 0.01);
  const room = Math.max(0.05 * (high - low), 1e-9);
  [low, high] = [low - room, high + room];
  const y = (value: number) => height - bottom - (value - low) / (high - low) * (height - top - bottom);
  for (const value of roundSteps(low, high, 5)) {
    const at = y(value).toFixed(1);
    if (!atRight) out.push(`<path d="M${left} ${at}H${width - right}" stroke="${value === 0 ? '#999' : '#ddd'}"/>`);
    out.push(`<text x="${atRight ? width - right + 6 : left - 6}" y="${Number(at) + 4}" text-anchor="${atRight ? 'start' : 'end'}">${value}</text>`);
  }
  const middle = (top + height - bottom) / 2, edge = atRight ? width - 12 : 14;
  out.push(`<text transform="translate(${edge} ${middle}) rotate(-90)" text-anchor="middle">${escaped(title)}</text>`);
  series.forEach((one, i) => {
    let path = '', pen = false;
    for (const row of rows) {
      const value = columns[i]![row]!;
      if (Number.isFinite(value)) path += `${pen ? 'L' : 'M'}${x(report.curves.times[row]!).toFixed(2)} ${Math.min(y(value), height - bottom).toFixed(2)}`;
      pen = Number.isFinite(value);
    }
    if (rows.length === 1) path += 'h0.01';
    out.push(`<path d="${path}" fill="none" stroke="${one.colour}" stroke-width="${rows.length === 1 ? 6 : 1.4}" stroke-linejoin="round" stroke-linecap="round"${dashes(one)}/>`);
  });
}
