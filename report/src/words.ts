// What the page says of the motion and of a sample.
import type {Report} from './data';
import {element} from './elements';
import {brief, shown, type Clock} from './format';
import type {Moment} from './moment';
import type {Robot} from './robot';

export function describe(report: Report, clock: Clock): void {
  const {raw} = report;
  document.title = raw.title;
  element('title').textContent = raw.title;
  element('title').title = raw.title;
  const stretch = (2 * report.duration) / report.curves.times.length;
  const thinned = report.isThinned
    ? `; ${report.table.times.length} of them kept, curves show what each ${brief(stretch)} s reached`
    : '';
  element('facts').textContent =
    raw.samples === 1
      ? 'one sample'
      : `${raw.samples} samples over ${report.duration.toFixed(clock.decimals)} s${thinned}`;
  element('written').textContent =
    `Written by ${raw.writer}. SI units; world z up; left is blue, right is vermillion.`;
  element('missing').replaceChildren(
    ...raw.missing.map((text) => {
      const item = document.createElement('li');
      item.textContent = text;
      return item;
    }),
  );
}

function standing(report: Report, row: number): string {
  const feet = report.raw.feet.filter(
    (foot) => report.table.column(`stands.${foot.body}`)[row]! > 0,
  );
  if (feet.length === 0) return 'no foot stands';
  return feet.length === 2
    ? 'both feet stand'
    : `${feet[0]!.body.startsWith('L') ? 'left' : 'right'} foot stands`;
}

export function describeSample(report: Report, robot: Robot, moment: Moment, clock: Clock): void {
  const margin = report.table.column('margin')[moment.row] ?? NaN;
  const lines = [
    `${clock.text(moment.time)} s`,
    robot.isFinite ? standing(report, moment.row) : 'no pose: these results are not finite',
  ];
  if (Number.isFinite(margin))
    lines.push(`margin ${shown(margin)} m${margin < 0 ? ': outside the support' : ''}`);
  const beyond = [...report.limits.keys()].filter((joint) => report.isBeyond(joint, moment.row));
  if (beyond.length > 0) lines.push(`▲ beyond its limits: ${beyond.join(', ')}`);
  element('state').textContent = lines.join('\n');
  element('scene').setAttribute('aria-label', `Robot at ${lines.join(', ')}`);
}
