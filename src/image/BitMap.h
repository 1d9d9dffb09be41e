#pragma once

#include <cstddef>
#include <cstdint>

#include "KSmthExport.h"
#include "image/Color.h"
#include "image/HostBitMap.h"

class APoint;
class APoint3D;
class ARect;
class FPoint3D;

/// An image of one depth, of which only a rectangle may be stored.
///
/// The *logical image* is `fullWidth` x `fullHeight` pixels. The *stored rectangle* is the part of it that
/// the buffer holds, `width` x `height` pixels from column `left` and row `top`; every pixel around it has
/// the value `fillValue`. A bitmap whose stored rectangle is the whole image is *uncropped*: margins 0.
/// Margins may be negative, where the stored rectangle reaches outside the image (`CropOversized` trims it).
///
/// The buffer holds the stored rows from the top, one directly behind the other. A pixel is, by `depth`:
///
/// | depth | bytes | content |
/// |---|---|---|
/// | 8 | 1 | grey or alpha |
/// | 16 | 2 | one big-endian value, alpha or height |
/// | 24 | 3 | read by the plane writers alone |
/// | 32 | 4 | alpha, red, green, blue: the big-endian value 0xAARRGGBB. Or one signed height or mask value |
/// | 64 | 8 | four big-endian 16-bit values: M, red, green, blue |
///
/// Memory has these bytes on every platform; values given to and answered by the operations are native
/// integers. The "low-order byte" of a 32-bit pixel is blue, the "high-order byte" alpha. A *channel* is
/// 0 red, 1 green, 2 blue or 3 alpha, at byte 1, 2, 3 or 0 of a 32-bit pixel.
///
/// It is a plain record, laid out as the host's code has it: copying it copies the pointer, and nothing is
/// freed at the end of its life. Whoever allocated calls `Free`; whoever attached calls `Reset`. Integer
/// results are 0 for success and -1 for failure unless said. No operation throws. Unless said, an operation
/// without a buffer does nothing, one that meets a depth other than its own breaks to the debugger (which
/// does nothing here) and goes on with the buffer taken as pixels of its own depth, and none reads or writes
/// outside a buffer, whatever depths and positions it is given. Exceptions without a buffer: the plane
/// writers write their compression words and padding, `CropOversized`, `DownsizeWidth` and `DownsizeHeight`
/// change sizes and margins.
///
/// Margins that do not add up with stored and full size, such as `Allocate` leaves behind in a bitmap that
/// was cropped, count as 0, columns and rows apart. `ReadValue8`, `ReadValue32` and the operations that
/// compare or change margins take them as they stand.
class KSMTH_API ABitMap {
 public:
  std::int32_t fullWidth = 0;   ///< of the logical image, in pixels: left + width + right
  std::int32_t fullHeight = 0;  ///< top + height + bottom
  std::int32_t depth = 0;       ///< bits per pixel: 8, 16, 24, 32 or 64
  std::int32_t width = 0;       ///< of the stored rectangle
  std::int32_t height = 0;
  std::int32_t left = 0;   ///< columns of the logical image left of the stored rectangle
  std::int32_t right = 0;  ///< columns right of it
  std::int32_t top = 0;    ///< rows above it
  std::int32_t bottom = 0;
  std::uint32_t fillValue = 0;      ///< of every pixel outside; the low-order byte alone at depth 8
  unsigned char* buffer = nullptr;  ///< the stored pixels or null; owned unless attached by `InitFromABMap`

  // Allocation (BitMap.cpp)

  /// Makes this a bitmap of `w` x `h` pixels with undefined content and answers its buffer; null, and no
  /// buffer, where there is no memory, a size is negative or the bytes exceed 2^31 - 1.
  ///
  /// An existing buffer is kept as it is, with its depth and its cropping, where `w` and `h` are the full
  /// size already: fixed by the host's contract. Another depth needs `Free` before. Margins and fill value
  /// are left alone; for an uncropped bitmap they must be 0 before.
  unsigned char* Allocate(std::int32_t w, std::int32_t h, std::int32_t d);
  /// Makes this a bitmap of which the rectangle from column `l` and row `t` up to, not including, column `r`
  /// and row `b` is stored, with undefined content. Frees any buffer. Answers the new one: null, with all
  /// sizes and margins set nevertheless, for an empty rectangle or where `Allocate` would answer null.
  unsigned char* AllocateCropped(std::int32_t fullW, std::int32_t fullH, std::int32_t t, std::int32_t l,
                                 std::int32_t b, std::int32_t r, std::int32_t d);
  /// Frees the buffer; all other fields stay.
  void Free();
  /// Frees the buffer and zeroes full size and depth. Stored size, margins and fill value stay.
  void FreeAndClear();
  /// Zeroes all fields and frees nothing: for a bitmap whose buffer is not its own.
  void Reset();
  /// Zeroes the buffer.
  void ClearBuffer();

