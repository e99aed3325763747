// Files that the reader takes away.
import type {Report} from './data';
import {shortest} from './format';
import type {Panel} from './panels';

export function save(name: string, type: string, text: string): void {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(new Blob([text], {type}));
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

/** The motion's name, fit for a file's. */
export function stem(report: Report): string {
  const name = report.raw.title
    .replace(/\.[^.]*$/, '')
    .replace(/[^\p{L}\p{N}._-]+/gu, '_')
    .replace(/^[._]+/, '');
  return name || 'motion';
}

/** The columns of these panels over a stretch of time, named as in the results file. */
export function csvOf(report: Report, panels: Panel[], [from, to]: [number, number]): string {
  const names = panels.flatMap((panel) => panel.series.map(({column}) => column));
  const columns = names.map((name) => report.curves.column(name));
  const lines = [['time', ...names].join(',')];
  report.curves.times.forEach((time, row) => {
    if (time < from - 1e-9 || time > to + 1e-9) return;
    const absolute = Number((report.raw.start + time).toPrecision(15));
    lines.push([absolute, ...columns.map((column) => cell(column[row]!))].join(','));
  });
  return lines.join('\n') + '\n';
}

function cell(value: number): string {
  return Number.isFinite(value) ? shortest(value) : 'nan';
}
