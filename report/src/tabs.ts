// Plots or joints: one of them is beside the robot, where there is no room for both.
import {element} from './elements';

export type Tab = 'plots' | 'table';

export function showTab(name: Tab, focus = false): void {
  for (const panel of ['plots', 'table']) {
    const button = element(`tab-${panel}`);
    const shown = panel === name;
    element(panel).classList.toggle('active', shown);
    button.setAttribute('aria-selected', String(shown));
    button.tabIndex = shown ? 0 : -1;
    if (focus && shown) button.focus();
  }
}

export function bindTabs(): void {
  for (const [name, other] of [
    ['plots', 'table'],
    ['table', 'plots'],
  ] as const) {
    element(`tab-${name}`).onclick = () => showTab(name);
    element(`tab-${name}`).onkeydown = (event) => {
      if (event.key === 'ArrowLeft' || event.key === 'ArrowRight') showTab(other, true);
    };
  }
}
