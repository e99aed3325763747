// The table of joints: what each of them reached and when; what passed its limits is marked.
import {colourOf} from './colours';
import type {Extreme, Report} from './data';
import {brief, type Clock} from './format';
import {byTorque} from './panels';
import {sideOf} from './robot';

type Go = (time: number, joint: string) => void;

export function fillTable(host: HTMLElement, report: Report, clock: Clock, go: Go): void {
  const limited = report.limits.size > 0;
  const table = document.createElement('table');
  const heads = [
    'Joint',
    'Largest torque, N\u00a0m',
    'at, s',
    ...(limited ? ['of limit, N\u00a0m'] : []),
    'Lowest angle, rad',
    'Highest angle, rad',
    ...(limited ? ['allowed, rad'] : []),
    'Fastest, rad/s',
  ];
  const caption = table.createCaption();
  const head = table.createTHead().insertRow();
  for (const text of heads) {
    const cell = document.createElement('th');
    cell.scope = 'col';
    cell.textContent = text;
    head.append(cell);
  }
  const body = table.createTBody();
  let passed = 0;
  for (const joint of byTorque(report)) {
    const row = body.insertRow();
    const limits = report.limits.get(joint);
    const name = row.insertCell();
    const dot = name.appendChild(document.createElement('span'));
    dot.className = 'side';
    dot.style.background = colourOf(sideOf(joint));
    name.append(joint);
    const cell = (text: string, time?: number, over = false) => {
      const place = row.insertCell();
      if (over) {
        ++passed;
        place.className = 'passed';
        text = `▲ ${text}`;
        place.title = 'Beyond its limit';
      }
      if (time === undefined) {
        place.textContent = text;
        return;
      }
      const button = place.appendChild(document.createElement('button'));
      button.textContent = text;
      button.title = `Go to ${clock.text(time - report.raw.start)} s`;
      button.onclick = () => go(time - report.raw.start, joint);
    };
    const reached = (extreme: Extreme | undefined, over: boolean) =>
      extreme && extreme[0] !== null ? cell(brief(extreme[0]), extreme[1], over) : cell('–');
    const peak = report.peak(`torque.${joint}`);
    const torque = limits?.torque;
    const isOver = torque !== undefined && peak !== undefined && Math.abs(peak.value) > torque;
    peak ? cell(brief(peak.value), peak.time, isOver) : cell('–');
    cell(peak ? clock.text(peak.time - report.raw.start) : '–');
    if (limited) {
      cell(
        torque && peak
          ? `${Math.round((100 * Math.abs(peak.value)) / torque)} % of ${brief(torque)}`
          : '',
      );
    }
    const angle = report.columns.get(`q.${joint}`);
    reached(angle?.low, limits?.low !== undefined && (angle?.low[0] ?? Infinity) < limits.low);
    reached(angle?.high, limits?.high !== undefined && (angle?.high[0] ?? -Infinity) > limits.high);
    if (limited)
      cell(
        limits?.low === undefined && limits?.high === undefined
          ? ''
          : `${bound(limits.low)} … ${bound(limits.high)}`,
      );
    const rate = report.peak(`d.${joint}`);
    rate ? cell(brief(rate.value), rate.time) : cell('–');
  }
  caption.textContent =
    'A click on a number goes to its time and draws the joint.' +
    (limited
      ? ` ${passed === 0 ? 'No limit is passed.' : `▲: limit passed, ${passed} in all.`}`
      : '');
  host.replaceChildren(table);
}

function bound(value: number | undefined): string {
  return value === undefined ? '' : brief(value);
}
