// The twi viewer: shows a .glb, or a .twi converted by the `twi view`
// server, with its meshes lit, its transform hierarchy as lines, its node
// names as a tree and its animation under a time slider.
//
// window.twiViewer reports the page's state to scripts (the browser test):
// ready, error, duration, nodes (names in node order), setTime(seconds),
// and frames (rendered so far).
import * as THREE from 'three';
import { GLTFLoader } from 'three/addons/loaders/GLTFLoader.js';
import { OrbitControls } from 'three/addons/controls/OrbitControls.js';

export const BACKGROUND = 0x30343c;

const state = (window.twiViewer = { ready: false, error: null, duration: 0, nodes: [], frames: 0, setTime });
const params = new URLSearchParams(location.search);
const canvas = document.getElementById('canvas');
const statusLine = document.getElementById('status');
const tree = document.getElementById('tree');
const timeline = document.getElementById('timeline');
const slider = document.getElementById('time');
const clock = document.getElementById('clock');
const playButton = document.getElementById('play');

const renderer = new THREE.WebGLRenderer({ canvas, antialias: true });
renderer.setPixelRatio(window.devicePixelRatio);
const scene = new THREE.Scene();
scene.background = new THREE.Color(BACKGROUND);
scene.add(new THREE.HemisphereLight(0xffffff, 0x404050, 1.6));
const sun = new THREE.DirectionalLight(0xffffff, 2.2);
sun.position.set(3, 5, 4);
scene.add(sun);
const camera = new THREE.PerspectiveCamera(40, 1, 0.01, 1000);
camera.position.set(2, 1.5, 3);
const controls = new OrbitControls(camera, canvas);

let root = null; // the shown scene
let mixer = null;
let playing = params.get('play') !== '0';
let time = 0;
let skeleton = null; // { lines, points, pairs: [[child, parent]], nodes: [Object3D] }
const clockSource = new THREE.Clock();

function say(text, isError = false) {
  statusLine.textContent = text;
  statusLine.classList.toggle('error', isError);
  if (isError) state.error = text;
}

function resize() {
  const w = canvas.clientWidth, h = canvas.clientHeight;
  if (canvas.width !== Math.floor(w * renderer.getPixelRatio()) || canvas.height !== Math.floor(h * renderer.getPixelRatio())) {
    renderer.setSize(w, h, false);
    camera.aspect = w / Math.max(h, 1);
    camera.updateProjectionMatrix();
  }
}

function render() {
  resize();
  if (skeleton) updateSkeleton();
  controls.update();
  renderer.render(scene, camera);
  ++state.frames;
}

function frame() {
  const dt = clockSource.getDelta();
  if (mixer && playing && state.duration > 0) {
    time = (time + dt) % state.duration;
    mixer.setTime(time);
    showTime();
  }
  render();
  requestAnimationFrame(frame);
}

function showTime() {
  slider.value = String(time);
  clock.value = `${time.toFixed(3)} s`;
}

// Moves the animation to `seconds` (clamped to its range) and pauses it.
function setTime(seconds) {
  if (!mixer) return;
  setPlaying(false);
  time = Math.min(Math.max(0, seconds), state.duration);
  mixer.setTime(time);
  showTime();
  render();
}

function setPlaying(on) {
  playing = on;
  playButton.textContent = on ? 'Pause' : 'Play';
}

slider.addEventListener('input', () => setTime(parseFloat(slider.value)));
playButton.addEventListener('click', () => setPlaying(!playing));

// The transform hierarchy as lines: every node that holds no mesh joined to
// its parent, with a dot on each, drawn over the meshes.
function buildSkeleton(json, nodes) {
  const holdsMesh = (i) => json.nodes[i].mesh !== undefined;
  const parentOf = new Map();
  (json.nodes || []).forEach((n, i) => (n.children || []).forEach((c) => parentOf.set(c, i)));
  const pairs = [];
  const dots = [];
  nodes.forEach((object, i) => {
    if (holdsMesh(i)) return;
    dots.push(object);
    const p = parentOf.get(i);
    if (p !== undefined && !holdsMesh(p)) pairs.push([object, nodes[p]]);
  });
  const lineGeometry = new THREE.BufferGeometry();
  lineGeometry.setAttribute('position', new THREE.Float32BufferAttribute(new Float32Array(Math.max(pairs.length, 1) * 6), 3));
  const lines = new THREE.LineSegments(lineGeometry, new THREE.LineBasicMaterial({ color: 0xffcc44, depthTest: false }));
  const pointGeometry = new THREE.BufferGeometry();
  pointGeometry.setAttribute('position', new THREE.Float32BufferAttribute(new Float32Array(Math.max(dots.length, 1) * 3), 3));
  const points = new THREE.Points(pointGeometry, new THREE.PointsMaterial({ color: 0xffcc44, size: 6, sizeAttenuation: false, depthTest: false }));
  for (const o of [lines, points]) {
    o.renderOrder = 10;
    o.frustumCulled = false;
    o.visible = (o === lines ? pairs.length : dots.length) > 0;
    scene.add(o);
  }
  skeleton = { lines, points, pairs, dots };
}

const tmp = new THREE.Vector3();
function updateSkeleton() {
  const { lines, points, pairs, dots } = skeleton;
  const lp = lines.geometry.attributes.position;
  pairs.forEach(([a, b], k) => {
    a.getWorldPosition(tmp);
    lp.setXYZ(2 * k, tmp.x, tmp.y, tmp.z);
    b.getWorldPosition(tmp);
    lp.setXYZ(2 * k + 1, tmp.x, tmp.y, tmp.z);
  });
  lp.needsUpdate = true;
  const pp = points.geometry.attributes.position;
  dots.forEach((o, k) => {
    o.getWorldPosition(tmp);
    pp.setXYZ(k, tmp.x, tmp.y, tmp.z);
  });
  pp.needsUpdate = true;
}

