// Everything by the keyboard.
export type Actions = Record<string, (shift: boolean) => void>;

/** Letters as they are typed, in small; ' ' and the names of other keys as the browser has them. */
export function bindKeys(actions: Actions): void {
  document.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey || document.querySelector('dialog[open]'))
      return;
    const target = event.target as HTMLElement;
    const typing = target.matches('input[type="search"], select');
    const pressing = target.matches('button, input[type="checkbox"], summary');
    if (typing || (pressing && event.key === ' ')) return;
    if (target.closest('[role="tablist"]') && event.key.startsWith('Arrow')) return;
    const action = actions[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (!action) return;
    event.preventDefault();
    action(event.shiftKey);
  });
}