  /// Bytes of a pixel.
  std::int32_t BytesPerPixel() const { return depth >> 3; }
  /// Bytes of the buffer; 0 without one, and where the sizes do not make sense.
  std::int32_t BufferBytes() const;

  // Single values (BitMap.cpp)

  /// The byte of the pixel at a position of the logical image, of which any may be asked for; the fill byte
  /// outside the stored rectangle. Another depth than 8: the byte at the pixel's index.
  std::int32_t ReadValue8(std::int32_t x, std::int32_t y) const;
  /// The same for 32-bit pixels; the fill value also where an index lies past the buffer of a smaller depth.
  std::uint32_t ReadValue32(std::int32_t x, std::int32_t y) const;

  // From the host's bitmap and from other bitmaps (BitMapConvert.cpp)

  /// Attaches this to the pixels of `map`, without freeing what it had: sizes, margins and fill value become
  /// the host's. Detach with `Reset`, never `Free`. -1 for null, which changes nothing, and for a `map`
  /// without pixels, after taking over the rest.
  std::int32_t InitFromABMap(const ABMap* map);
  /// Becomes a copy of the stored rectangle of `map`, on its own and of its depth; frees its own buffer
  /// first. -1 for a null `map`, one without pixels, and no memory. A `map` that states a full size, so that
  /// something may get lost, breaks to the debugger and is copied as well.
  std::int32_t CreateFromABMap(const ABMap* map);
  /// Becomes an uncropped copy of the whole logical image of `map`, with its fill value; frees its own buffer
  /// first. `depth` must be 32 before the call, and so must the host's (a debugging stop otherwise). -1 for
  /// that, for a null `map`, one without pixels, and no memory.
  std::int32_t CreateFullFromABMap(const ABMap* map);
  /// Becomes an uncropped copy of the whole logical image of `source`, of depth 32, which may be this bitmap;
  /// frees its own buffer first. Own fill value and margins stay as they are. -1 for another depth, which
  /// changes nothing, and for no memory.
  std::int32_t CreateUnpaddedFrom(const ABitMap& source);

  // Photoshop documents (psd/FlatWriter.cpp, psd/Loaders.cpp); PSDFile.h has the rest of the subject

