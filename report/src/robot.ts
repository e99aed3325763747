// Where the robot's bodies are: forward kinematics from the root's pose and the joint angles.
import {Quaternion, Vector3} from 'three';
import type {Report, Table} from './data';

export interface Pose {
  position: Vector3;
  quaternion: Quaternion;
}

export type Side = 'left' | 'right' | 'middle';

export function sideOf(name: string): Side {
  return name.startsWith('L') ? 'left' : name.startsWith('R') ? 'right' : 'middle';
}

export class Robot {
  /** World poses of all bodies, in body order. */
  readonly poses: Pose[];
  /** Whether the sample shown last has a pose at all. */
  isFinite = true;
  readonly children: number[][];
  private readonly table: Table;
  private readonly root: Float32Array[];
  private readonly angles: Float32Array[];
  private readonly turn = new Quaternion();
  private readonly placements: Pose[];
  private readonly parents: number[];

  constructor(readonly report: Report) {
    const bodies = report.raw.bodies;
    this.table = report.table;
    this.poses = bodies.map(() => ({position: new Vector3(), quaternion: new Quaternion()}));
    this.parents = bodies.map((body) => body.parent);
    this.children = bodies.map((_, i) =>
      this.parents.flatMap((p, child) => (p === i ? [child] : [])),
    );
    this.placements = bodies.map((body) => {
      const [w, x, y, z] = body.quaternion;
      return {position: new Vector3(...body.position), quaternion: new Quaternion(x, y, z, w)};
    });
    this.root = ['x', 'y', 'z', 'qw', 'qx', 'qy', 'qz'].map((part) =>
      this.table.column(`${bodies[0]!.name}.${part}`),
    );
    this.angles = bodies.map((body) => this.table.column(`q.${body.name}`));
  }

  id(name: string): number {
    return this.report.raw.bodies.findIndex((body) => body.name === name);
  }

  /** The bodies from the root to this one. */
  chain(id: number): number[] {
    return id < 0 ? [] : [...this.chain(this.parents[id]!), id];
  }

  /** Moves these bodies, parents first, to where they are in a row; all of them if none are named. */
  update(row: number, bodies: Iterable<number> = this.poses.keys()): void {
    for (const i of bodies) {
      const pose = this.poses[i]!;
      if (this.parents[i]! < 0) {
        const [x, y, z, qw, qx, qy, qz] = this.root.map((column) => column[row]!);
        pose.position.set(x!, y!, z!);
        pose.quaternion.set(qx!, qy!, qz!, qw!);
        continue;
      }
      const parent = this.poses[this.parents[i]!]!;
      const placement = this.placements[i]!;
      const half = this.angles[i]![row]! / 2;
      this.turn.set(0, 0, Math.sin(half), Math.cos(half));
      pose.position
        .copy(placement.position)
        .applyQuaternion(parent.quaternion)
        .add(parent.position);
      pose.quaternion.copy(parent.quaternion).multiply(placement.quaternion).multiply(this.turn);
    }
    this.isFinite = this.poses.every(
      ({position, quaternion}) =>
        Number.isFinite(position.length()) && Number.isFinite(quaternion.w),
    );
  }

  /** A point of a body in the world. */
  at(id: number, point: readonly [number, number, number]): Vector3 {
    const pose = this.poses[id]!;
    return new Vector3(...point).applyQuaternion(pose.quaternion).add(pose.position);
  }

  /** The heading of the root: the direction of its x axis on the ground. */
  heading(): number {
    const ahead = new Vector3(1, 0, 0).applyQuaternion(this.poses[0]!.quaternion);
    return Math.hypot(ahead.x, ahead.y) > 1e-3 ? Math.atan2(ahead.y, ahead.x) : 0; // upright, or not finite
  }
}
