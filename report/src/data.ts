// The data that the program wrote into the page; README.md describes them.

export interface Body {
  name: string;
  parent: number;
  position: [number, number, number];
  quaternion: [number, number, number, number]; // w, x, y, z
  com: [number, number, number];
  mass: number;
}

export interface Foot {
  body: string;
  sole: [number, number, number];
  corners: [number, number, number][];
}

export interface Limits {
  joint: string;
  low?: number;
  high?: number;
  torque?: number;
}

/** A value and the time of the motion at which it was reached; null where there never was one. */
export type Extreme = [number | null, number];

export interface Column {
  name: string;
  unit: string;
  curve: boolean;
  low: Extreme;
  high: Extreme;
}

interface RawTable {
  rows: number;
  times: string;
  columns: Record<string, string>;
}

interface RawReport {
  format: string;
  version: number;
  title: string;
  writer: string;
  samples: number;
  start: number;
  end: number;
  bodies: Body[];
  feet: Foot[];
  limits: Limits[];
  missing: string[];
  columns: Column[];
  table: RawTable;
  curves?: RawTable;
}

function bytes(base64: string): ArrayBuffer {
  const text = atob(base64);
  const result = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) result[i] = text.charCodeAt(i);
  return result.buffer;
}

/** Columns over common times, in seconds from the start; unpacked when they are first asked for. */
export class Table {
  readonly times: Float64Array;
  private readonly unpacked = new Map<string, Float32Array>();

  constructor(private readonly raw: RawTable) {
    this.times = new Float64Array(bytes(raw.times));
  }

  has(name: string): boolean {
    return name in this.raw.columns;
  }

  column(name: string): Float32Array {
    let values = this.unpacked.get(name);
    if (!values) {
      const packed = this.raw.columns[name];
      values =
        packed === undefined
          ? new Float32Array(this.times.length).fill(NaN)
          : new Float32Array(bytes(packed));
      this.unpacked.set(name, values);
    }
    return values;
  }

  /** The last row that is not after `time`; the first before all of them. */
  rowAt(time: number): number {
    let low = 0;
    let high = this.times.length;
    while (high - low > 1) {
      const middle = (low + high) >> 1;
      if (this.times[middle]! <= time) low = middle;
      else high = middle;
    }
    return low;
  }

  /** The row whose time is nearest. */
  nearest(time: number): number {
    const row = this.rowAt(time);
    const next = Math.min(row + 1, this.times.length - 1);
    return time - this.times[row]! > this.times[next]! - time ? next : row;
  }
}

export class Report {
  readonly table: Table;
  readonly curves: Table;
  readonly isThinned: boolean;
  readonly columns: Map<string, Column>;
  readonly limits: Map<string, Limits>;
  readonly joints: string[];

  constructor(readonly raw: RawReport) {
    this.table = new Table(raw.table);
    this.isThinned = raw.curves !== undefined;
    this.curves = raw.curves ? new Table(raw.curves) : this.table;
    this.columns = new Map(raw.columns.map((column) => [column.name, column]));
    this.limits = new Map(raw.limits.map((limits) => [limits.joint, limits]));
    this.joints = raw.bodies.filter((body) => body.parent >= 0).map((body) => body.name);
  }

  get duration(): number {
    return this.raw.end - this.raw.start;
  }

  /** Whether a joint is beyond its limits in a row of the table. */
  isBeyond(joint: string, row: number): boolean {
    const {low = -Infinity, high = Infinity, torque = Infinity} = this.limits.get(joint) ?? {};
    const angle = this.table.column(`q.${joint}`)[row]!;
    return (
      angle < low || angle > high || Math.abs(this.table.column(`torque.${joint}`)[row]!) > torque
    );
  }

  /** The largest magnitude of a column, with its sign and time. */
  peak(name: string): {value: number; time: number} | undefined {
    const column = this.columns.get(name);
    if (!column || column.low[0] === null || column.high[0] === null) return undefined;
    const [value, time] = -column.low[0] > column.high[0] ? column.low : column.high;
    return {value: value!, time};
  }
}

export function readReport(): Report {
  const element = document.getElementById('data');
  if (!element) throw new Error('This is the template of a report: it has no data in it yet.');
  const raw = JSON.parse(element.textContent ?? '') as RawReport;
  element.textContent = ''; // unpacked from the strings from here on
  if (raw.format !== 'orvek23-report' || raw.version !== 1) {
    throw new Error(`This page shows version 1 of the data, not ${raw.version}.`);
  }
  return new Report(raw);
}
