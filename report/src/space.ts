// The robot in space, with its marks and the camera.
import {Camera, type View} from './camera';
import type {Report} from './data';
import {element} from './elements';
import {Figure} from './figure';
import {addMarkBoxes} from './mark_boxes';
import {Marks} from './marks';
import type {Robot} from './robot';
import {Stage} from './stage';

export class Space {
  readonly marks: Marks;
  readonly camera: Camera;
  private readonly figure: Figure;
  /** Called when the view has changed. */
  onChange: () => void = () => {};

  constructor(
    readonly stage: Stage,
    robot: Robot,
    report: Report,
  ) {
    this.figure = new Figure(robot);
    this.marks = new Marks(report, robot);
    stage.scene.add(this.figure.group, ...Object.values(this.marks.groups));
    this.camera = new Camera(stage, robot);
    this.camera.onChange = () => this.showView();
    for (const button of this.viewButtons())
      button.onclick = () => this.look(button.dataset['view'] as View);
    element('follow').onclick = () => this.toggleFollow();
    element<HTMLDetailsElement>('legend').open = innerWidth > 820;
    addMarkBoxes(element('marks'), report, this.marks, (kind, on) => {
      this.marks.groups[kind].visible = on;
      stage.draw();
    });
  }

  look(view: View): void {
    this.camera.lookAt(view);
  }

  toggleFollow(): void {
    this.camera.setFollow(!this.camera.follow);
  }

  update(row: number): void {
    this.figure.update(row);
    this.marks.update(row);
    this.camera.update();
    this.stage.draw();
  }

  recolour(): void {
    this.figure.recolour();
    this.marks.recolour();
    this.stage.recolour();
  }

  private viewButtons(): NodeListOf<HTMLElement> {
    return document.querySelectorAll<HTMLElement>('[data-view]');
  }

  private showView(): void {
    for (const button of this.viewButtons()) {
      button.setAttribute('aria-pressed', String(button.dataset['view'] === this.camera.view));
    }
    element('follow').setAttribute('aria-pressed', String(this.camera.follow));
    this.onChange();
  }
}

/** Nothing where the browser has no WebGL: the rest of the page stays of use. */
export function spaceOf(robot: Robot, report: Report): Space | undefined {
  try {
    return new Space(new Stage(element<HTMLCanvasElement>('scene')), robot, report);
  } catch (fault) {
    element('state').textContent =
      `This browser draws nothing in space (WebGL): ${(fault as Error).message}`;
    element('scene').hidden = true;
    return undefined;
  }
}