  /// Writes this bitmap as a flat PSD file: at depth 32 red, green and blue, with alpha where `withAlpha` is
  /// set; at depth 16 one plane of 16 bits; at any other depth one 8-bit plane for each byte of a pixel, the
  /// last byte's first, with the debugging stops of `SaveBMap_WritePlaneToBuffer` at depth 64. Answers what
  /// `SaveBMapPlanes` answers. `ignored` is not read.
  std::int32_t SavePSD(const char* path, bool withAlpha, std::int32_t ignored = 0) const;
  /// Writes a flat PSD file of the full size of this bitmap, with `planeCount` planes of `bits` (8 or 16) per
  /// value: plane i is byte `channels[i]` of the pixels of `planes[i]`, as `SaveBMap_WritePlaneToBuffer`
  /// makes it. The colour mode is RGB for 3 and 4 planes, else grayscale at 16 bits and multichannel at 8.
  ///
  /// 0 on success. 0 as well, and no file, where there is no memory for the whole file or it would exceed
  /// 2^31 - 1 bytes: fixed by the host's contract. -1 where the file cannot be written, which leaves behind
  /// what `SaveToFile` tells; and -1, and no file, for null bitmaps, a negative full size, other `bits`, and
  /// more than the format's 56 planes.
  std::int32_t SaveBMapPlanes(const char* path, std::int32_t planeCount, std::int32_t bits,
                              const ABitMap* const* planes, const std::int32_t* channels) const;
  /// Writes one plane to `to` and answers the position past it; a null `to` writes nothing and answers the
  /// number of bytes as a pointer. `channel` is the offset of a byte in 4-byte pixels, 0 to 3; another one,
  /// which lies in a neighbouring pixel, is a debugging stop and taken as it is.
  ///
  /// Pixels are taken 4 bytes apart at every depth: fixed by the host's contract. A byte outside the buffer
  /// reads as the fill byte, the byte of `fillValue` (big-endian) at offset `channel`
  /// modulo 4. `bits` 8: the full logical image, one byte a pixel, fill bytes around the stored rectangle.
  /// `bits` 16: the stored rectangle alone, two bytes a pixel from offset `channel` on. Other `bits`:
  /// nothing, after a debugging stop. `rowCounts`, where not null, gets the bytes of each of the `height`
  /// stored rows as 16-bit big-endian numbers. `flag` is not read.
  unsigned char* SaveBMap_WritePlaneToBuffer(unsigned char* to, std::int32_t bits, std::uint16_t* rowCounts,
                                             std::int32_t channel, std::int32_t flag = 0) const;
  /// Becomes the merged image of a PSD file: 32 bits, of the document's size. The first channels of the file
  /// become red, green, blue and, where `withAlpha` is set, alpha, whatever the file's colour mode says they
  /// are; bytes without a channel are 0. Values are taken as 8-bit ones; neither signature, version, depth
  /// nor mode are looked at: fixed by the host's contract.
  ///
  /// `data` is the whole file in memory of any kind and stays the caller's; null loads the file at `path`,
  /// which is not read otherwise. `size` says how many bytes of `data` are the file: no other is read. With
  /// 0 the lengths in the file itself are followed wherever they lead, so it must be a whole one.
  ///
  /// 0, or -1 for a file that is missing, empty, without a channel, too large for memory or cut short before
  /// its last pixel, and for a negative `size`, with this bitmap as it was. Success frees the own buffer and
  /// leaves margins and fill value, as `Allocate`.
  std::int32_t LoadPSD(const char* path, bool withAlpha, const void* data = nullptr, std::int32_t size = 0);
  /// The same for the pixels of the file's first layer, which is taken to cover the document; a file without
  /// layers is loaded as by `LoadPSD` without alpha. What lies behind these pixels need not be there, nor
  /// need the lengths of the sections around them be right. Channels count in the order in which the file has
  /// them, not by their ids. `layerNumber` is not read. Of a file with a negative layer count, the way to say
  /// that the merged image has transparency, no layer records are stepped over: fixed by the host's contract.
  std::int32_t LoadPSDLayer(const char* path, std::int32_t layerNumber, bool withAlpha);

  // Planes to and from byte buffers (BitMapPlanes.cpp)
  //
  // A plane is one byte a pixel, rows from the top. Writers answer the position past the last byte written; a
  // bitmap whose depth they do not take, and a null `to`, are refused by answering `to`. A compression word
  // is the two zero bytes that say "raw" in front of a channel of a PSD file. A *padded* plane is fullWidth x
  // fullHeight bytes, with what the bitmap does not store filled in and what it stores outside the image left
  // out; an unpadded one is the stored rectangle.

  /// Writes the unpadded planes red, green and blue, and alpha where `withAlpha` is set, each behind a
  /// compression word; with `oneWord` the first plane alone has one, as merged image data of a PSD file.
  /// Needs 24 bits per pixel or more, with alpha more than that. Pixels are taken 4 bytes apart at every
  /// depth: fixed by the host's contract. Bytes past the end of a 24-bit buffer read as 0.
  /// `ignored` is not read.
  unsigned char* WriteRGBToBuffer(unsigned char* to, std::int32_t ignored, bool withAlpha,
                                  bool oneWord) const;
  /// Writes the bytes of an 8-bit bitmap, padded with `fill` or unpadded, behind a compression word where
  /// `word` is set.
  unsigned char* Write8ToBuffer(unsigned char* to, unsigned char fill, bool padded, bool word) const;
  /// Writes a compression word and a mask: 255 for each stored pixel whose 32-bit value, signed, is less than
  /// `threshold`, and 0 for any other; `fill` pads. `bits` other than 8: the word alone. Needs 32 bits per
  /// pixel or more. Pixels are taken 4 bytes apart at every depth: fixed by the host's contract.
  unsigned char* WriteAlphaToBuffer(unsigned char* to, long threshold, unsigned char fill, std::int32_t bits,
                                    bool padded) const;
  /// Writes the padded plane of one channel with 0 in the margins, and leaves `gap` bytes alone after each
  /// row that has stored pixels in the image, so that channels can be interleaved row by row. Takes channels
  /// 0 to 3 of 32-bit and 0 to 2 of 24-bit bitmaps, whose pixels are taken 4 bytes apart as well, as by
  /// `WriteRGBToBuffer`. `ignored` is not read.
  unsigned char* WriteOneRGBAOffsetToBuffer(unsigned char* to, std::int32_t ignored, std::int32_t channel,
                                            std::int32_t gap) const;

