#pragma once

#include <cstdint>
#include <vector>

#include "KSmthExport.h"
#include "image/BitMap.h"
#include "system/Files.h"
#include "system/WholeFile.h"

// Photoshop documents (PSD, version 1) beside what `ABitMap` itself saves and loads: the layered writer, the
// records of the format with the routines that lay them out, and routines that read a file piece by piece.
// Names of sections and records are those of the published format. All numbers in a file are big-endian; all
// numbers in the records here are native.
//
// Files are written whole, by `SaveToFile`: where that fails the call answers -1, nothing stays open, and the
// path holds what `SaveToFile` leaves behind, a file that was there before or the beginning of the new one.

/// Colour modes of the format. The writers use grayscale, RGB and multichannel.
enum class PSDFileMode : std::uint16_t {
  bitmap = 0,
  grayscale = 1,
  indexed = 2,
  rgb = 3,
  cmyk = 4,
  multichannel = 7,
  duotone = 8,
  lab = 9,
};

/// The file header and the length of the section behind it: 30 bytes of a file.
struct PSDHeader {
  char signature[4];  ///< "8BPS"
  std::uint16_t version;
  std::uint8_t reserved[6];
  std::uint16_t channels;
  std::uint32_t rows;
  std::uint32_t columns;
  std::uint16_t depth;  ///< bits per channel
  PSDFileMode mode;     ///< may have a value without a name when read from a file
  std::uint32_t colorModeDataLength;
};

/// The header that the library saw last in one of three places: the first file of `ABitMap::LoadPSD` (be it
/// one without layers that `ABitMap::LoadPSDLayer` was asked for), the first of `ABitMap::LoadPSDLayer`, and
/// every file that it writes. Nothing depends on it.
KSMTH_API extern PSDHeader gPSDHeader;

/// Fills `header`, where it is not null, for a file of version 1 without colour mode data.
KSMTH_API void PSDHeaderInit(PSDHeader* header, std::uint32_t columns, std::uint32_t rows,
                             std::uint16_t depth, std::uint16_t channels, PSDFileMode mode);

/// Writes an RGB document of 8 bits with `layerCount` layers of the full size of the first, and `composite`
/// as its merged image, to `path`. The first layer is the background and has no transparency. Without a
/// `mask` the others are shading layers: hard light, opaque, and the document has image resources. With a
/// `mask` they blend normally, are opaque where the mask's pixel as a signed 32-bit value is less than
/// `threshold` and transparent elsewhere, and the document has no image resources: fixed by the host's
/// contract.
///
/// All bitmaps are read as uncropped ones of 32 bits and of the first layer's full size, which is not
/// checked; what their buffers do not hold reads as their fill value. 0, or -1: the first layer's depth is
/// not 32 (after a debugging stop), the layer count is not in 1 to 32767, a bitmap other than the mask is
/// null, there is no memory or the file would exceed 2^31 - 1 bytes, or the file cannot be written.
KSMTH_API std::int32_t SavePSDMultiLayered(const char* path, const ABitMap* const* layers,
                                           std::int32_t layerCount, const ABitMap* composite,
                                           const ABitMap* mask, std::int32_t threshold);

// Documents built from records (psd/RecordHeader.cpp, psd/LayerRecords.cpp). A document is, in this order:
// `PSDBufferWriteHeader`, `WriteResourceDataBlock`, `PSDLayerMaskInfo::WriteSectionToBuffer` and the merged
// image. To a null position, all of them write nothing and answer null.

/// Lays `header` out in file order and answers the position past the 30 bytes.
KSMTH_API unsigned char* PSDBufferWriteHeader(unsigned char* to, const PSDHeader& header);

/// Bytes that `WriteResourceDataBlock` writes. Names are those of alpha channels, of which 255 characters
/// count; `names` may be null.
KSMTH_API std::int32_t ResourceDataBlockSize(std::int32_t layerCount, const char* const* names,
                                             std::int32_t nameCount);
/// Writes the image resources section, its length first, and answers the position past it. `resolution` is in
/// pixels per inch, 0 to 32767; `targetLayer` is the layer selected when the file is opened: its low-order
/// byte is written where it is below 256 (0xFF for -1), else 0; of `lastLayerId` + 1 the low-order byte is
/// written. These values stay in the library's template, which later calls overwrite in turn.
KSMTH_API unsigned char* WriteResourceDataBlock(unsigned char* to, std::int32_t layerCount,
                                                std::int32_t lastLayerId, std::int32_t targetLayer,
                                                const char* const* names, std::int32_t nameCount,
                                                double resolution);

/// A channel of a layer record.
struct PSDChannelInfo {
  std::uint16_t id;      ///< 0, 1, 2 colour; 65535 (-1) transparency; 65534 (-2) layer mask
  std::uint32_t length;  ///< of the channel's image data with the compression code, in bytes
};

/// The layer mask data of a layer record.
struct PSDLayerMaskData {
  std::int32_t top, left, bottom, right;
  std::uint8_t defaultColor;  ///< outside the rectangle: 0 or 255
  std::uint8_t flags;
};

/// One layer record. Refers to bitmaps without owning them.
struct KSMTH_API PSDLayerRecord {
  static constexpr std::uint16_t kMaxChannels = 5;

