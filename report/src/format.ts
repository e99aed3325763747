// Numbers for people and for files.

/** Four digits; of what is small only the size matters. */
export function shown(value: number): string {
  if (!Number.isFinite(value)) return '–';
  const size = Math.abs(value);
  if (size === 0) return '0';
  if (size < 0.001 || size >= 1e5)
    return value.toExponential(1).replace('e-', 'e−').replace(/^-/, '−');
  const digits = Math.max(0, Math.min(4, 3 - Math.floor(Math.log10(size))));
  return value.toFixed(digits).replace(/^-/, '−');
}

/** Three digits, without idle zeros. */
export function brief(value: number): string {
  if (!Number.isFinite(value)) return '–';
  const size = Math.abs(value);
  const text =
    size > 0 && size < 0.001
      ? value.toExponential(0)
      : String(Number(value.toFixed(size < 10 ? 3 : 1)));
  return text.replaceAll('-', '−');
}

/** The shortest decimal that reads back to the same single-precision number. */
export function shortest(value: number): string {
  for (let digits = 6; digits < 9; ++digits) {
    const text = value.toPrecision(digits);
    if (Math.fround(Number(text)) === value) return String(Number(text));
  }
  return String(Number(value.toPrecision(9)));
}

/** Times of the motion; long ones, like those since 1970, are counted from its start. */
export class Clock {
  readonly offset: number;
  readonly decimals: number;

  constructor(start: number, duration: number, rows: number) {
    this.offset = Math.abs(start) < 1e5 ? start : 0;
    const step = rows > 1 ? duration / (rows - 1) : 1;
    this.decimals = Math.max(2, Math.min(6, Math.ceil(-Math.log10(step) - 1e-9)));
  }

  /** `time`: in seconds from the start. */
  text(time: number): string {
    return (time + this.offset).toFixed(this.decimals);
  }
}
