#pragma once

#include <cstddef>
#include <cstdint>

#include "KSmthExport.h"

struct ABMap;

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
/// outside a buffer, whatever depths and positions it is given.
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
  /// size already: callers ask for the same size again and again, and set another depth only after `Free`.
  /// Margins and fill value are left alone; for an uncropped bitmap they must be 0 before.
  unsigned char* Allocate(std::int32_t w, std::int32_t h, std::int32_t d);
  /// Makes this a bitmap of which the rectangle from column `l` and row `t` up to, not including, column `r`
  /// and row `b` is stored, with undefined content. Frees any buffer. Answers the new one: null, with all
  /// sizes and margins set nevertheless, for an empty rectangle or where `Allocate` would answer null.
  unsigned char* AllocateCropped(std::int32_t fullW, std::int32_t fullH, std::int32_t t, std::int32_t l,
                                 std::int32_t b, std::int32_t r, std::int32_t d);
  /// Frees the buffer; all other fields stay.
  void Free();
  /// Frees the buffer and zeroes full size and depth. Stored size, margins and fill value stay: callers that
  /// allocate again count on them.
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
  /// first. `depth` must be 32 before the call, by which callers state that they want pixels of this depth,
  /// and so must the host's (a debugging stop otherwise). -1 for that, for a null `map`, one without pixels,
  /// and no memory.
  std::int32_t CreateFullFromABMap(const ABMap* map);
  /// Becomes an uncropped copy of the whole logical image of `source`, of depth 32, which may be this bitmap;
  /// frees its own buffer first. Own fill value and margins stay as they are. -1 for another depth, which
  /// changes nothing, and for no memory.
  std::int32_t CreateUnpaddedFrom(const ABitMap& source);

  // Photoshop documents (psd/FlatWriter.cpp, psd/Loaders.cpp); PSDFile.h has the rest of the subject

  /// Writes this bitmap as a flat PSD file: at depth 32 red, green and blue, with alpha where `withAlpha` is
  /// set; at depth 16 one plane of 16 bits; at any other depth one 8-bit plane for each byte of a pixel, the
  /// last byte's first. Answers what `SaveBMapPlanes` answers. `ignored` is not read.
  std::int32_t SavePSD(const char* path, bool withAlpha, std::int32_t ignored = 0) const;
  /// Writes a flat PSD file of the full size of this bitmap, with `planeCount` planes of `bits` (8 or 16) per
  /// value: plane i is byte `channels[i]` of the pixels of `planes[i]`, as `SaveBMap_WritePlaneToBuffer`
  /// makes it. The colour mode is RGB for 3 and 4 planes, else grayscale at 16 bits and multichannel at 8.
  ///
  /// 0 on success. 0 as well, and no file, where there is no memory for the whole file or it would exceed
  /// 2^31 - 1 bytes: callers take a picture that is too large for nothing to save. -1 where the file cannot
  /// be written, which leaves behind what `SaveToFile` tells, and for null bitmaps.
  std::int32_t SaveBMapPlanes(const char* path, std::int32_t planeCount, std::int32_t bits,
                              const ABitMap* const* planes, const std::int32_t* channels) const;
  /// Writes one plane to `to` and answers the position past it; a null `to` writes nothing and answers the
  /// number of bytes as a pointer. `channel` is the offset of a byte in 4-byte pixels, 0 to 3; another one is
  /// a debugging stop and taken modulo 4.
  ///
  /// Pixels are taken 4 bytes apart at every depth, which the layout of existing files relies on; a byte past
  /// the buffer's end reads as the fill byte, the byte of `fillValue` (big-endian) at offset `channel`.
  /// `bits` 8: the full logical image, one byte a pixel, fill bytes around the stored rectangle. `bits` 16:
  /// the stored rectangle alone, two bytes a pixel from offset `channel` on. Other `bits`: nothing, after a
  /// debugging stop. `rowCounts`, where not null, gets the bytes of each of the `height` stored rows as
  /// 16-bit big-endian numbers. `flag` is not read.
  unsigned char* SaveBMap_WritePlaneToBuffer(unsigned char* to, std::int32_t bits, std::uint16_t* rowCounts,
                                             std::int32_t channel, std::int32_t flag = 0) const;
  /// Becomes the merged image of a PSD file: 32 bits, of the document's size. The first channels of the file
  /// become red, green, blue and, where `withAlpha` is set, alpha, whatever the file's colour mode says they
  /// are; bytes without a channel are 0. Values are taken as 8-bit ones; neither signature, version, depth
  /// nor mode are looked at, since the host's own files are not always true to them.
  ///
  /// `data` is the whole file in a block of `MY_MEM_MALLOC`, such as `LoadFromFile` gives, and stays the
  /// caller's; null loads the file at `path`, which is not read otherwise. `size`, where positive, says how
  /// many bytes of `data` are the file, and then `data` may be any memory.
  ///
  /// 0, or -1 for a file that is missing, empty, cut short, without a channel or too large for memory, with
  /// this bitmap as it was. Success frees the own buffer and leaves margins and fill value, as `Allocate`.
  std::int32_t LoadPSD(const char* path, bool withAlpha, const void* data = nullptr, std::int32_t size = 0);
  /// The same for the pixels of the file's first layer, which is taken to cover the document; a file without
  /// layers is loaded as by `LoadPSD` without alpha. Channels count in the order in which the file has them,
  /// not by their ids. `layerNumber` is not read. Of a file with a negative layer count, the way to say that
  /// the merged image has transparency, no layer records are stepped over: the host writes no such file.
  std::int32_t LoadPSDLayer(const char* path, std::int32_t layerNumber, bool withAlpha);

  // Planes to and from byte buffers (BitMapPlanes.cpp)
  //
  // A plane is one byte a pixel, rows from the top. Writers answer the position past the last byte written; a
  // bitmap whose depth they do not take is refused by answering `to`. A compression word is the two zero
  // bytes that say "raw" in front of a channel of a PSD file. A *padded* plane is fullWidth x fullHeight
  // bytes, with what the bitmap does not store filled in and what it stores outside the image left out; an
  // unpadded one is the stored rectangle.

  /// Writes the unpadded planes red, green and blue, and alpha where `withAlpha` is set, each behind a
  /// compression word; with `oneWord` the first plane alone has one, as merged image data of a PSD file.
  /// Needs 24 bits per pixel or more, with alpha more than that. Pixels are taken 4 bytes apart at every
  /// depth, which the layout of existing files relies on; bytes past the end of a 24-bit buffer read as 0.
  /// `ignored` is not read.
  unsigned char* WriteRGBToBuffer(unsigned char* to, std::int32_t ignored, bool withAlpha,
                                  bool oneWord) const;
  /// Writes the bytes of an 8-bit bitmap, padded with `fill` or unpadded, behind a compression word where
  /// `word` is set.
  unsigned char* Write8ToBuffer(unsigned char* to, unsigned char fill, bool padded, bool word) const;
  /// Writes a compression word and a mask: 255 for each stored pixel whose 32-bit value, signed, is less than
  /// `threshold`, and 0 for any other; `fill` pads. `bits` other than 8: the word alone. Needs 32 bits per
  /// pixel or more.
  unsigned char* WriteAlphaToBuffer(unsigned char* to, long threshold, unsigned char fill, std::int32_t bits,
                                    bool padded) const;
  /// Writes the padded plane of one channel with 0 in the margins, and leaves `gap` bytes alone after each
  /// row that has stored pixels in the image, so that channels can be interleaved row by row. Takes channels
  /// 0 to 3 of 32-bit and 0 to 2 of 24-bit bitmaps. `ignored` is not read.
  unsigned char* WriteOneRGBAOffsetToBuffer(unsigned char* to, std::int32_t ignored, std::int32_t channel,
                                            std::int32_t gap) const;

  /// Reads channel data as PSD files have them into one channel of the stored pixels. `data` is `size` bytes:
  /// a big-endian 16-bit compression code, then
  /// - 0, raw: exactly width x height bytes;
  /// - 1, run-length: a byte count of 2 bytes for every row, which are not looked at, then PackBits records.
  /// A
  ///   header byte n above 0 stands before n + 1 bytes; any other, as a signed number, before one byte that
  ///   is meant 1 - n times. There is no header that does nothing: 128 repeats 129 times.
  ///
  /// -1, after a debugging stop: a raw size that is not right, which writes nothing; a record that runs past
  /// the end of the data, where the records before it have been written; another code; a channel that pixels
  /// of this depth do not have; no buffer. Bytes beyond the last pixel are dropped, after a debugging stop. A
  /// `size` of 2 is a channel without data: 0, and nothing changes.
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
};

// Eleven fields in the host's order; on a 32-bit build, one word each.
static_assert(offsetof(ABitMap, fullWidth) == 0 && offsetof(ABitMap, depth) == 8);
static_assert(offsetof(ABitMap, left) == 20 && offsetof(ABitMap, top) == 28);
static_assert(offsetof(ABitMap, fillValue) == 36 && offsetof(ABitMap, buffer) == 40);