function buildTree(json) {
  tree.replaceChildren();
  const joints = new Set((json.skins || []).flatMap((s) => s.joints));
  const add = (list, i, depth) => {
    const n = json.nodes[i];
    const li = document.createElement('li');
    li.textContent = n.name ?? `node ${i}`;
    if (n.mesh !== undefined) li.classList.add('mesh');
    else if (joints.has(i)) li.classList.add('joint');
    list.append(li);
    if (n.children && depth < 256) {
      const ul = document.createElement('ul');
      n.children.forEach((c) => add(ul, c, depth + 1));
      li.append(ul);
    }
  };
  const scene0 = (json.scenes || [])[json.scene ?? 0] || {};
  (scene0.nodes || []).forEach((i) => add(tree, i, 0));
  if (!tree.children.length) {
    const li = document.createElement('li');
    li.textContent = '(no nodes)';
    tree.append(li);
  }
}

// Points the camera at everything the scene holds: meshes and nodes.
function frameCamera(nodes) {
  root.updateMatrixWorld(true);
  const box = new THREE.Box3().setFromObject(root);
  for (const o of nodes) box.expandByPoint(o.getWorldPosition(tmp));
  if (box.isEmpty()) return;
  const centre = box.getCenter(new THREE.Vector3());
  const size = Math.max(box.getSize(new THREE.Vector3()).length(), 0.01);
  const distance = size / (2 * Math.tan(THREE.MathUtils.degToRad(camera.fov) / 2)) * 1.35;
  const direction = new THREE.Vector3(0.55, 0.35, 1).normalize();
  camera.position.copy(centre).addScaledVector(direction, distance);
  camera.near = distance / 100;
  camera.far = distance * 100;
  camera.updateProjectionMatrix();
  controls.target.copy(centre);
}

function clear() {
  if (root) scene.remove(root);
  if (skeleton) {
    scene.remove(skeleton.lines, skeleton.points);
    skeleton.lines.geometry.dispose();
    skeleton.points.geometry.dispose();
  }
  root = null;
  mixer = null;
  skeleton = null;
  state.ready = false;
  state.error = null;
  state.duration = 0;
  timeline.hidden = true;
}

async function show(gltf, name, report) {
  clear();
  root = gltf.scene;
  scene.add(root);
  root.traverse((o) => {
    if (o.isSkinnedMesh) o.frustumCulled = false; // bounds are of the bind pose
  });
  const json = gltf.parser.json;
  const nodes = json.nodes ? await gltf.parser.getDependencies('node') : [];
  state.nodes = (json.nodes || []).map((n, i) => n.name ?? `node ${i}`);
  buildTree(json);
  buildSkeleton(json, nodes);
  if (gltf.animations.length) {
    mixer = new THREE.AnimationMixer(root);
    for (const clip of gltf.animations) mixer.clipAction(clip).play();
    state.duration = Math.max(...gltf.animations.map((c) => c.duration));
    slider.max = String(state.duration);
    slider.step = String(Math.max(state.duration / 1000, 0.001));
    timeline.hidden = state.duration <= 0;
    time = 0;
    mixer.setTime(0);
    showTime();
  }
  frameCamera(nodes);
  const meshes = (json.meshes || []).length;
  say(`${name}: ${state.nodes.length} nodes, ${meshes} meshes` +
      (state.duration ? `, ${state.duration.toFixed(3)} s of animation` : '') + (report ? `\n\n${report}` : ''));
  render();
  state.ready = true;
}

// .twi text goes to the server that served this page (`twi view`), which
// answers with the .glb and its conversion report.
async function toGlb(bytes, name) {
  if (!/\.twi$/i.test(name)) return { glb: bytes, report: '' };
  const response = await fetch(`convert?name=${encodeURIComponent(name)}`, { method: 'POST', body: bytes });
  if (!response.ok) throw new Error((await response.text()) || `conversion failed (${response.status})`);
  const report = decodeURIComponent(response.headers.get('X-Twi-Report') || '');
  return { glb: await response.arrayBuffer(), report };
}

async function open(bytes, name) {
  try {
    say(`loading ${name}...`);
    const { glb, report } = await toGlb(bytes, name);
    const gltf = await new GLTFLoader().parseAsync(glb, '');
    await show(gltf, name, report);
  } catch (e) {
    clear();
    const message = String(e.message ?? e).trim();
    say(message.startsWith(`${name}:`) ? message : `${name}: ${message}`, true);
  }
}

async function openUrl(url) {
  const name = decodeURIComponent(url.split('?')[0].split('/').pop() || url);
  try {
    const response = await fetch(url);
    if (!response.ok) throw new Error(`${response.status} ${response.statusText}`);
    await open(await response.arrayBuffer(), name);
  } catch (e) {
    say(`${name}: ${e.message ?? e}`, true);
  }
}

const view = document.getElementById('view');
window.addEventListener('dragover', (e) => {
  e.preventDefault();
  view.classList.add('drop');
});
window.addEventListener('dragleave', () => view.classList.remove('drop'));
window.addEventListener('drop', async (e) => {
  e.preventDefault();
  view.classList.remove('drop');
  const file = e.dataTransfer.files[0];
  if (file) await open(await file.arrayBuffer(), file.name);
});
document.getElementById('open').addEventListener('change', async (e) => {
  const file = e.target.files[0];
  if (file) await open(await file.arrayBuffer(), file.name);
});

setPlaying(playing);
requestAnimationFrame(frame);
if (params.get('file')) openUrl(params.get('file'));
else state.ready = true; // nothing asked for: the empty view is ready
