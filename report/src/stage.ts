// The space in which the robot moves: camera, light, ground.
import {
  AmbientLight, Color, DirectionalLight, Fog, GridHelper, HemisphereLight, Mesh, PCFShadowMap, PerspectiveCamera,
  PlaneGeometry, Scene, ShadowMaterial, Vector3, WebGLRenderer,
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
  private grids: GridHelper[] = [];
  private pending = false;
  /** Called after each picture. */
  onRendered: () => void = () => {};

  constructor(readonly canvas: HTMLCanvasElement, private readonly extent: number) {
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
    this.shade.scale.setScalar(2 * extent + 4);
    this.scene.add(this.sun, this.sun.target, this.sky, new AmbientLight('#ffffff', 0.35), this.shade);
    this.recolour();
    new ResizeObserver(() => this.resize()).observe(canvas.parentElement!);
    this.resize();
  }

  recolour(): void {
    const colours = palette();
    const far = Math.max(6, 1.5 * this.extent);
    this.scene.background = new Color(colours.ground);
    this.scene.fog = new Fog(colours.ground, far, 3 * far);
    (this.shade.material as ShadowMaterial).opacity = colours.dark ? 0.5 : 0.22;
    for (const grid of this.grids) this.scene.remove(grid);
    const metres = 2 * Math.ceil(this.extent + 2);
    const line = (divisions: number, colour: string, z: number): GridHelper => {
      const grid = new GridHelper(metres, divisions, colour, colour);
      grid.rotation.x = Math.PI / 2;
      grid.position.z = z;
      return grid;
    };
    const fine = metres <= 60 ? [line(10 * metres, colours.dark ? '#2e343d' : '#dfe2e7', -0.0012)] : [];
    this.grids = [...fine, line(metres, colours.dark ? '#525b69' : '#b3bac5', -0.001)];
    this.scene.add(...this.grids);
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
    this.renderer.render(this.scene, this.camera);
    this.onRendered();
  }

  /** Where a point of the world is on the canvas, in its CSS pixels. */
  project(point: Vector3): {x: number; y: number} {
    this.camera.updateMatrixWorld();
    const on = point.clone().project(this.camera);
    const {clientWidth: width, clientHeight: height} = this.canvas;
    return {x: (on.x + 1) / 2 * width, y: (1 - on.y) / 2 * height};
  }
}
