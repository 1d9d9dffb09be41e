// The input as a PSD file, through the loaders and through a decoder that goes byte by byte: both have to
// come to the same picture, or to none.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "EveryPart.h"
#include "Require.h"
#include "ScratchFolder.h"
#include "image/BitMap.h"

// An input is small work: every part is always done.
bool fuzz::gEveryPart = true;

namespace {

using fuzz::require;

struct CutShort {};

/// The file from its first byte to its last.
class Bytes {
 public:
  explicit Bytes(std::string_view file) : file_(file) {}

  std::uint64_t number(int bytes) {
    std::uint64_t value = 0;
    for (; bytes > 0; --bytes) value = value << 8 | byte();
    return value;
  }
  unsigned char byte() {
    skip(1);
    return static_cast<unsigned char>(file_[at_ - 1]);
  }
  void skip(std::uint64_t count) {
    if (count > file_.size() - at_) throw CutShort();
    at_ += static_cast<std::size_t>(count);
  }

 private:
  std::string_view file_;
  std::size_t at_ = 0;
};

struct PlainPicture {
  std::uint64_t channels = 0, height = 0, width = 0;
  std::string pixels;
};

/// Up to the length of the layer and mask information.
PlainPicture readFront(Bytes& in) {
  PlainPicture picture;
  in.skip(12);
  picture.channels = in.number(2);
  picture.height = in.number(4);
  picture.width = in.number(4);
  in.skip(4);
  in.skip(in.number(4));
  in.skip(in.number(4));
  return picture;
}

void decodeChannel(Bytes& in, bool packed, std::size_t byte, std::string& pixels) {
  std::size_t at = byte;
  const auto put = [&](unsigned char value) {
    if (at < pixels.size()) pixels[at] = static_cast<char>(value);
    at += 4;
  };
  while (at < pixels.size()) {
    if (!packed) {
      put(in.byte());
      continue;
    }
    const int header = static_cast<signed char>(in.byte());
    const unsigned char value = header > 0 ? 0 : in.byte();
    for (int i = header > 0 ? header : -header; i >= 0; --i) put(header > 0 ? in.byte() : value);
  }
}

/// `next` answers whether the channel that follows is packed and moves to its bytes.
template <class Next>
PlainPicture decode(Bytes in, PlainPicture picture, bool withAlpha, std::size_t fileSize, Next next) {
  const std::uint64_t taken = picture.channels < 4 || withAlpha ? picture.channels : 3;
  if (taken == 0 || picture.height > INT32_MAX || picture.width > INT32_MAX) throw CutShort();
  // Two bytes stand for 129 at most.
  if (picture.height * picture.width > 65 * fileSize) throw CutShort();
  picture.pixels.assign(static_cast<std::size_t>(4 * picture.height * picture.width), '\0');
  constexpr std::size_t kByte[] = {1, 2, 3, 0};
  for (std::size_t i = 0; i < 4 && i < taken; ++i) decodeChannel(in, next(in), kByte[i], picture.pixels);
  return picture;
}

PlainPicture decodeMerged(std::string_view file, bool withAlpha) {
  Bytes in(file);
  const PlainPicture front = readFront(in);
  in.skip(in.number(4));
  const bool packed = in.number(2) != 0;
  if (packed) in.skip(front.channels * front.height * 2);
  return decode(in, front, withAlpha, file.size(), [packed](Bytes&) { return packed; });
}

PlainPicture decodeLayer(std::string_view file, bool withAlpha) {
  Bytes in(file);
  const PlainPicture front = readFront(in);
  if (front.channels == 0) throw CutShort();
  if (in.number(4) == 0 || in.number(4) == 0) return decodeMerged(file, false);
  const auto layers = static_cast<std::int16_t>(in.number(2));
  if (layers == 0) return decodeMerged(file, false);
  for (int i = 0; i < layers; ++i) {
    in.skip(16);
    in.skip(6 * in.number(2));
    in.skip(12);
    in.skip(in.number(4));
  }
  return decode(in, front, withAlpha, file.size(), [&front](Bytes& channel) {
    const bool packed = channel.number(2) != 0;
    if (packed) channel.skip(front.height * 2);
    return packed;
  });
}

template <class Decode>
std::optional<PlainPicture> plainly(Decode work) {
  try {
    return work();
  } catch (const CutShort&) {
    return std::nullopt;
  }
}

void requireSame(std::int32_t result, ABitMap& map, const std::optional<PlainPicture>& plain) {
  require(result == (plain ? 0 : -1), "a loader takes what a plain decoder takes, and no more");
  if (plain) {
    require(map.width == static_cast<std::int32_t>(plain->width) &&
                map.height == static_cast<std::int32_t>(plain->height),
            "the picture's size");
    const std::string_view pixels(reinterpret_cast<const char*>(map.buffer), plain->pixels.size());
    require(pixels == plain->pixels, "the picture's pixels");
  }
  map.Free();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  const std::string path = fuzz::scratchFolder() + "/plain.psd";
  fuzz::writeFile(path, file);
  for (const bool withAlpha : {false, true}) {
    ABitMap merged;
    const std::int32_t loaded = merged.LoadPSD(nullptr, withAlpha, data, static_cast<std::int32_t>(size));
    requireSame(loaded, merged, plainly([&] { return decodeMerged(file, withAlpha); }));
    ABitMap layer;
    const std::int32_t layerLoaded = layer.LoadPSDLayer(path.c_str(), 0, withAlpha);
    requireSame(layerLoaded, layer, plainly([&] { return decodeLayer(file, withAlpha); }));
  }
  return 0;
}
