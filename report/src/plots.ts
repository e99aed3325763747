// Plots over time with one cursor: a drag zooms all, a double click shows all, a click goes there.
import uPlot from 'uplot';
import type {Report} from './data';
import {shown, type Clock} from './format';
import type {Moment} from './moment';
import {panelsOf, type Panel, type Series} from './panels';
import {optionsOf} from './plot_options';
import {svgOf} from './svg';
import {save, stem} from './save';

interface Drawn {
  panel: Panel;
  plot: uPlot;
  now: HTMLElement;
  marked: HTMLElement;
  values: {series: Series; text: HTMLElement}[];
}

export class Plots {
  /** The stretch of time that is shown, in seconds from the start. */
  range: [number, number];
  private drawn: Drawn[] = [];
  private hovered: number | undefined;
  private readonly whole: [number, number];
  onZoom: () => void = () => {};

  constructor(
    private readonly host: HTMLElement,
    private readonly report: Report,
    private readonly moment: Moment,
    private readonly clock: Clock,
  ) {
    const end = moment.end;
    this.whole = end > 0 ? [0, end] : [-0.5, 0.5];
    this.range = this.whole;
    moment.listen(() => this.update());
    new ResizeObserver(() => this.resize()).observe(host);
  }

  get panels(): Panel[] {
    return this.drawn.map(({panel}) => panel);
  }

  draw(chosen: string[]): void {
    for (const {plot} of this.drawn) plot.destroy();
    this.host.replaceChildren();
    this.drawn = panelsOf(this.report, chosen).map((panel) => this.add(panel));
    this.update();
  }

  zoom(range: [number, number] | undefined): void {
    const least = Math.max(1e-6, (2 * this.moment.end) / Math.max(1, this.report.raw.samples));
    let [from, to] = range ?? this.whole;
    from = Math.max(from, this.whole[0]);
    to = Math.min(to, this.whole[1]);
    if (to - from < least) return;
    this.range = [from, to];
    for (const {plot} of this.drawn) plot.setScale('x', {min: from, max: to});
    this.place();
    this.onZoom();
  }

  zoomBy(factor: number): void {
    const [from, to] = this.range;
    const centre = Math.min(Math.max(this.moment.time, from), to);
    this.zoom([centre - (centre - from) * factor, centre + (to - centre) * factor]);
  }

  private add(panel: Panel): Drawn {
    const figure = document.createElement('figure');
    figure.className = 'panel';
    figure.id = `panel-${panel.id}`;
    const caption = figure.appendChild(document.createElement('figcaption'));
    caption.appendChild(document.createElement('b')).textContent = panel.title;
    const legend = caption.appendChild(document.createElement('span'));
    legend.className = 'values';
    const values = panel.series.map((series) => {
      const item = legend.appendChild(document.createElement('span'));
      item.appendChild(keyOf(series));
      item.append(series.label);
      return {series, text: item.appendChild(document.createElement('i'))};
    });
    const button = caption.appendChild(document.createElement('button'));
    button.textContent = 'SVG';
    button.title = `Save this plot as SVG`;
    button.setAttribute('aria-label', `Save the plot ${panel.title} as SVG`);
    button.onclick = () =>
      save(
        `${stem(this.report)}-${panel.id}.svg`,
        'image/svg+xml',
        svgOf(this.report, panel, this.range, this.clock),
      );
    const place = figure.appendChild(document.createElement('div'));
    place.className = 'plot';
    this.host.append(figure);

    const plot = new uPlot(
      optionsOf(this.report, panel, this.clock, this.host.clientWidth, {
        setSelect: (which) => this.selected(which),
        setCursor: (which) => this.hover(which),
      }),
      this.data(panel),
      place,
    );
    plot.setScale('x', {min: this.range[0], max: this.range[1]});
    plot.root.role = 'img';
    plot.root.ariaLabel = `${panel.title} over time: ${panel.series.map(({label}) => label).join(', ')}`;
    const now = plot.over.appendChild(document.createElement('div'));
    now.className = 'now';
    const marked = plot.over.appendChild(document.createElement('div'));
    marked.className = 'marked';
    this.bind(plot);
    return {panel, plot, now, marked, values};
  }

