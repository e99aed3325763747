// The space in which the robot moves: camera, light, ground.
import {
  AmbientLight,
  BufferGeometry,
  Color,
  DirectionalLight,
  Fog,
  Group,
  HemisphereLight,
  LineBasicMaterial,
  LineSegments,
  Mesh,
  PCFShadowMap,
  PerspectiveCamera,
  PlaneGeometry,
  Scene,
  ShadowMaterial,
  Vector3,
  WebGLRenderer,
} from 'three';
import {OrbitControls} from 'three/examples/jsm/controls/OrbitControls.js';
import {palette} from './colours';

export class Stage {
  readonly scene = new Scene();
  readonly camera = new PerspectiveCamera(32, 1, 0.02, 200);
  readonly controls: OrbitControls;
  private readonly renderer: WebGLRenderer;
  private readonly sun = new DirectionalLight('#ffffff', 2.2);
  private readonly sky = new HemisphereLight('#ffffff', '#8f8a80', 1.6);
  private readonly shade = new Mesh(new PlaneGeometry(1, 1), new ShadowMaterial({opacity: 0.22}));
  private readonly fine = new LineBasicMaterial();
  private readonly coarse = new LineBasicMaterial();
  private readonly ground = new Group();
  private pending = false;
  /** Called after each picture. */
  onRendered: () => void = () => {};

  constructor(readonly canvas: HTMLCanvasElement) {
    this.renderer = new WebGLRenderer({canvas, antialias: true, preserveDrawingBuffer: true});
    this.renderer.shadowMap.enabled = true;
    this.renderer.shadowMap.type = PCFShadowMap;
    this.camera.up.set(0, 0, 1);
    this.controls = new OrbitControls(this.camera, canvas);
    this.controls.enableDamping = false;
    this.controls.minDistance = 0.15;
    this.controls.maxDistance = 60;
    this.controls.addEventListener('change', () => this.draw());
    this.sun.castShadow = true;
    this.sun.shadow.mapSize.set(1024, 1024);
    const box = this.sun.shadow.camera;
    box.left = box.bottom = -0.6;
    box.right = box.top = 0.6;
    box.near = 0.5;
    box.far = 4;
    this.sun.shadow.normalBias = 0.004;
    this.shade.receiveShadow = true;
    this.shade.scale.setScalar(8);
    this.ground.add(
      this.shade,
      lines(0.1, 2, -0.0012, this.fine),
      lines(1, 20, -0.001, this.coarse),
    );
    this.scene.add(
      this.sun,
      this.sun.target,
      this.sky,
      new AmbientLight('#ffffff', 0.35),
      this.ground,
    );
    this.recolour();
    new ResizeObserver(() => this.resize()).observe(canvas.parentElement!);
    this.resize();
  }

  recolour(): void {
    const colours = palette();
    this.scene.background = new Color(colours.ground);
    this.scene.fog = new Fog(colours.ground);
    (this.shade.material as ShadowMaterial).opacity = colours.dark ? 0.5 : 0.22;
    this.fine.color.set(colours.dark ? '#323944' : '#d6dae1');
    this.coarse.color.set(colours.dark ? '#5a6474' : '#a6aebb');
    this.draw();
  }

  /** Light and shadow go with the robot. */
  lightAt(point: Vector3): void {
    this.sun.target.position.set(point.x, point.y, 0.2);
    this.sun.position.set(point.x + 0.7, point.y - 0.9, 2);
  }

  resize(): void {
    const {clientWidth: width, clientHeight: height} = this.canvas.parentElement!;
    if (width === 0 || height === 0) return;
    this.renderer.setPixelRatio(Math.min(window.devicePixelRatio, 2));
    this.renderer.setSize(width, height, false);
    this.camera.aspect = width / height;
    this.camera.updateProjectionMatrix();
    this.render();
  }

  /** Draws with the next frame. */
  draw(): void {
    if (this.pending) return;
    this.pending = true;
    requestAnimationFrame(() => this.render());
  }

  render(): void {
    this.pending = false;
    this.moveGround();
    this.renderer.render(this.scene, this.camera);
    this.onRendered();
  }

  // It lies wherever one looks; lines stay on whole metres, from afar on tens of them.
  private moveGround(): void {
    const {target} = this.controls;
    const distance = this.camera.position.distanceTo(target);
    const scale = distance > 12 ? 10 : 1;
    this.ground.scale.set(scale, scale, 1);
    this.ground.position.set(
      scale * Math.round(target.x / scale),
      scale * Math.round(target.y / scale),
      0,
    );
    const fog = this.scene.fog as Fog;
    fog.near = distance + 4 * scale;
    fog.far = distance + 16 * scale;
  }

  /** Where a point of the world is on the canvas, in its CSS pixels. */
  project(point: Vector3): {x: number; y: number} {
    this.camera.updateMatrixWorld();
    const on = point.clone().project(this.camera);
    const {clientWidth: width, clientHeight: height} = this.canvas;
    return {x: ((on.x + 1) / 2) * width, y: ((1 - on.y) / 2) * height};
  }
}

// A grid of short pieces: some renderers drop a line of which one end is behind the camera.
function lines(step: number, half: number, z: number, material: LineBasicMaterial): LineSegments {
  const points: Vector3[] = [];
  const count = Math.round(half / step);
  const pieces = Math.min(2 * half, 40);
  for (let i = -count; i <= count; ++i) {
    for (let j = 0; j < pieces; ++j) {
      const from = -half + (2 * half * j) / pieces;
      const to = -half + (2 * half * (j + 1)) / pieces;
      const at = i * step;
      points.push(
        new Vector3(at, from, z),
        new Vector3(at, to, z),
        new Vector3(from, at, z),
        new Vector3(to, at, z),
      );
    }
  }
  return new LineSegments(new BufferGeometry().setFromPoints(points), material);
}
