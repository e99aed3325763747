// What balance is about: centre of mass, zero-moment point, centre of pressure, capture point,
// support polygon, wrenches, paths. Each kind can be switched off.
import {
  ArrowHelper,
  BufferAttribute,
  BufferGeometry,
  CircleGeometry,
  DoubleSide,
  Group,
  Line,
  LineBasicMaterial,
  LineDashedMaterial,
  LineLoop,
  Material,
  Mesh,
  MeshBasicMaterial,
  Object3D,
  PlaneGeometry,
  RingGeometry,
  SphereGeometry,
  Vector3,
} from 'three';
import {Line2} from 'three/examples/jsm/lines/Line2.js';
import {LineGeometry} from 'three/examples/jsm/lines/LineGeometry.js';
import {LineMaterial} from 'three/examples/jsm/lines/LineMaterial.js';
import {colourOf, palette} from './colours';
import type {Report} from './data';
import {applicationPoint, hull, type Point} from './ground';
import {Robot, sideOf} from './robot';

export const kinds = ['com', 'zmp', 'cop', 'capture', 'support', 'wrench', 'path'] as const;
export type Kind = (typeof kinds)[number];

/** m of an arrow per N m. */
export const metresPerNewtonMetre = 0.15;

// Upon everything else, so that neither feet nor ground hide it.
function onTop<T extends Object3D>(object: T, order: number): T {
  object.renderOrder = order;
  object.traverse((part) => {
    const material = (part as Mesh).material as Material | undefined;
    if (!material) return;
    material.depthTest = false;
    material.transparent = true;
    part.renderOrder = order;
  });
  return object;
}

function flat(geometry: BufferGeometry): Mesh<BufferGeometry, MeshBasicMaterial> {
  return new Mesh(geometry, new MeshBasicMaterial({side: DoubleSide}));
}

export class Marks {
  readonly groups = Object.fromEntries(kinds.map((kind) => [kind, new Group()])) as Record<
    Kind,
    Group
  >;
  /** m of an arrow per N: the robot's weight is 0.2 m long. */
  readonly metresPerNewton: number;
  private readonly com = onTop(
    new Mesh(new SphereGeometry(0.009, 20, 14), new MeshBasicMaterial()),
    9,
  );
  private readonly comOnGround = onTop(flat(new CircleGeometry(0.0055, 24)), 7);
  private readonly plumb = new Line(
    new BufferGeometry(),
    new LineDashedMaterial({dashSize: 0.012, gapSize: 0.008}),
  );
  private readonly zmp = new Group();
  private readonly cop = onTop(flat(new RingGeometry(0.0105, 0.015, 32)), 5);
  private readonly capture = onTop(flat(new CircleGeometry(0.012, 3)), 4);
  private readonly area = onTop(flat(new BufferGeometry()), 2);
  private readonly border = onTop(new LineLoop(new BufferGeometry(), new LineBasicMaterial()), 3);
  private readonly forces = new Map<string, ArrowHelper>();
  private readonly moments = new Map<string, ArrowHelper>();
  private paths: Line2[] = [];

  constructor(
    private readonly report: Report,
    private readonly robot: Robot,
  ) {
    const mass = report.raw.bodies.reduce((sum, body) => sum + body.mass, 0);
    this.metresPerNewton = 0.2 / (9.81 * mass);
    for (const turn of [1, -1]) {
      const stroke = flat(new PlaneGeometry(0.03, 0.005));
      stroke.rotation.z = (turn * Math.PI) / 4;
      this.zmp.add(stroke);
    }
    onTop(this.zmp, 6);
    onTop(this.plumb, 6);
    this.area.material.opacity = 0.25;
    this.groups.com.add(this.com, this.comOnGround, this.plumb);
    this.groups.zmp.add(this.zmp);
    this.groups.cop.add(this.cop);
    this.groups.capture.add(this.capture);
    this.groups.support.add(this.area, this.border);
    for (const {name} of report.raw.bodies) {
      if (!report.table.has(`${name}.fx`)) continue;
      for (const arrows of [this.forces, this.moments]) {
        const arrow = onTop(new ArrowHelper(), 8);
        arrows.set(name, arrow);
        this.groups.wrench.add(arrow);
      }
    }
    this.recolour();
  }

  get hasWrenches(): boolean {
    return this.forces.size > 0;
  }

  recolour(): void {
    const c = palette();
    this.com.material.color.set(c.ink);
    this.comOnGround.material.color.set(c.ink);
    this.plumb.material.color.set(c.ink);
    this.zmp.children.forEach((stroke) =>
      ((stroke as Mesh).material as MeshBasicMaterial).color.set(c.green),
    );
    this.cop.material.color.set(c.skyBlue);
    this.capture.material.color.set(c.purple);
    this.area.material.color.set(c.muted);
    this.border.material.color.set(c.muted);
    for (const arrow of this.forces.values()) arrow.setColor(c.orange);
    for (const arrow of this.moments.values()) arrow.setColor(c.purple);
    for (const path of this.paths) path.material.color.set(this.pathColour(path.name));
  }