  private data(panel: Panel): uPlot.AlignedData {
    const times = this.report.curves.times;
    const columns = panel.series.map(({column}) => {
      const values = this.report.curves.column(column);
      return values.every(Number.isFinite)
        ? values
        : Array.from(values, (v) => (Number.isFinite(v) ? v : null));
    });
    return [times, ...columns] as unknown as uPlot.AlignedData;
  }

  private bind(plot: uPlot): void {
    let from = 0;
    plot.over.addEventListener('mousedown', (event) => (from = event.clientX));
    plot.over.addEventListener('click', (event) => {
      if (Math.abs(event.clientX - from) > 4) return; // a drag
      const time = plot.posToVal(event.clientX - plot.over.getBoundingClientRect().left, 'x');
      if (event.shiftKey)
        this.moment.setMark(this.report.table.times[this.report.table.nearest(time)]);
      else {
        this.moment.pause();
        this.moment.show(time);
      }
    });
    plot.over.addEventListener('dblclick', () => this.zoom(undefined));
    plot.over.addEventListener('mouseleave', () => {
      this.hovered = undefined;
      this.write();
    });
  }

  private selected(plot: uPlot): void {
    const {left, width} = plot.select;
    if (width < 5) return;
    plot.setSelect({left: 0, top: 0, width: 0, height: 0}, false);
    this.zoom([plot.posToVal(left, 'x'), plot.posToVal(left + width, 'x')]);
  }

  private hover(plot: uPlot): void {
    const left = plot.cursor.left ?? -1;
    if (left < 0 || !plot.over.matches(':hover')) return;
    this.hovered = plot.posToVal(left, 'x');
    this.write();
  }

  private update(): void {
    const [from, to] = this.range;
    const {playing, time} = this.moment;
    if (playing && (time < from || time > to)) this.zoom([time, time + to - from]); // goes along
    this.place();
    this.write();
  }

  private place(): void {
    for (const {plot, now, marked} of this.drawn) {
      at(plot, now, this.moment.time);
      at(plot, marked, this.moment.mark);
    }
  }

  // Under the cursor; beside it, how much more that is than at the mark.
  private write(): void {
    const hovered = this.hovered;
    const mark = this.moment.mark;
    for (const {values} of this.drawn) {
      for (const {
        series: {column},
        text,
      } of values) {
        const [low, high] =
          hovered === undefined ? this.valuesNow(column) : this.valuesAt(column, hovered);
        let value =
          low === high || Number.isNaN(low) ? shown(low) : `${shown(low)} … ${shown(high)}`;
        if (mark !== undefined) {
          const [from, to] = this.valuesAt(column, mark);
          const more = (low + high - from - to) / 2;
          value += ` (Δ ${more > 0 ? '+' : ''}${shown(more)})`;
        }
        if (text.textContent !== value) text.textContent = value;
      }
    }
  }

  private valuesNow(column: string): [number, number] {
    const {table} = this.report;
    if (!table.has(column)) return this.valuesAt(column, this.moment.time);
    const value = table.column(column)[this.moment.row] ?? NaN;
    return [value, value];
  }

  // Of a thinned motion, what the stretch of time reaches.
  private valuesAt(column: string, time: number): [number, number] {
    const {curves, isThinned} = this.report;
    const values = curves.column(column);
    if (!isThinned) {
      const value = values[curves.nearest(time)] ?? NaN;
      return [value, value];
    }
    const first = curves.rowAt(time) & ~1;
    const [a, b] = [values[first] ?? NaN, values[first + 1] ?? NaN];
    return [Math.min(a, b), Math.max(a, b)];
  }

  /** To the room that there is; `height`: of each panel, if not its own. */
  resize(height?: number): void {
    for (const {plot, panel} of this.drawn) {
      const width = plot.root.parentElement!.clientWidth;
      if (width > 0) plot.setSize({width, height: height ?? panel.height});
    }
    this.place();
  }
}

function at(plot: uPlot, line: HTMLElement, time: number | undefined): void {
  const left = time === undefined ? -1 : plot.valToPos(time, 'x');
  line.hidden = !(left >= 0 && left <= plot.over.clientWidth);
  line.style.display = line.hidden ? 'none' : '';
  if (!line.hidden) line.style.left = `${left - 0.75}px`;
}

export function keyOf({colour, dashed}: {colour: string; dashed: boolean}): HTMLElement {
  const key = document.createElement('span');
  key.className = dashed ? 'key dashed' : 'key';
  key.style.borderTopColor = colour;
  return key;
}