  /// Reads channel data as PSD files have them into one channel of the stored pixels. `data` is `size` bytes:
  /// a big-endian 16-bit compression code, then
  /// - 0, raw: exactly width x height bytes;
  /// - 1, run-length: a byte count of 2 bytes for every row, which are not looked at, then PackBits records.
  ///   A header byte n above 0 stands before n + 1 bytes; any other, as a signed number, before one byte that
  ///   is meant 1 - n times. There is no header that does nothing: 128 repeats 129 times.
  ///
  /// -1, after a debugging stop: a raw size that is not right, which writes nothing; a record that runs past
  /// the end of the data, where the records before it have been written; another code; a channel that pixels
  /// of this depth do not have; no buffer. Bytes beyond the last pixel are dropped, after a debugging stop. A
  /// `size` of 2 is a channel without data: 0, and nothing changes. An empty stored rectangle needs no
  /// buffer.
  std::int32_t ReadRGBAChannelFromBuffer(const unsigned char* data, std::int32_t size, std::int32_t channel);
  /// Becomes the 8-bit bitmap of an alpha channel that covers the rectangle from column `l` and row `t` up
  /// to, not including, column `r` and row `b` of an image of `fullW` x `fullH` pixels, like a layer's mask
  /// in a PSD file. The rectangle may reach outside the image; margins are then negative. `data` is as for
  /// `ReadRGBAChannelFromBuffer`, its rows those of the rectangle; pixels that the data do not reach are 0.
  ///
  /// Frees its own buffer first. The fill value, which the margins read as, is left to the caller. Success
  /// with an empty rectangle leaves no buffer. -1, and no buffer, for data that `ReadRGBAChannelFromBuffer`
  /// would refuse and for no memory.
  std::int32_t ReadAlphaFromBuffer(const unsigned char* data, std::int32_t size, std::int32_t fullW,
                                   std::int32_t fullH, std::int32_t t, std::int32_t l, std::int32_t b,
                                   std::int32_t r);

  // Fills and arithmetic on rectangles of 32-bit pixels (BitMapPaint.cpp)
  //
  // x, y, w, h: position in the logical image and size, of which the part outside the image (and, of a
  // cropped bitmap, outside the stored rectangle) is left out; any values may be given. "Channels" are the
  // three low-order bytes of a pixel.

  /// Sets every pixel to `value`.
  void Paint(std::uint32_t value, std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h);
  /// Adds `value` to every pixel as one number, which wraps round: channels carry into one another.
  void Mask_Add(std::uint32_t value, std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h);
  /// Halves the channels, rounded down, and clears the high-order byte.
  void Darken(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h);
  /// Takes a quarter, rounded down, off each channel; the high-order byte stays.
  void DarkenQtr(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h);
  /// `DarkenQtr` and then `Mask_Add` of `add` for every pixel that is not `skip`.
  void DarkenAndAdd(std::uint32_t add, std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h,
                    std::uint32_t skip);
  /// Turns pixels of the value `from` into `to`. A `w` of 0 stands for `fullWidth`, an `h` of 0 for
  /// `fullHeight`.
  void Switch(std::uint32_t from, std::uint32_t to, std::int32_t x, std::int32_t y, std::int32_t w,
              std::int32_t h);

  // The same on whole images (BitMapPaint.cpp): all stored pixels, and no other.

