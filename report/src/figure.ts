// The robot's shape. The model has no outlines: limbs are capsules between joints, a forearm is an
// even rod about its centre of mass, the head a ball about its own.
import {
  BoxGeometry,
  BufferGeometry,
  CapsuleGeometry,
  ExtrudeGeometry,
  Group,
  Matrix4,
  Mesh,
  MeshBasicMaterial,
  MeshStandardMaterial,
  Quaternion,
  Shape,
  SphereGeometry,
  Vector3,
} from 'three';
import {colourOf} from './colours';
import {sideOf, type Robot, type Side} from './robot';

const up = new Vector3(0, 1, 0); // a capsule's own axis

export class Figure {
  readonly group = new Group();
  private readonly parts: Group[];
  private readonly warnings = new Map<string, Mesh>();
  private readonly materials: Record<Side, MeshStandardMaterial> = {
    left: new MeshStandardMaterial({roughness: 0.55}),
    right: new MeshStandardMaterial({roughness: 0.55}),
    middle: new MeshStandardMaterial({roughness: 0.6}),
  };

  constructor(private readonly robot: Robot) {
    const bodies = robot.report.raw.bodies;
    this.parts = bodies.map(() => new Group());
    bodies.forEach((body, i) => {
      const part = this.parts[i]!;
      const side = sideOf(body.name);
      const radius = this.radiusOf(i);
      if (body.parent < 0) {
        part.add(this.trunk());
      } else {
        for (const child of robot.children[i]!) {
          this.addCapsule(part, new Vector3(...bodies[child]!.position), radius, side);
        }
        if (robot.children[i]!.length === 0) this.addEnd(part, i, side);
      }
      this.group.add(part);
      if (robot.report.limits.has(body.name)) this.addWarning(part, body.name);
    });
    this.recolour();
  }

  update(row: number): void {
    this.group.visible = this.robot.isFinite;
    for (const [joint, ball] of this.warnings)
      ball.visible = this.robot.report.isBeyond(joint, row);
    this.parts.forEach((part, i) => {
      part.position.copy(this.robot.poses[i]!.position);
      part.quaternion.copy(this.robot.poses[i]!.quaternion);
    });
  }

  recolour(): void {
    for (const side of ['left', 'right', 'middle'] as const)
      this.materials[side].color.set(colourOf(side));
  }

  private radiusOf(body: number): number {
    const leaf = this.leafOf(body);
    const name = this.robot.report.raw.bodies[leaf]!.name;
    return this.footOf(name) ? 0.02 : sideOf(name) === 'middle' ? 0.016 : 0.015;
  }

  private leafOf(body: number): number {
    const child = this.robot.children[body]![0];
    return child === undefined ? body : this.leafOf(child);
  }

  private footOf(name: string) {
    return this.robot.report.raw.feet.find((foot) => foot.body === name);
  }

  private mesh(geometry: BufferGeometry, side: Side): Mesh {
    const mesh = new Mesh(geometry, this.materials[side]);
    mesh.castShadow = true;
    mesh.receiveShadow = true;
    return mesh;
  }

  // Seen through everything while the joint is beyond its limits.
  private addWarning(part: Group, joint: string): void {
    const ball = new Mesh(
      new SphereGeometry(0.024, 20, 14),
      new MeshBasicMaterial({color: '#d0006f', transparent: true, opacity: 0.8, depthTest: false}),
    );
    ball.renderOrder = 10;
    this.warnings.set(joint, ball);
    part.add(ball);
  }

  private addCapsule(part: Group, end: Vector3, radius: number, side: Side): void {
    if (end.length() < 0.01) return;
    const capsule = this.mesh(new CapsuleGeometry(radius, end.length(), 6, 16), side);
    capsule.position.copy(end).multiplyScalar(0.5);
    capsule.quaternion.setFromUnitVectors(up, end.clone().normalize());
    part.add(capsule);
  }

