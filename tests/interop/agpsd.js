// Photoshop documents through ag-psd, without a canvas:
//   node agpsd.js read FILE...          prints what it finds, one JSON object a line
//   node agpsd.js write FILE W H RGBA   RGBA: a file of raw pixels; two layers, the upper one flipped by bytes
'use strict';
const crypto = require('crypto');
const fs = require('fs');
const { initializeCanvas, readPsd, writePsdBuffer } = require('ag-psd');

initializeCanvas(
  () => { throw new Error('no canvas here'); },
  (width, height) => ({ width, height, data: new Uint8ClampedArray(width * height * 4) }));

const digest = image => image && crypto.createHash('sha256').update(Buffer.from(image.data.buffer,
  image.data.byteOffset, image.data.byteLength)).digest('hex');

function describe(file) {
  const warnings = [];
  const log = console.log;
  console.log = console.warn = (...words) => warnings.push(words.join(' '));
  const psd = readPsd(fs.readFileSync(file), {
    useImageData: true, useRawThumbnail: true, throwForMissingFeatures: false, logMissingFeatures: true,
  });
  console.log = log;
  return {
    file, width: psd.width, height: psd.height, mode: psd.colorMode, channels: psd.channels,
    depth: psd.bitsPerChannel, warnings, merged: digest(psd.imageData),
    thumbnail: psd.imageResources && psd.imageResources.thumbnailRaw ?
      psd.imageResources.thumbnailRaw.data.length : 0,
    layers: (psd.children || []).map(layer => ({
      name: layer.name, left: layer.left, top: layer.top, right: layer.right, bottom: layer.bottom,
      blendMode: layer.blendMode, opacity: layer.opacity, hidden: !!layer.hidden,
      transparencyProtected: !!layer.transparencyProtected, clipping: !!layer.clipping, id: layer.id,
      pixels: digest(layer.imageData), mask: layer.mask ? digest(layer.mask.imageData) : null,
    })),
  };
}

const [command, ...rest] = process.argv.slice(2);
if (command === 'read') {
  for (const file of rest) {
    let line;
    try {
      line = describe(file);
    } catch (error) {
      line = { file, error: String(error.message || error) };
    }
    process.stdout.write(JSON.stringify(line) + '\n');
  }
} else if (command === 'write') {
  const [file, w, h, source] = [rest[0], Number(rest[1]), Number(rest[2]), rest[3]];
  const image = bytes => ({ width: w, height: h, data: new Uint8ClampedArray(bytes) });
  const pixels = fs.readFileSync(source);
  const flipped = Buffer.from(pixels).reverse();
  fs.writeFileSync(file, writePsdBuffer({
    width: w, height: h, imageData: image(pixels),
    children: [
      { name: 'lower \u00e9', left: 0, top: 0, imageData: image(pixels) },
      { name: 'upper', left: 0, top: 0, blendMode: 'multiply', opacity: 0.5, imageData: image(flipped) },
    ],
  }, { noBackground: true, trimImageData: false }));
} else {
  process.stderr.write('usage: node agpsd.js read FILE... | write FILE W H RGBA\n');
  process.exit(2);
}