  std::int32_t top = 0, left = 0, bottom = 0, right = 0;
  std::uint16_t channelCount = 0;  ///< of a record read from a file, may exceed `kMaxChannels`
  PSDChannelInfo channels[kMaxChannels] = {};
  char blendSignature[4] = {'8', 'B', 'I', 'M'};
  char blendKey[4] = {'n', 'o', 'r', 'm'};
  std::uint8_t opacity = 255;
  std::uint8_t clipping = 0;
  std::uint8_t flags = 0;
  bool hasMask = false;
  PSDLayerMaskData mask = {};       ///< where `hasMask` is set
  char name[256] = "";              ///< in the encoding of the file
  std::int32_t layerNumber = 0;     ///< 0 is the shading layer
  std::uint16_t depth = 8;          ///< bits per channel
  const ABitMap* bitmap = nullptr;  ///< of the colour channels and the transparency
  const ABitMap* maskBitmap = nullptr;

  /// Bytes of the record in a file, without channel image data.
  std::int32_t ComputeFileDataSize() const;
  /// Writes the record with at most `kMaxChannels` channels and answers the position past it.
  unsigned char* WriteToBuffer(unsigned char* to) const;
};

/// The layer and mask information section of a document.
class KSMTH_API PSDLayerMaskInfo {
 public:
  explicit PSDLayerMaskInfo(std::uint16_t layerCount) : layers(layerCount) {}

  std::vector<PSDLayerRecord> layers;

  std::int32_t layerCount() const { return static_cast<std::int32_t>(layers.size()); }

  /// Fills record `recordIndex` for the stored rectangle of `bitmap`, with `channelCount` channels (red,
  /// green, blue, the others transparency) of `depth` bits, and one more for `maskBitmap` where it is not
  /// null; 5 at most. Channel data that would exceed 2^32 - 1 bytes get that length, which no file can hold.
  /// Layer number 0 is the shading layer: hard light, and its name tells so. Without a `name` another layer
  /// is "Layer " and the last two digits of its number, so that 100 is "Layer 0" and 107 is "Layer 7"; of a
  /// negative number the digits are those of the number plus 2^32. The bitmaps must live until the record is
  /// written; a null `bitmap` makes an empty layer. 0 for an index out of range and a depth below 8, which
  /// change nothing, else 1.
  std::int32_t InitLayerInfo(std::int32_t recordIndex, std::int32_t layerNumber, std::uint16_t channelCount,
                             std::uint16_t depth, const ABitMap* bitmap, const ABitMap* maskBitmap,
                             const char* name);

  /// Bytes of the channel image data of all layers.
  std::int64_t GetLayerImageSize() const;
  /// Bytes of all layer records.
  std::int64_t ComputeHeaderFileDataSize() const;
  /// Writes all layer records and then the channel image data, raw, and answers the position past them. `to`
  /// needs the sum of the two sizes above. Colour values come from the
  /// records' bitmaps: of 8 and 16 bits for all channels alike, of 24, 32 and 64 bits by channel; 8-bit
  /// values widen so that 255 becomes 65535. Mask values are the low-order byte of a mask's pixel. Data
  /// are 0 past the end of a bitmap, in the odd last byte of a 16-bit channel, in channels of other ids than
  /// those of `PSDChannelInfo`, and in records of other depths than 8 and 16.
  unsigned char* WriteToBuffer(unsigned char* to) const;

  /// Bytes of the whole section: its two lengths, the layer count, what `WriteToBuffer` writes, and a zero
  /// where that makes the length even.
  std::int64_t ComputeSectionSize() const;
  /// Writes the whole section and answers the position past it.
  unsigned char* WriteSectionToBuffer(unsigned char* to) const;
};

// Reading piece by piece (psd/Pieces.cpp). The results of the calls that answer an integer are 1 for success
// and 0 for failure unless said; a null argument is a failure. None goes beyond the end of what it reads.

/// Reads the header. 0 where 30 bytes are not there, which leaves `header` alone, and for another signature
/// or version.
KSMTH_API std::int32_t PSDFileReadHeader(FileSpec* file, PSDHeader* header);
/// Skips a section that begins with its length. 0 where the length cannot be read. A section that ends past
/// the end of the file leaves it at its end.
KSMTH_API std::int32_t PSDFileSkipSection(FileSpec* file);
/// Reads the length of a section, 0 where it is not there.
KSMTH_API std::uint32_t PSDFileReadSectionSize(FileSpec* file);
/// Reads the merged image data of a document of `rows` x `columns` pixels with `channels` channels, of which
/// the first `colorChannels` are skipped and the next one becomes `bitmap`: 8 bits, uncropped, its fill value
/// as it was. 0, with `bitmap` as it was, for a compression code that is not there or neither raw nor
/// run-length (after a debugging stop). 0 with its buffer freed, all other fields as they were, for data that
/// are cut short or do not make up the channel, and for no memory.
KSMTH_API std::int32_t PSDFileSkipCompChannelsAndGetAlpha(FileSpec* file, std::int32_t rows,
                                                          std::int32_t columns, std::int32_t channels,
                                                          std::int32_t colorChannels, ABitMap* bitmap);
/// Collects the alpha channel names of an image resources section, `size` bytes without its length, each with
/// a NUL behind it. Answers how many there were room and data for, `maxNames` at most.
KSMTH_API std::int32_t ExtractResourceDataBlockAlphaNames(const void* data, std::int32_t size,
                                                          char (*names)[256], std::int32_t maxNames);

/// A stretch of bytes.
struct PSDExtent {
  std::int32_t position;
  std::int32_t size;
};
/// Parses the layer record at `*position` of `data`, `size` bytes from its beginning, and moves `*position`
/// past it. `additionalInfo`, where not null, gets where the additional layer information lies in `data`.
/// Signature and blend key are not checked; no bitmaps are set, and the layer number is that of an "lyid"
/// block, else 0. 0 where the record does not end within `data`, which changes nothing.
KSMTH_API std::int32_t PSDLayerRecordParse(const void* data, std::int32_t* position, PSDLayerRecord* record,
                                           std::int32_t size, PSDExtent* additionalInfo = nullptr);