  /// Zeroes the buffer.
  void PaintZero();
  /// Sets every pixel to the low bits of `value`, as many as a pixel has. Depths 8, 16, 32 and 64; others are
  /// left unchanged, here and by the masks.
  void Paint(std::uint64_t value);
  /// Sets every pixel to an opaque colour, components 0 to 1 (others are brought into range), rounded to the
  /// nearest: alpha or M are full. Depths 32 and 64; a debugging stop and no effect at others.
  void Paint(const FPoint3D& color);
  /// Combines every pixel with the low bits of `value`, as for `Paint`.
  void Mask_And(std::uint64_t value);
  void Mask_Or(std::uint64_t value);
  /// As on rectangles; 32-bit.
  void Mask_Add(std::uint32_t value);
  void Darken();
  /// Replaces the low-order byte of each 32-bit pixel by 255 minus itself; no effect at other depths.
  void InvertAlphaRGBA();
  /// Three quarters of this image plus one quarter of `other`, each channel rounded down by itself; the
  /// high-order byte stays. Pixels are paired by their index in the buffers, as far as both reach. 32-bit.
  void BlendQtrIntensiy(const ABitMap& other);
  /// One sixteenth of this image plus fifteen sixteenths of `other`, whose high-order byte is taken. The name
  /// says something else; the weights are fixed by the host's contract. Otherwise as `BlendQtrIntensiy`.
  void Blend3QtrIntensiy(const ABitMap& other);
  /// Sets the low-order byte of each stored pixel to 255 where the pixel of `source` at the same index, as a
  /// signed 32-bit value, is less than `threshold`, else to 0. Answers 1, also for an empty stored rectangle;
  /// 0 for less than 32 bits per pixel, a missing buffer, and full sizes (after a debugging stop) or margins
  /// that differ. Pixels are taken 4 bytes apart at every depth, as far as both buffers reach.
  std::int32_t WriteAlphaToMaterial(const ABitMap& source, std::int32_t threshold);
  /// Turns the stored rows upside down; margins stay as they are. Depths 32 and 64; a debugging stop and no
  /// effect at others.
  void FlipVert();

  // Contrast (BitMapNormalize.cpp). Depths 8 and 16: the values; 32 and 64: red, green and blue, all with one
  // measure, alpha and M untouched. A debugging stop and no effect at other depths.

  /// Stretches the stored values linearly, so that the least becomes 0 and the greatest the greatest
  /// possible, rounded to the nearest. An image of one value stays as it is.
  void Normalize();
  /// Stretches a shade, in which half (128, or 32768) is flat ground, about that half: the value that is
  /// farthest from it ends up 127 (32767) away, the others in proportion, rounded towards the half.
  void NormalizeCavityShade();

  // Copying (BitMapBlit.cpp)
  //
  // Positions are those of the logical images. What falls outside the source's or the destination's image or
  // stored rectangle is left out. A destination of another depth is written as if it had the source's,
  // as far as its buffer goes. Of 16.16 rectangles and points the integer parts count.

  /// Copies the whole image to the destination, its top left corner to (x, y). Depths 32 and 64; at others
  /// the message "Incorrect bitmap format" and no copy. The destination may be this bitmap.
  void BltTo(ABitMap& destination, std::int32_t x, std::int32_t y) const;
  /// Copies the part `sourceRect`, its top left corner to `at`; otherwise the same.
  void BltTo(ABitMap& destination, const ARect& sourceRect, const APoint& at) const;
  /// Copies as much of the image, from its top left corner, as the rectangle `window` of the destination
  /// takes; otherwise the same.
  void BltToWindow(ABitMap& destination, const ARect& window) const;
  /// Copies the pixels whose high-order byte is not 0. 32-bit. Source and destination must be different
  /// bitmaps, here and below.
  void BltTransparentTo(ABitMap& destination, std::int32_t x, std::int32_t y) const;
  /// Moves each destination pixel towards the source pixel (`AMRGB::BlendRGB`), by the source pixel's own low
  /// 16 bits, so that bright green and blue cover: fixed by the host's contract. 32-bit.
  void BltToAutoOpacity(ABitMap& destination, const ARect& sourceRect, const APoint& at) const;
  /// The whole image, top left corner to top left corner.
  void BltToAutoOpacity(ABitMap& destination) const;
  /// The rectangle form with the rows of `sourceRect` from its last to its first.
  void BltToAutoOpacity_FlipV(ABitMap& destination, const ARect& sourceRect, const APoint& at) const;

  // Sizes (BitMapCrop.cpp). The buffer stays where it is and keeps its size.

