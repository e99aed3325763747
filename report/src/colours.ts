// Colours that people with any kind of colour vision can tell apart (Okabe and Ito, Color Universal
// Design, 2008), those of the program's picture; lighter where the page is dark.
import type {Side} from './robot';

export interface Palette {
  dark: boolean;
  ink: string;
  muted: string;
  grid: string;
  ground: string;
  background: string;
  blue: string;
  vermillion: string;
  grey: string;
  green: string;
  skyBlue: string;
  orange: string;
  purple: string;
}

const light: Palette = {
  dark: false,
  ink: '#000000',
  muted: '#505050',
  grid: '#e2e4e7',
  ground: '#f4f5f7',
  background: '#ffffff',
  blue: '#0072b2',
  vermillion: '#d55e00',
  grey: '#8a8f98',
  green: '#009e73',
  skyBlue: '#56b4e9',
  orange: '#e69f00',
  purple: '#cc79a7',
};
const dark: Palette = {
  dark: true,
  ink: '#f2f4f7',
  muted: '#b3b8c0',
  grid: '#343a44',
  ground: '#20242b',
  background: '#16191e',
  blue: '#3d9fe0',
  vermillion: '#f2803a',
  grey: '#9aa0aa',
  green: '#2fc79a',
  skyBlue: '#9bd8fb',
  orange: '#f5b93f',
  purple: '#e39cc4',
};

export function palette(): Palette {
  return document.documentElement.dataset.theme === 'dark' ? dark : light;
}

export function colourOf(side: Side): string {
  const colours = palette();
  return side === 'left' ? colours.blue : side === 'right' ? colours.vermillion : colours.grey;
}

/** In the order in which the picture gives them to a limb's joints. */
export function lineColours(): string[] {
  const c = palette();
  return [c.ink, c.orange, c.skyBlue, c.green, c.vermillion, c.purple, c.blue];
}

/** The colour that this one of either palette has on white. */
export function onWhite(colour: string): string {
  const [name] = Object.entries(dark).find(([, value]) => value === colour) ?? [];
  return name ? String(light[name as keyof Palette]) : colour;
}
