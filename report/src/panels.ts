// What is drawn over time, panel by panel.
import type {Report} from './data';
import {sideOf} from './robot';
import {lineColours, palette} from './colours';

export interface Series {
  column: string;
  label: string;
  colour: string;
  dashed: boolean;
  scale: 'y' | 'y2';
}

export interface Panel {
  id: string;
  title: string;
  /** Titles of the axes, with units; the second one where there is one. */
  axes: [string, string?];
  series: Series[];
  height: number;
  /** What of the values below this is left out. */
  floor?: number;
}

export function kindOf(joint: string): string {
  return sideOf(joint) === 'middle' ? joint : joint.slice(1);
}

/** The joints that a motion asks most of, the largest torque first. */
export function byTorque(report: Report): string[] {
  const size = (joint: string) => Math.abs(report.peak(`torque.${joint}`)?.value ?? 0);
  return [...report.joints].sort((a, b) => size(b) - size(a));
}

/** Columns that can be drawn one by one, beside the joints'. */
export function singles(report: Report): string[] {
  return [...report.columns.values()]
    .filter(
      (column) =>
        column.curve &&
        /^(com|zmp|cop|capture-point)\./.test(column.name) &&
        column.low[0] !== null,
    )
    .map((column) => column.name);
}

// A colour for each kind of joint, as in the picture: that of its place in its limb, if it is free.
function coloursOf(report: Report, joints: string[]): Map<string, string> {
  const colours = lineColours();
  const kinds = new Map<string, string>();
  const place = (joint: string): number => {
    const body = report.raw.bodies.find(({name}) => name === joint)!;
    return body.parent <= 0 ? 0 : 1 + place(report.raw.bodies[body.parent]!.name);
  };
  for (const joint of joints) {
    const kind = kindOf(joint);
    if (kinds.has(kind)) continue;
    const taken = new Set(kinds.values());
    const free = [...colours.slice(place(joint)), ...colours].find((colour) => !taken.has(colour));
    kinds.set(kind, free ?? colours[kinds.size % colours.length]!);
  }
  return kinds;
}

export function panelsOf(report: Report, chosen: string[]): Panel[] {
  const joints = chosen.filter((name) => report.joints.includes(name));
  const colours = coloursOf(report, joints);
  const {ink, orange, skyBlue, green, vermillion, blue} = palette();
  const one = (
    column: string,
    label: string,
    colour: string,
    dashed = false,
    scale: 'y' | 'y2' = 'y',
  ): Series => ({column, label, colour, dashed, scale});
  const ofJoints = (prefix: string): Series[] =>
    joints.map((joint) =>
      one(prefix + joint, joint, colours.get(kindOf(joint))!, sideOf(joint) === 'right'),
    );
  const ofSides = (prefix: string): Series[] =>
    [...report.columns.keys()]
      .filter((name) => name.startsWith(prefix))
      .map((name, i) => {
        const body = name.slice(prefix.length);
        const side = sideOf(body);
        const colour =
          side === 'left' ? blue : side === 'right' ? vermillion : [green, orange, skyBlue][i % 3]!;
        return one(name, body, colour, side === 'right');
      });
  const points = chosen.filter((name) => !report.joints.includes(name));
  const panels: Panel[] = [
    {
      id: 'margin',
      title: 'Support margin',
      axes: ['margin, m'],
      series: [one('margin', 'margin', ink)],
      height: 116,
      floor: -0.1,
    },
    {
      id: 'torque',
      title: 'Torques',
      axes: ['torque, N m'],
      series: ofJoints('torque.'),
      height: 160,
    },
    {
      id: 'points',
      title: 'Columns',
      axes: ['position, m'],
      series: points.map((name, i) => one(name, name, lineColours()[i % 7]!, name.endsWith('y'))),
      height: 132,
    },
    {id: 'angle', title: 'Joint angles', axes: ['angle, rad'], series: ofJoints('q.'), height: 132},
    {id: 'rate', title: 'Joint rates', axes: ['rate, rad/s'], series: ofJoints('d.'), height: 132},
    {
      id: 'height',
      title: 'Height of soles',
      axes: ['height, m'],
      series: ofSides('height.'),
      height: 116,
    },
    {
      id: 'force',
      title: 'External forces',
      axes: ['force, N'],
      series: ofSides('force.'),
      height: 116,
    },
    {
      id: 'residual',
      title: 'Root residual',
      axes: ['force, N', 'moment, N m'],
      series: [
        one('residual.force', 'force', ink),
        one('residual.moment', 'moment', orange, true, 'y2'),
      ],
      height: 116,
    },
  ];
  const there = (series: Series) => typeof report.columns.get(series.column)?.low[0] === 'number';
  return panels
    .map((panel) => ({...panel, series: panel.series.filter(there)}))
    .filter((panel) => panel.series.length > 0);
}