  /// Trims a bitmap with negative margins to the logical image; these margins become 0. All depths. Sizes and
  /// margins are corrected without a buffer as well.
  void CropOversized();
  /// Gives up columns on the left and on the right of the stored rectangle of which no pixel's low-order byte
  /// exceeds `threshold`; the margins grow, the logical image keeps its size. Answers the columns given up:
  /// 0, and nothing changes, where that were all of them, and at other depths than 32.
  std::int32_t CropRGBASides(std::int32_t threshold);
  /// The first stored column with a pixel whose low-order byte is not 0; `width` without any. 0 at other
  /// depths than 32.
  std::int32_t GetLeftCropRGBA() const;
  /// Stored columns behind the last such one. The first column never counts: `width` - 1 without any.
  std::int32_t GetRightCropRGBA() const;
  /// Makes the image `n` columns wide. Margins are given up first, a column on the left and one on the right
  /// in turn. If that is not enough, 32-bit stored columns are dropped, evenly spread: of `width` columns,
  /// column i stays where floor((i + 1) n / width) passes floor(i n / width). Such a bitmap that is still
  /// cropped (it has negative margins) breaks to the debugger and loses them. Nothing for an `n` below 1 or
  /// not below `fullWidth`. Without a buffer, and at other depths, margins alone are given up.
  void DownsizeWidth(std::int32_t n);
  /// The same for rows.
  void DownsizeHeight(std::int32_t n);

  // Comparisons (BitMapCompare.cpp): 1 or 0.

  /// Whether depth, sizes, margins and stored pixels agree, and, with a margin, the low 24 bits of the fill
  /// values. Both need a buffer. `colorOnly` leaves the high-order byte of 32-bit pixels out; it means
  /// nothing at depth 8, and at others is a debugging stop and 0.
  std::int32_t IsEqual(const ABitMap& other, bool colorOnly) const;
  /// Whether the logical images agree, however each is cropped: depths, full sizes and all values. Depths 8
  /// and 32; a debugging stop and 0 at others. Both need a buffer.
  std::int32_t IsEqualToFullSize(const ABitMap& other) const;
  /// Whether the images are to count as changed: (fullHeight - 1) x (fullWidth - 1) or more pixels differ. So
  /// nearly every pixel must: fixed by the host's contract. Also 1 where full sizes differ (a debugging stop)
  /// or a buffer is missing. 32-bit.
  std::int32_t FullChanged(const ABitMap& other) const;
  /// Whether a stored pixel that is not opaque (high-order byte below 255) has another colour (low 24 bits)
  /// than the pixel of `reference` at its place in the logical image. `reference` counts only with a buffer,
  /// the same full size, depth 32, and top, left and right margins not larger than this bitmap's; its fill
  /// value stands for pixels that it does not store. Otherwise colours are held against this bitmap's own
  /// fill value. 0 at other depths than 32.
  std::int32_t HasAlphaWithColors(const ABitMap& reference) const;
  /// Whether the images agree but for small shifts. In the image less its last 12 columns and rows, each
  /// pixel must be the same in both, or the images must agree somewhere near: 1 to 11 columns to the right,
  /// or 1 to 10 steps down to the right, or 0 to 9 steps down to the left from 11 columns to the right. 0 for
  /// differing full sizes, a missing buffer, and images below 12 columns or rows. 32-bit.
  std::int32_t Compare(const ABitMap& other) const;

  // Searches in 32-bit values (BitMapSearch.cpp)

  /// The least of `start` and all stored pixels as signed values: width x height of them, 4 bytes apart at
  /// every depth.
  std::int32_t MinValue32(std::int32_t start) const;
  /// The least of `start` and the heights, signed, that this uncropped bitmap has where `colorMap` stores a
  /// pixel with a high-order byte other than 0. With a `mask`, which may be null, only those where its value,
  /// unsigned and its fill value where it stores none, is at least `minMask`. `start` where this is cropped
  /// or a buffer is missing.
  std::int32_t FullMinValue32ColorMap(std::int32_t start, const ABitMap& colorMap, const ABitMap* mask,
                                      std::uint32_t minMask) const;
  /// The same without a mask, where in addition the low 24 bits of `colorMap` and `previous` differ.
  std::int32_t FullMinValue32ColorMapDiffers(std::int32_t start, const ABitMap& colorMap,
                                             const ABitMap& previous) const;

