// Which joints and columns are drawn: the six largest torques first, any by search.
import type {Report} from './data';
import {byTorque, panelsOf, singles} from './panels';
import {keyOf} from './plots';

export class Choice {
  chosen: string[];
  private active = 0;
  private readonly all: string[];
  private readonly search = document.querySelector<HTMLInputElement>('#search')!;
  private readonly found = document.querySelector<HTMLUListElement>('#found')!;
  private readonly list = document.querySelector<HTMLUListElement>('#chosen')!;
  onChange: () => void = () => {};

  constructor(private readonly report: Report) {
    this.all = [...report.joints, ...singles(report)];
    this.chosen = this.largest();
    this.search.addEventListener('input', () => this.open());
    this.search.addEventListener('focus', () => this.open());
    this.search.addEventListener('blur', () => this.close());
    this.search.addEventListener('keydown', (event) => this.key(event));
    document.querySelector<HTMLButtonElement>('#largest')!.onclick = () => this.set(this.largest());
  }

  largest(): string[] {
    return byTorque(this.report).slice(0, 6);
  }

  set(chosen: string[]): void {
    this.chosen = chosen.filter((name) => this.all.includes(name));
    this.show();
    this.onChange();
  }

  add(name: string): void {
    if (!this.chosen.includes(name)) this.set([...this.chosen, name]);
  }

  toggle(name: string): void {
    this.chosen.includes(name)
      ? this.set(this.chosen.filter((other) => other !== name))
      : this.add(name);
  }

  show(): void {
    const series = panelsOf(this.report, this.chosen).flatMap((panel) => panel.series);
    this.list.replaceChildren(
      ...this.chosen.map((name) => {
        const item = document.createElement('li');
        const button = item.appendChild(document.createElement('button'));
        const drawn = series.find(({label}) => label === name);
        if (drawn) button.append(keyOf(drawn));
        button.append(`${name} ×`);
        button.title = `Do not draw ${name}`;
        button.onclick = () => this.toggle(name);
        return item;
      }),
    );
  }

  focus(): void {
    this.search.focus();
    this.search.select();
  }

  // Names that have all of the words, however they are written.
  private matches(): string[] {
    const words = this.search.value.toLowerCase().split(/\s+/).filter(Boolean);
    return this.all.filter((name) => words.every((word) => name.toLowerCase().includes(word)));
  }

  private open(): void {
    this.active = 0;
    this.fill();
    this.search.setAttribute('aria-expanded', 'true');
    this.found.hidden = false;
  }

  private close(): void {
    this.found.hidden = true;
    this.search.setAttribute('aria-expanded', 'false');
    this.search.removeAttribute('aria-activedescendant');
  }

  private fill(): void {
    const names = this.matches();
    this.active = Math.max(0, Math.min(this.active, names.length - 1));
    this.found.replaceChildren(
      ...names.map((name, i) => {
        const item = document.createElement('li');
        item.id = `found-${name}`;
        item.role = 'option';
        item.ariaSelected = String(this.chosen.includes(name));
        item.textContent = `${this.chosen.includes(name) ? '✓' : '\u2007'} ${name}`;
        item.classList.toggle('active', i === this.active);
        item.onmousedown = (event) => {
          event.preventDefault(); // the search keeps the focus
          this.active = i;
          this.toggle(name);
          this.fill();
        };
        return item;
      }),
    );
    const active = this.found.children[this.active];
    active?.scrollIntoView({block: 'nearest'});
    if (active) this.search.setAttribute('aria-activedescendant', active.id);
    if (names.length === 0) this.found.textContent = 'No joint or column of that name';
  }

  private key(event: KeyboardEvent): void {
    const names = this.matches();
    if (event.key === 'ArrowDown' || event.key === 'ArrowUp') {
      this.active += event.key === 'ArrowDown' ? 1 : -1;
      if (this.found.hidden) this.open();
      else this.fill();
    } else if (event.key === 'Enter' && names[this.active]) {
      this.toggle(names[this.active]!);
      this.search.select();
      this.fill();
    } else if (event.key === 'Escape') {
      this.close();
      this.search.blur();
    } else {
      return;
    }
    event.preventDefault();
  }
}
