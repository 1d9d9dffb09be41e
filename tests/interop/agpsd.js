// Photoshop documents through ag-psd, without a canvas:
//   node agpsd.js read FILE...          prints what it finds, one JSON object a line
//   node agpsd.js write FILE W H RGBA   RGBA: a file of raw pixels; two layers, the upper one flipped by bytes
'use strict';
const crypto = require('crypto');
const fs = require('fs');
const { initializeCanvas, readPsd, writePsdBuffer } = require('ag-psd');

initializeCanvas(() => { throw new Error('no canvas here'); }, (width, height) => ({ width, height, data: new Uint8ClampedArray(width * height * 4) }));

const digest = image => image && crypto.createHash('sha256').update(Buffer.from(image.data.buffer,
  image.data.byteOffset, image.data.byteLength)).digest('hex');

const [command, ...rest] = process.argv.slice(2);
if (command === 'read') {
  for (const file of rest) {
    const psd = readPsd(fs.readFileSync(file), { useImageData: true, useRawThumbnail: true });
    process.stdout.write(JSON.stringify({
      size: [psd.width, psd.height], depth: psd.bitsPerChannel, merged: digest(psd.imageData),
      layers: (psd.children || []).map(layer => [layer.name, layer.blendMode, layer.left, layer.top, layer.right,
        layer.bottom, layer.opacity, !!layer.transparencyProtected, digest(layer.imageData)]),
    }) + '\n');
  }
} else {
  const [file, w, h, source] = [rest[0], Number(rest[1]), Number(rest[2]), rest[3]];
  const pixels = fs.readFileSync(source);
  const image = bytes => ({ width: w, height: h, data: new Uint8ClampedArray(bytes) });
  fs.writeFileSync(file, writePsdBuffer({
    width: w, height: h, imageData: image(pixels),
    children: [{ name: 'lower', left: 0, top: 0, imageData: image(pixels) },
      { name: 'upper', left: 0, top: 0, blendMode: 'multiply', imageData: image(Buffer.from(pixels).reverse()) }],
  }, { noBackground: true, trimImageData: false }));
}