  private pathColour(name: string): string {
    return name === 'com' ? palette().ink : colourOf(sideOf(name));
  }

  update(row: number): void {
    this.updateCom(row);
    this.place(this.zmp, 'zmp', row);
    this.place(this.cop, 'cop', row);
    this.place(this.capture, 'capture-point', row);
    this.updateSupport(row);
    for (const name of this.forces.keys()) this.updateWrench(name, row);
  }

  private value(column: string, row: number): number {
    return this.report.table.column(column)[row] ?? NaN;
  }

  private vector(prefix: string, parts: string, row: number): Vector3 {
    const [x, y, z] = [...parts].map((part) => this.value(prefix + part, row));
    return new Vector3(x ?? 0, y ?? 0, z ?? 0);
  }

  private place(mark: Object3D, column: string, row: number): void {
    const [x, y] = [this.value(`${column}.x`, row), this.value(`${column}.y`, row)];
    mark.visible = Number.isFinite(x) && Number.isFinite(y);
    if (mark.visible) mark.position.set(x, y, 0.0015);
  }

  private updateCom(row: number): void {
    const com = this.vector('com.', 'xyz', row);
    this.groups.com.children.forEach((mark) => (mark.visible = Number.isFinite(com.length())));
    if (!Number.isFinite(com.length())) return;
    this.com.position.copy(com);
    this.comOnGround.position.set(com.x, com.y, 0.002);
    this.plumb.geometry.setFromPoints([com, this.comOnGround.position]);
    this.plumb.computeLineDistances();
  }

  private updateSupport(row: number): void {
    const corners: Point[] = [];
    for (const foot of this.report.raw.feet) {
      if (!(this.value(`stands.${foot.body}`, row) > 0)) continue;
      const id = this.robot.id(foot.body);
      for (const corner of foot.corners) corners.push(this.robot.at(id, corner));
    }
    const border = hull(corners).map(({x, y}) => new Vector3(x, y, 0.001));
    const visible = border.length > 2 && border.every((p) => Number.isFinite(p.length()));
    this.groups.support.children.forEach((mark) => (mark.visible = visible));
    if (!visible) return;
    this.border.geometry.dispose();
    this.border.geometry = new BufferGeometry().setFromPoints(border);
    this.area.geometry.dispose();
    this.area.geometry = new BufferGeometry().setFromPoints(border);
    const fan = border.slice(2).flatMap((_, i) => [0, i + 1, i + 2]);
    this.area.geometry.setIndex(new BufferAttribute(new Uint16Array(fan), 1));
  }

  private updateWrench(name: string, row: number): void {
    const pose = this.robot.poses[this.robot.id(name)]!;
    const force = this.vector(`${name}.f`, 'xyz', row).applyQuaternion(pose.quaternion);
    const moment = this.vector(`${name}.n`, 'xyz', row).applyQuaternion(pose.quaternion);
    const at = applicationPoint(pose.position, force, moment);
    const left = moment.sub(new Vector3().crossVectors(at.clone().sub(pose.position), force));
    this.point(this.forces.get(name)!, at, force.multiplyScalar(this.metresPerNewton));
    this.point(this.moments.get(name)!, at, left.multiplyScalar(metresPerNewtonMetre));
  }

  private point(arrow: ArrowHelper, from: Vector3, along: Vector3): void {
    const length = along.length();
    arrow.visible = length > 0.004 && Number.isFinite(length) && Number.isFinite(from.length());
    if (!arrow.visible) return;
    arrow.position.copy(from);
    arrow.setDirection(along.normalize());
    arrow.setLength(length, Math.min(0.02, 0.4 * length), Math.min(0.011, 0.25 * length));
  }

  /** Paths of the centre of mass and of the soles, over the whole motion. */
  addPaths(): void {
    const robot = new Robot(this.report);
    const rows = this.report.table.times.length;
    this.addPath('com', rows, (row) => this.vector('com.', 'xyz', row));
    for (const foot of this.report.raw.feet) {
      const chain = robot.chain(robot.id(foot.body));
      this.addPath(foot.body, rows, (row) => {
        robot.update(row, chain);
        return robot.at(chain[chain.length - 1]!, foot.sole);
      });
    }
  }

  private addPath(name: string, rows: number, at: (row: number) => Vector3): void {
    const points: Vector3[] = [];
    for (let row = 0; row < rows; ++row) {
      const point = at(row);
      if (Number.isFinite(point.length())) points.push(point);
    }
    if (points.length < 2) return;
    const path = new Line2(
      new LineGeometry().setFromPoints(points),
      new LineMaterial({linewidth: 1.6, transparent: true, opacity: 0.75}),
    );
    path.name = name;
    path.material.color.set(this.pathColour(name));
    this.paths.push(path);
    this.groups.path.add(path);
  }
}