  private addEnd(part: Group, body: number, side: Side): void {
    const {name, com} = this.robot.report.raw.bodies[body]!;
    const foot = this.footOf(name);
    const centre = new Vector3(...com);
    if (foot) {
      this.addSole(
        part,
        foot.corners.map((corner) => new Vector3(...corner)),
        side,
      );
      this.addCapsule(part, new Vector3(...foot.sole).multiplyScalar(0.7), 0.017, side);
    } else if (side === 'middle') {
      this.addHead(part, centre, body);
    } else {
      this.addCapsule(part, centre.multiplyScalar(2), 0.014, side);
    }
  }

  // A slab upon the four corners, which stand in order: heel, toe, toe, heel.
  private addSole(part: Group, corners: Vector3[], side: Side): void {
    const [a, b, , d] = corners as [Vector3, Vector3, Vector3, Vector3];
    const ahead = b.clone().sub(a);
    const across = d.clone().sub(a);
    const normal = new Vector3().crossVectors(ahead, across).normalize();
    if (normal.dot(a) > 0) normal.negate(); // from the sole towards the ankle
    const thickness = 0.012;
    const sole = this.mesh(new BoxGeometry(ahead.length(), across.length(), thickness), side);
    const x = ahead.clone().normalize();
    const z = normal.clone();
    const y = new Vector3().crossVectors(z, x);
    sole.quaternion.copy(quaternionOf(x, y, z));
    sole.position
      .copy(a)
      .add(b)
      .add(corners[2]!)
      .add(d)
      .multiplyScalar(0.25)
      .addScaledVector(normal, thickness / 2);
    part.add(sole);
  }

  private addHead(part: Group, centre: Vector3, body: number): void {
    const radius = 0.75 * centre.length();
    const ball = this.mesh(new SphereGeometry(radius, 32, 20), 'middle');
    ball.position.copy(centre);
    part.add(ball);
    this.addCapsule(part, centre.clone().multiplyScalar(0.5), 0.014, 'middle');
    // Where it looks: the root's x axis while all joint angles are zero.
    const ahead = new Vector3(1, 0, 0).applyQuaternion(this.turnToRoot(body).invert());
    const nose = this.mesh(new SphereGeometry(0.28 * radius, 16, 12), 'middle');
    nose.position.copy(centre).addScaledVector(ahead, radius);
    part.add(nose);
  }

  private turnToRoot(body: number): Quaternion {
    const {
      parent,
      quaternion: [w, x, y, z],
    } = this.robot.report.raw.bodies[body]!;
    const own = new Quaternion(x, y, z, w);
    return parent < 0 ? own : this.turnToRoot(parent).multiply(own);
  }

  // From the shoulders to the hips, as far apart as the joints are.
  private trunk(): Mesh {
    const bodies = this.robot.report.raw.bodies;
    const joints = this.robot.children[0]!.map((child) => bodies[child]!.position);
    const half = (above: boolean) => {
      const some = joints.filter((p) => Math.abs(p[1]) > 0.01 && p[2] > 0 === above);
      return some.length
        ? {y: Math.max(...some.map((p) => Math.abs(p[1]))), z: some[0]![2]}
        : {y: 0.06, z: above ? 0.1 : -0.08};
    };
    const top = half(true);
    const bottom = half(false);
    const bevel = 0.014;
    const depth = 0.05;
    const [a, b] = [top.y - 2 * bevel, bottom.y + 0.012 - bevel];
    const shape = new Shape();
    shape.moveTo(-b, bottom.z);
    shape.lineTo(b, bottom.z);
    shape.lineTo(a, top.z);
    shape.lineTo(-a, top.z);
    shape.closePath();
    const geometry = new ExtrudeGeometry(shape, {
      depth,
      bevelEnabled: true,
      bevelSize: bevel,
      bevelThickness: bevel,
      bevelSegments: 4,
    });
    geometry.translate(0, 0, -depth / 2);
    const trunk = this.mesh(geometry, 'middle');
    // The shape lies in y and z of the root.
    trunk.quaternion.copy(
      quaternionOf(new Vector3(0, 1, 0), new Vector3(0, 0, 1), new Vector3(1, 0, 0)),
    );
    return trunk;
  }
}

function quaternionOf(x: Vector3, y: Vector3, z: Vector3): Quaternion {
  return new Quaternion().setFromRotationMatrix(new Matrix4().makeBasis(x, y, z));
}
