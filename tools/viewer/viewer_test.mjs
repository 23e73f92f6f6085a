// The viewer in headless Chromium, served by `twi view` as a user runs it.
// For every demo scene: a screenshot must show the model (pixels unlike the
// background in the middle of the view; none at all for the empty scene),
// the node tree must list the document's nodes, and for animated scenes the
// time slider must change the picture. Screenshots stay in OUT_DIR.
//
//   node viewer_test.mjs TWI_TOOL SCENES_DIR OUT_DIR
//
// SCENES_DIR holds demo_NAME.twi files (tools/validate-gltf.sh writes them).
// Needs playwright-core and pngjs (npm ci in tools/) and Chromium at
// $CHROMIUM or /usr/bin/chromium.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { chromium } from 'playwright-core';
import { PNG } from 'pngjs';

const [twi, scenes, out] = process.argv.slice(2);
if (!out) {
  console.error('usage: node viewer_test.mjs TWI_TOOL SCENES_DIR OUT_DIR');
  process.exit(2);
}
fs.mkdirSync(out, { recursive: true });
const BACKGROUND = [0x30, 0x34, 0x3c];
const WIDTH = 900, HEIGHT = 600, SIDE = 240; // the page's side panel is 240 px wide

let failures = 0;
function check(ok, what) {
  console.log(`${ok ? 'ok  ' : 'FAIL'} ${what}`);
  if (!ok) ++failures;
}

// Starts `twi view FILE` and resolves with its address once it prints it.
function startServer(file) {
  return new Promise((resolve, reject) => {
    const child = spawn(twi, ['view', file], { stdio: ['ignore', 'pipe', 'inherit'] });
    let text = '';
    child.stdout.on('data', (d) => {
      text += d;
      const m = text.match(/at (http:\/\/127\.0\.0\.1:\d+\/\?file=\S+)/);
      if (m) resolve({ child, url: m[1] });
    });
    child.on('exit', (code) => reject(new Error(`twi view exited with ${code}: ${text}`)));
  });
}

// Pixels of the view (right of the side panel) that differ from the
// background, inside the middle `fraction` of its width and height.
function countModelPixels(png, fraction = 0.6) {
  const viewWidth = png.width - SIDE;
  const x0 = SIDE + Math.floor(viewWidth * (1 - fraction) / 2), x1 = SIDE + Math.ceil(viewWidth * (1 + fraction) / 2);
  const y0 = Math.floor(png.height * (1 - fraction) / 2), y1 = Math.ceil(png.height * (1 + fraction) / 2);
  let differing = 0, total = 0;
  for (let y = y0; y < y1; ++y)
    for (let x = x0; x < x1; ++x) {
      const i = 4 * (y * png.width + x);
      const d = Math.abs(png.data[i] - BACKGROUND[0]) + Math.abs(png.data[i + 1] - BACKGROUND[1]) +
                Math.abs(png.data[i + 2] - BACKGROUND[2]);
      if (d > 24) ++differing;
      ++total;
    }
  return { differing, total };
}

function countChanged(a, b) {
  let changed = 0;
  for (let y = 0; y < a.height; ++y)
    for (let x = SIDE; x < a.width; ++x) {
      const i = 4 * (y * a.width + x);
      if (Math.abs(a.data[i] - b.data[i]) + Math.abs(a.data[i + 1] - b.data[i + 1]) + Math.abs(a.data[i + 2] - b.data[i + 2]) > 24)
        ++changed;
    }
  return changed;
}

async function shot(page, name) {
  const bytes = await page.screenshot({ path: path.join(out, `${name}.png`) });
  return PNG.sync.read(bytes);
}

const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
  args: ['--no-sandbox', '--disable-gpu', '--use-angle=swiftshader', '--enable-unsafe-swiftshader', '--disable-quic',
         '--no-first-run', '--disable-background-networking', '--disable-component-update', '--disable-sync'],
});
const demos = fs.readdirSync(scenes).filter((f) => /^demo_.*\.twi$/.test(f)).sort();
check(demos.length >= 3, `found ${demos.length} demo scenes in ${scenes}`);
// A .glb goes to the page as it is, without the server's conversion.
if (fs.existsSync(path.join(scenes, 'demo_character.glb'))) demos.push('demo_character.glb');

// A broken document: the page says what is wrong instead of showing a scene.
{
  const broken = path.join(out, 'broken.twi');
  fs.writeFileSync(broken, 'nodes = { a = { local = [ 1 2 3 ] } }\n');
  const { child, url } = await startServer(broken);
  try {
    const page = await browser.newPage({ viewport: { width: WIDTH, height: HEIGHT } });
    await page.goto(url);
    await page.waitForFunction(() => window.twiViewer && (window.twiViewer.ready || window.twiViewer.error), null, { timeout: 30000 });
    const error = await page.evaluate(() => window.twiViewer.error);
    check(error && error.includes('holds 3 numbers, not 16'), `broken.twi: the page shows the document's problem (${error})`);
    await page.close();
  } finally {
    child.kill();
  }
}
try {
  for (const file of demos) {
    const name = file.endsWith('.glb') ? file.replace('.', '_') : file.replace(/\.twi$/, '');
    const { child, url } = await startServer(path.join(scenes, file));
    try {
      const page = await browser.newPage({ viewport: { width: WIDTH, height: HEIGHT } });
      const messages = [];
      page.on('pageerror', (e) => messages.push(String(e)));
      await page.goto(url + '&play=0');
      await page.waitForFunction(() => window.twiViewer && (window.twiViewer.ready || window.twiViewer.error), null, { timeout: 30000 });
      const state = await page.evaluate(() => ({ error: window.twiViewer.error, duration: window.twiViewer.duration, nodes: window.twiViewer.nodes }));
      check(!state.error && messages.length === 0, `${name}: loaded without errors ${state.error ?? ''} ${messages.join(' ')}`);
      // Each entry's own name (an entry's whole text holds its children's).
      const tree = await page.$$eval('#tree li', (items) => items.map((li) => li.firstChild.textContent));
      const first = await shot(page, name);
      const { differing, total } = countModelPixels(first);
      if (state.nodes.length === 0) {
        const whole = countModelPixels(first, 1.0);
        check(whole.differing === 0, `${name}: an empty scene shows only the background (${whole.differing} other pixels)`);
      } else {
        // A mesh covers a good part of the view; a skeleton alone is thin
        // lines and dots, so the floor is a count of pixels, not a share.
        check(differing > 300, `${name}: the model covers ${differing} pixels (${(100 * differing / total).toFixed(1)}%) of the middle of the view`);
        check(state.nodes.length === tree.length && state.nodes.every((n) => tree.includes(n)),
              `${name}: the tree lists all ${state.nodes.length} nodes, each once`);
      }
      if (state.duration > 0) {
        await page.locator('#time').fill(String(state.duration / 2));
        await page.waitForFunction(() => window.twiViewer.frames > 0);
        const later = await shot(page, `${name}_half`);
        const changed = countChanged(first, later);
        check(changed > 200, `${name}: moving the time slider to ${(state.duration / 2).toFixed(3)} s changes ${changed} pixels`);
        const clockText = await page.locator('#clock').textContent();
        check(clockText === `${(state.duration / 2).toFixed(3)} s`, `${name}: the clock reads ${clockText}`);
      }
      await page.close();
    } finally {
      child.kill();
    }
  }
} finally {
  await browser.close();
}
console.log(failures ? `${failures} checks failed` : 'all viewer checks passed');
process.exit(failures ? 1 : 0);