  // Sampling (BitMapSample.cpp)
  //
  // Positions are 16.16, in pixels of the logical image. Any may be given. The `_Wrap` routines fold a
  // position once by the image's size; where that is not enough the pixel is the one that lies there when
  // rows are `fullWidth` pixels apart, the image's first behind its last: column `fullWidth` is column 0 of
  // the row below. A bitmap one pixel wide or high gives that pixel. Pixels that a cropped bitmap does not
  // store have its fill value's low bits; without a buffer all do. Products have 64 bits, shifts round
  // towards minus infinity.

  /// Bilinear value of signed 32-bit pixels. Before the first pixel's position it is the first pixel, from
  /// the last one's on what lies 0xFFFF / 0x10000 of the way between the last two.
  std::int32_t InterpolateZData_Safe(std::int32_t x, std::int32_t y) const;
  /// Bilinear value of unsigned 16-bit pixels; the last column and row blend with the first.
  std::int32_t InterpolateZData_FromAlpha16_Wrap(std::int32_t x, std::int32_t y) const;
  /// The same of unsigned 8-bit pixels in 8.8 units. The left column is scaled by 256 and the right by 257,
  /// so that a uniform image of v gives v x 256 on whole columns and up to v more between them: fixed by the
  /// host's contract.
  std::int32_t InterpolateZData_FromAlpha8_Wrap(std::int32_t x, std::int32_t y) const;
  /// The value at the position and its eight neighbours one pixel away, weighted 4, 2 (edges) and 1
  /// (corners), divided by 16.
  std::int32_t InterpolateZData_9Samples_FromAlpha8_Wrap(std::int32_t x, std::int32_t y) const;
  std::int32_t InterpolateZData_9Samples_FromAlpha16_Wrap(std::int32_t x, std::int32_t y) const;
  /// Red, green and blue of the 64-bit pixel that the position lies in, as raw x, y and z: 0 to 65535.
  APoint3D InterpolateAPoint3D_FromMRGB64_Wrap(std::int32_t x, std::int32_t y) const;
  /// The same of a 32-bit pixel; bytes times 257, so that they span the same range.
  APoint3D InterpolateAPoint3D_FromMRGB_Wrap(std::int32_t x, std::int32_t y) const;
  /// The unit normal that the 64-bit pixel stands for: 0 to 65535 is -1 to 1, with 32768 for 0, then
  /// `APoint3D::FUnified`.
  APoint3D InterpolateNormal_FromMRGB64_Wrap(std::int32_t x, std::int32_t y) const;

  /// Makes `destination` a bitmap of half the full size, rounded down, at depth 32, and fills it with the
  /// filter of `ABitMap_BltRGBAHalfSizentialisedQubic`, in whole pixels, so that images beyond the 16.16
  /// range are halved too. Frees the destination's buffer first; its margins should be 0. -1, and nothing
  /// happens, without a buffer or where a full size is below 2; -1 for no memory.
  std::int32_t CreateHalfSizeBitMap(ABitMap& destination) const;
};

// Eleven fields in the host's order; on a 32-bit build, one word each.
static_assert(offsetof(ABitMap, fullWidth) == 0 && offsetof(ABitMap, depth) == 8);
static_assert(offsetof(ABitMap, left) == 20 && offsetof(ABitMap, top) == 28);
static_assert(offsetof(ABitMap, fillValue) == 36 && offsetof(ABitMap, buffer) == 40);

/// Fills the rectangle `destinationRect` with the 32-bit image reduced to half its size, from the top left
/// corner of `sourceRect` on. Each channel is the sum of 3 x 3 source pixels around every second one,
/// weighted 4 (centre), 2 (edges) and 1 (corners), divided by 16 and rounded down; the high-order byte is 0.
/// Neighbours outside the image are the centre's row or column. Integer parts of the rectangles count; the
/// source's right and bottom do not, and centres outside the image are held at its edge. What lies outside
/// the destination's image is left out. Nothing without a source's buffer. The two bitmaps must not share a
/// buffer.
KSMTH_API void ABitMap_BltRGBAHalfSizentialisedQubic(const ABitMap& source, ABitMap& destination,
                                                     const ARect& sourceRect, const ARect& destinationRect);
