#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "image/PSDFile.h"
#include "system/Memory.h"

// PSD files put together and taken apart byte by byte, without a line of the library's.

inline std::string be(std::uint64_t value, int bytes) {
  std::string text;
  for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i) & 0xFF);
  return text;
}
inline std::string be16(std::uint64_t value) {
  return be(value, 2);
}
inline std::string be32(std::uint64_t value) {
  return be(value, 4);
}
inline std::uint32_t numberAt(const std::string& bytes, std::size_t at, int count) {
  std::uint32_t value = 0;
  for (int i = 0; i < count; ++i) {
    value = value << 8 | static_cast<std::uint8_t>(bytes.at(at + static_cast<std::size_t>(i)));
  }
  return value;
}
inline std::string withLength(const std::string& content) {
  return be32(content.size()) + content;
}
inline std::string padTo(std::string bytes, std::size_t unit) {
  while (bytes.size() % unit != 0) bytes += '\0';
  return bytes;
}

inline std::string headerBytes(unsigned channels, unsigned height, unsigned width, unsigned depth = 8,
                               unsigned mode = 3) {
  return "8BPS" + be16(1) + std::string(6, '\0') + be16(channels) + be32(height) + be32(width) + be16(depth) +
         be16(mode);
}

/// An uncropped bitmap, freed at its end.
class TestMap : public ABitMap {
 public:
  TestMap() = default;
  TestMap(int w, int h, int d, unsigned seed) {
    Allocate(w, h, d);
    Random random(seed);
    for (std::int32_t i = 0; i < BufferBytes(); ++i) buffer[i] = static_cast<unsigned char>(random());
  }
  TestMap(const TestMap&) = delete;
  TestMap& operator=(const TestMap&) = delete;
  ~TestMap() { Free(); }

  unsigned at(std::size_t i) const { return i < static_cast<std::size_t>(BufferBytes()) ? buffer[i] : 0; }
  std::string bytes() const {
    return {reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(BufferBytes())};
  }
};

/// The pixels of a file by the rules of the two loaders, in the plainest way: "" for a failure.
class ReferenceLoader {
 public:
  static std::string load(const std::string& file, bool layer, bool withAlpha) {
    try {
      ReferenceLoader loader(file);
      return layer ? loader.firstLayer(withAlpha) : loader.merged(withAlpha);
    } catch (const std::out_of_range&) {
      return "";
    }
  }

 private:
  explicit ReferenceLoader(const std::string& file) : file_(file) {
    channels_ = numberAt(file, 12, 2);
    height_ = numberAt(file, 14, 4);
    width_ = numberAt(file, 18, 4);
    std::uint64_t at = 26;
    at += 4 + number(at, 4);
    at += 4 + number(at, 4);
    section_ = at;
  }

  std::uint32_t number(std::uint64_t at, int bytes) const {
    if (at > file_.size()) throw std::out_of_range("number");
    return numberAt(file_, static_cast<std::size_t>(at), bytes);
  }
  std::uint8_t next() {
    const auto byte = static_cast<std::uint8_t>(number(at_, 1));
    ++at_;
    return byte;
  }

  void decode(std::string& pixels, std::size_t channel, bool packed) {
    static constexpr std::size_t kByte[] = {1, 2, 3, 0};
    std::size_t p = 0;
    const auto put = [&](std::uint8_t value) {
      if (p < pixels.size() / 4) pixels[4 * p + kByte[channel]] = static_cast<char>(value);
      ++p;
    };
    while (p < pixels.size() / 4) {
      if (!packed) {
        put(next());
        continue;
      }
      const int n = static_cast<std::int8_t>(next());
      if (n > 0) {
        for (int i = 0; i < n + 1; ++i) put(next());
      } else {
        const std::uint8_t value = next();
        for (int i = 0; i < 1 - n; ++i) put(value);
      }
    }
  }

  std::size_t taken(bool withAlpha) const { return std::min(channels_, withAlpha ? 4U : 3U); }
  std::string blank() const {
    // No file of these tests can fill more.
    if (taken(true) == 0 || std::uint64_t{width_} * height_ > 100000) throw std::out_of_range("size");
    return std::string(std::size_t{width_} * height_ * 4, '\0');
  }

  std::string merged(bool withAlpha) {
    std::string pixels = blank();
    at_ = section_ + 4 + number(section_, 4);
    const bool packed = number(at_, 2) != 0;
    at_ += 2;
    if (packed) at_ += std::uint64_t{channels_} * height_ * 2;
    if (at_ > file_.size()) throw std::out_of_range("data");
    for (std::size_t i = 0; i < taken(withAlpha); ++i) decode(pixels, i, packed);
    return pixels.empty() ? "empty" : pixels;
  }

  std::string firstLayer(bool withAlpha) {
    const std::uint32_t sectionLength = number(section_, 4);
    if (section_ + 4 + sectionLength > file_.size()) throw std::out_of_range("section");
    if (sectionLength == 0) return merged(false);
    const std::uint32_t infoLength = number(section_ + 4, 4);
    if (section_ + 8 + infoLength > file_.size()) throw std::out_of_range("layer info");
    if (infoLength == 0) return merged(false);
    const auto count = static_cast<std::int16_t>(number(section_ + 8, 2));
    if (count == 0) return merged(false);
    std::string pixels = blank();
    at_ = section_ + 10;
    for (int i = 0; i < count; ++i) {
      at_ += 16;
      at_ += 2 + std::uint64_t{6} * number(at_, 2) + 12;
      at_ += 4 + std::uint64_t{number(at_, 4)};
      if (at_ > file_.size()) throw std::out_of_range("record");
    }
    for (std::size_t i = 0; i < taken(withAlpha); ++i) {
      const bool packed = number(at_, 2) != 0;
      at_ += 2;
      if (packed) at_ += std::uint64_t{height_} * 2;
      if (at_ > file_.size()) throw std::out_of_range("rows");
      decode(pixels, i, packed);
    }
    return pixels.empty() ? "empty" : pixels;
  }

  const std::string& file_;
  std::uint32_t channels_;
  std::uint32_t height_;
  std::uint32_t width_;
  std::uint64_t section_;
  std::uint64_t at_ = 0;
};
