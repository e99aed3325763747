// Geometry on the ground: hulls, and where a wrench presses.
import {Vector3} from 'three';

export interface Point {
  x: number;
  y: number;
}

/** Convex hull, counter-clockwise (Andrew 1979). */
export function hull(points: Point[]): Point[] {
  const sorted = [...points].sort((a, b) => a.x - b.x || a.y - b.y);
  const chain = (ordered: Point[]): Point[] => {
    const half: Point[] = [];
    for (const p of ordered) {
      for (;;) {
        const a = half[half.length - 2];
        const b = half[half.length - 1];
        if (!a || !b || (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x) > 0) break;
        half.pop();
      }
      half.push(p);
    }
    half.pop();
    return half;
  };
  return sorted.length < 3 ? sorted : [...chain(sorted), ...chain(sorted.reverse())];
}

/**
 * Where the line of a force meets the ground, from the moment about `origin`; if the force hardly
 * presses, or far off, the point of its line that is nearest to the origin.
 */
export function applicationPoint(origin: Vector3, force: Vector3, moment: Vector3): Vector3 {
  const squared = force.lengthSq();
  if (!(squared > 0)) return origin.clone();
  const nearest = new Vector3().crossVectors(force, moment).divideScalar(squared).add(origin);
  if (Math.abs(force.z) < 0.2 * Math.sqrt(squared)) return nearest;
  const onGround = nearest.clone().addScaledVector(force, -nearest.z / force.z);
  return onGround.distanceTo(origin) < 0.3 ? onGround : nearest;
}
