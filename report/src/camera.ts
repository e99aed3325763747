// From where one looks: front, side, top, free; with the robot or staying.
import {MathUtils, Spherical, Vector3} from 'three';
import type {Robot} from './robot';
import type {Stage} from './stage';

export type View = 'front' | 'side' | 'top';

export class Camera {
  follow = true;
  view: View | undefined;
  private readonly target = new Vector3();
  onChange: () => void = () => {};

  constructor(
    private readonly stage: Stage,
    private readonly robot: Robot,
  ) {
    stage.controls.target.copy(this.centre());
    this.target.copy(stage.controls.target);
    this.lookFrom(robot.heading() - 0.75, 0.3, 1.4);
    stage.controls.addEventListener('start', () => (this.view = undefined));
    stage.controls.addEventListener('change', () => this.onChange());
  }

  // Steady while the robot walks: above the ground by what is the middle of it when it stands.
  private centre(): Vector3 {
    const {x, y} = this.robot.poses[0]!.position;
    return Math.hypot(x, y) < 1e6 ? new Vector3(x, y, 0.19) : this.target.clone(); // nor what is not finite
  }

  /** Goes along with the robot. */
  update(): void {
    const centre = this.centre();
    this.stage.lightAt(centre);
    const moved = centre.clone().sub(this.target);
    this.target.copy(centre);
    if (!this.follow || moved.lengthSq() === 0) return;
    this.stage.controls.target.add(moved);
    this.stage.camera.position.add(moved);
    this.stage.controls.update();
  }

  setFollow(follow: boolean): void {
    this.follow = follow;
    if (follow) {
      const moved = this.centre().sub(this.stage.controls.target);
      this.stage.controls.target.add(moved);
      this.stage.camera.position.add(moved);
      this.stage.controls.update();
    }
    this.onChange();
  }

  /** `azimuth`: of the camera as seen from the robot, about z from x; `elevation`: above ground. rad, m. */
  lookFrom(azimuth: number, elevation: number, distance: number): void {
    const level = Math.cos(elevation);
    const from = new Vector3(
      level * Math.cos(azimuth),
      level * Math.sin(azimuth),
      Math.sin(elevation),
    );
    this.stage.camera.position.copy(this.stage.controls.target).addScaledVector(from, distance);
    this.stage.controls.update();
    this.stage.draw();
    this.onChange();
  }

  lookAt(view: View): void {
    const {distance} = this.where();
    const heading = this.robot.heading();
    if (view === 'front') this.lookFrom(heading, 0.06, distance);
    if (view === 'side') this.lookFrom(heading - Math.PI / 2, 0.06, distance); // ahead is to the right
    if (view === 'top') this.lookFrom(heading + Math.PI, Math.PI / 2 - 1e-4, distance); // ahead is up
    this.view = view;
    this.onChange();
  }

  /** By the keyboard: turns by angles, comes nearer by a factor. */
  turn(right: number, up: number, factor = 1): void {
    const {azimuth, elevation, distance} = this.where();
    this.view = undefined;
    this.lookFrom(
      azimuth + right,
      MathUtils.clamp(elevation + up, -1.5, 1.5707),
      distance * factor,
    );
  }

  where(): {azimuth: number; elevation: number; distance: number; target: Vector3} {
    const target = this.stage.controls.target.clone();
    const from = this.stage.camera.position.clone().sub(target);
    const round = new Spherical().setFromVector3(new Vector3(from.y, from.z, from.x)); // y up there
    return {
      azimuth: round.theta,
      elevation: Math.PI / 2 - round.phi,
      distance: round.radius,
      target,
    };
  }

  moveTarget(target: Vector3): void {
    const moved = target.clone().sub(this.stage.controls.target);
    this.stage.controls.target.add(moved);
    this.stage.camera.position.add(moved);
    this.stage.controls.update();
  }
}
