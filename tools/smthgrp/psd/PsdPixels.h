#pragma once

#include <string>

#include "image/BitMap.h"
#include "smthgrp/psd/PsdDocument.h"

namespace smthgrp {

class OwnedBitMap : public ABitMap {
 public:
  OwnedBitMap() = default;
  OwnedBitMap(const OwnedBitMap&) = delete;
  OwnedBitMap& operator=(const OwnedBitMap&) = delete;
  ~OwnedBitMap() { Free(); }
};

/// Throws a Failure about `path`, the document's file, where the document's pixels are of a depth or a colour
/// mode that cannot be read: what the channels of other modes mean the library does not know.
void requireReadablePixels(const std::string& path, const PsdDocument& document);

/// True where the pixels of the document are grey ones: two colours at most.
bool isGrey(const PsdDocument& document);

/// True where the merged image's first channel after the colours is its transparency. With layers the file
/// says so; without, a saved selection cannot be told from it, and the library's own files have transparency.
bool mergedHasAlpha(const PsdDocument& document);

/// Makes `map` the merged image: its first channels in red, green, blue and alpha. Throws a Failure about
/// `path`, the document's file, where it cannot be read.
void readMerged(const std::string& path, const PsdDocument& document, ABitMap& map);

/// False for a layer without pixels, such as a folder of layers, or one that has only a mask. Throws a
/// Failure for one whose pixels are compressed in a way that cannot be read.
bool hasPixels(const std::string& path, const PsdDocument& document, const PsdDocument::Layer& layer);

/// Makes `map` the pixels of the layer's own rectangle, grey ones as red, green and blue. True where it has
/// transparency. Throws a Failure about `path`, the document's file, where they cannot be read.
bool readLayer(const std::string& path, const PsdDocument& document, const PsdDocument::Layer& layer,
               ABitMap& map);

}  // namespace smthgrp
