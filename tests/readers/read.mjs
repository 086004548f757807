// Other programs' readers, as the tests use them:
//
//   node read.mjs verovio musedata|musicxml FILE...
//     loads each file in verovio's toolkit and prints one JSON line per file:
//     {"file", "ok", "notes", "log"}, notes being the notes (not rests) of
//     the MEI verovio made of it;
//   node read.mjs musescore IN.musicxml OUT.musicxml
//     opens IN in MuseScore's engraving library (webmscore) and saves it as
//     MusicXML to OUT, as a user who opens and saves the score does.
//
// The packages are read from MUSEDATA_READERS, the node_modules folder npm
// installed them into (the build folder's readers/node_modules).

import fs from 'fs';
import path from 'path';

const modules = path.resolve(process.env.MUSEDATA_READERS || 'node_modules');

async function readWithVerovio(format, files) {
  const verovioDir = path.join(modules, 'verovio');
  const { default: createModule } = await import(path.join(verovioDir, 'dist/verovio-module-hum.mjs'));
  const { VerovioToolkit } = await import(path.join(verovioDir, 'dist/verovio.mjs'));
  const module = await createModule();
  for (const file of files) {
    const toolkit = new VerovioToolkit(module);
    toolkit.setOptions({ inputFrom: format });
    const result = { file, ok: false, notes: 0, log: '' };
    try {
      result.ok = toolkit.loadData(fs.readFileSync(file, 'utf8'));
      if (result.ok) result.notes = (toolkit.getMEI().match(/<note /g) || []).length;
      result.log = toolkit.getLog().slice(0, 500);
    } catch (error) {
      result.log = String(error);
    }
    console.log(JSON.stringify(result));
  }
}

async function saveWithMuseScore(input, output) {
  // The Node.js build of webmscore reads its WebAssembly with fetch when
  // there is one, which cannot read a local path: without it, it reads the file.
  delete globalThis.fetch;
  const { default: WebMscore } = await import(path.join(modules, 'webmscore/webmscore.nodejs.cjs'));
  await WebMscore.ready;
  const format = input.endsWith('.mxl') ? 'mxl' : 'musicxml';
  const score = await WebMscore.load(format, new Uint8Array(fs.readFileSync(input)));
  fs.writeFileSync(output, await score.saveXml());
  score.destroy();
}

const [reader, ...rest] = process.argv.slice(2);
if (reader === 'verovio' && rest.length >= 1) {
  await readWithVerovio(rest[0], rest.slice(1));
} else if (reader === 'musescore' && rest.length === 2) {
  await saveWithMuseScore(rest[0], rest[1]);
} else {
  console.error('usage: read.mjs verovio musedata|musicxml FILE... | musescore IN OUT');
  process.exit(64);
}
