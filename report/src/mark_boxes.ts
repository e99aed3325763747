// The legend of the marks in space; each can be switched off.
import type {Report} from './data';
import {brief} from './format';
import {kinds, metresPerNewtonMetre, type Kind, type Marks} from './marks';

const symbols: Record<Kind, string> = {
  com: '<circle cx="8" cy="8" r="5" fill="var(--ink)"/>',
  zmp: '<path d="M3 3l10 10M13 3L3 13" stroke="#009e73" stroke-width="2.5"/>',
  cop: '<circle cx="8" cy="8" r="5" fill="none" stroke="#56b4e9" stroke-width="2.5"/>',
  capture: '<path d="M13 8L4 13V3z" fill="#cc79a7"/>',
  support: '<path d="M2 5l9-2 3 8-10 3z" fill="#8888" stroke="var(--muted)"/>',
  wrench: '<path d="M8 15V4M4.5 7L8 2l3.5 5" fill="none" stroke="#e69f00" stroke-width="2"/>',
  path: '<path d="M1 11q3-9 6-3t8-3" fill="none" stroke="var(--ink)" stroke-width="1.5"/>',
};

export function addMarkBoxes(
  host: HTMLElement,
  report: Report,
  marks: Marks,
  show: (kind: Kind, on: boolean) => void,
): void {
  const ever = (column: string) => typeof report.columns.get(column)?.low[0] === 'number';
  const words: Record<Kind, [string, boolean]> = {
    com: ['centre of mass', ever('com.x')],
    zmp: ['zero-moment point (motion)', ever('zmp.x')],
    cop: ['centre of pressure (wrenches)', ever('cop.x')],
    capture: ['capture point', ever('capture-point.x')],
    support: ['support polygon', ever('margin')],
    wrench: [
      `wrenches: 10 N is ${brief(10 * marks.metresPerNewton)} m, 1 N m ${metresPerNewtonMetre} m`,
      marks.hasWrenches,
    ],
    path: ['paths of soles, centre of mass', report.raw.samples > 1],
  };
  for (const kind of kinds) {
    const [text, there] = words[kind];
    const label = host.appendChild(document.createElement('label'));
    label.className = there ? '' : 'absent';
    label.title = there ? '' : 'Not in this motion';
    const box = label.appendChild(document.createElement('input'));
    box.type = 'checkbox';
    box.checked = there;
    box.disabled = !there;
    box.onchange = () => show(kind, box.checked);
    label.insertAdjacentHTML(
      'beforeend',
      `<svg viewBox="0 0 16 16" aria-hidden="true">${symbols[kind]}</svg>`,
    );
    label.append(text);
  }
}
