// How a panel is drawn: axes with units, ranges, lines, limits.
import type uPlot from 'uplot';
import {palette} from './colours';
import type {Report} from './data';
import type {Clock} from './format';
import type {Panel, Series} from './panels';

export interface Handlers {
  setSelect(plot: uPlot): void;
  setCursor(plot: uPlot): void;
}

export function optionsOf(
  report: Report,
  panel: Panel,
  clock: Clock,
  width: number,
  on: Handlers,
): uPlot.Options {
  const colours = palette();
  const single = report.curves.times.length < 2;
  const axis = (more: Partial<uPlot.Axis>): uPlot.Axis => ({
    stroke: colours.muted,
    grid: {stroke: colours.grid, width: 1},
    ticks: {stroke: colours.grid, width: 1, size: 4},
    font: '11px system-ui, sans-serif',
    labelFont: '11px system-ui, sans-serif',
    labelSize: 15,
    gap: 3,
    ...more,
  });
  const scale = (series: Series[]): uPlot.Scale => ({
    range: (_, low, high) =>
      rangeOf(
        low,
        high,
        panel.floor,
        series.every(({column}) => column.startsWith('residual')),
      ),
  });
  const second = panel.axes[1];
  const scales: Record<string, uPlot.Scale> = {x: {time: false}, y: scale(panel.series)};
  if (second) scales['y2'] = scale(panel.series);
  const offset = clock.offset;
  return {
    width: Math.max(200, width),
    height: panel.height,
    pxAlign: 1,
    padding: [6, second ? 0 : 10, 0, 0],
    legend: {show: false},
    scales,
    axes: [
      axis({
        label:
          offset === 0 && report.raw.start !== 0 ? `time from ${report.raw.start}, s` : 'time, s',
        size: 22,
        values: (_, splits) => splits.map((t) => tick(t + offset)),
      }),
      axis({label: panel.axes[0], size: 46, scale: 'y', values: (_, splits) => splits.map(tick)}),
      ...(second
        ? [
            axis({
              label: second,
              size: 46,
              scale: 'y2',
              side: 1,
              grid: {show: false},
              values: (_, splits) => splits.map(tick),
            }),
          ]
        : []),
    ],
    series: [
      {},
      ...panel.series.map((series): uPlot.Series => ({
        label: series.label,
        scale: series.scale,
        stroke: series.colour,
        width: series.dashed ? 1.8 : 1.3,
        ...(series.dashed ? {dash: [6, 4]} : {}),
        points: {show: single, size: 7},
        spanGaps: false,
      })),
    ],
    cursor: {
      sync: {key: 'time'},
      y: false,
      drag: {x: true, y: false, setScale: false, dist: 4},
      points: {size: 5},
      bind: {dblclick: () => () => null},
    },
    hooks: {
      setSelect: [on.setSelect],
      setCursor: [on.setCursor],
      draw: [(plot) => drawLines(plot, panel, report)],
    },
  };
}

function tick(value: number | null): string {
  if (value === null) return '';
  const text =
    value !== 0 && Math.abs(value) < 1e-4
      ? value.toExponential()
      : String(Number(value.toPrecision(9)));
  return text.replaceAll('-', '−');
}

// Room above and below; what is only rounding is not blown up to fill the panel, but for the residual,
// of which the size matters.
function rangeOf(
  low: number | null,
  high: number | null,
  floor: number | undefined,
  small: boolean,
): [number, number] {
  if (low === null || high === null) return [0, 1];
  if (floor !== undefined && low < floor) low = Math.min(floor, high - 0.01);
  const least = small ? 1e-9 : 0.002;
  const room = Math.max((high - low) * 0.06, (least - (high - low)) / 2, 1e-12);
  return [low - room, high + room];
}

// Lines that a value should not cross: limits in their joint's colour, the border of the support.
function linesOf(panel: Panel, report: Report): {value: number; colour: string}[] {
  if (panel.id === 'margin') return [{value: 0, colour: palette().vermillion}];
  return panel.series.flatMap(({label, colour}) => {
    const {torque, low, high} = report.limits.get(label) ?? {};
    const values =
      panel.id === 'torque' && torque !== undefined
        ? [torque, -torque]
        : panel.id === 'angle'
          ? [low, high]
          : [];
    return values.flatMap((value) => (value === undefined ? [] : [{value, colour}]));
  });
}

// Dotted, as far as they are in sight.
function drawLines(plot: uPlot, panel: Panel, report: Report): void {
  const {ctx, bbox} = plot;
  ctx.save();
  ctx.setLineDash([2, 5]);
  ctx.lineWidth = devicePixelRatio;
  for (const {value, colour} of linesOf(panel, report)) {
    const y = plot.valToPos(value, 'y', true);
    if (y < bbox.top || y > bbox.top + bbox.height) continue;
    ctx.strokeStyle = colour;
    ctx.beginPath();
    ctx.moveTo(bbox.left, y);
    ctx.lineTo(bbox.left + bbox.width, y);
    ctx.stroke();
  }
  ctx.restore();
}
