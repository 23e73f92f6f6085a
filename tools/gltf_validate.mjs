// Runs the Khronos glTF validator on each file named on the command line and
// prints, per file, its error and warning counts and every error and warning
// with its place. Exits 1 when any file has an error (or cannot be read),
// 0 otherwise. Infos and hints are counted, not listed.
import fs from 'node:fs';
import path from 'node:path';
import validator from 'gltf-validator';

const files = process.argv.slice(2);
if (files.length === 0) {
  console.error('usage: node gltf_validate.mjs FILE.glb|FILE.gltf...');
  process.exit(2);
}

const severityName = ['error', 'warning', 'info', 'hint'];
let failed = 0;
for (const file of files) {
  let report;
  try {
    const bytes = new Uint8Array(fs.readFileSync(file));
    report = await validator.validateBytes(bytes, {
      uri: path.basename(file),
      maxIssues: 0, // no limit
      // A .gltf embeds its buffer; nothing outside the file is read.
      externalResourceFunction: (uri) => Promise.reject(new Error(`external resource ${uri} not allowed`)),
    });
  } catch (e) {
    console.log(`${file}: cannot validate: ${e.message ?? e}`);
    ++failed;
    continue;
  }
  const i = report.issues;
  console.log(`${file}: ${i.numErrors} errors, ${i.numWarnings} warnings, ${i.numInfos} infos, ${i.numHints} hints`);
  // Same code at many places: one line per code, with up to three places.
  const byCode = new Map();
  for (const m of i.messages) {
    if (m.severity > 1) continue;
    const key = `${severityName[m.severity]} ${m.code}`;
    if (!byCode.has(key)) byCode.set(key, { message: m.message, places: [] });
    byCode.get(key).places.push(m.pointer ?? (m.offset !== undefined ? `byte ${m.offset}` : '?'));
  }
  for (const [key, { message, places }] of byCode) {
    const shown = places.slice(0, 3).join(', ') + (places.length > 3 ? `, and ${places.length - 3} more` : '');
    console.log(`  ${key} x${places.length}: ${message} (${shown})`);
  }
  if (i.numErrors > 0) ++failed;
}
if (failed) {
  console.log(`${failed} of ${files.length} files have errors`);
  process.exit(1);
}
console.log(`all ${files.length} files valid (0 errors)`);
