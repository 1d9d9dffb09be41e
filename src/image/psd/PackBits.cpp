#include "image/psd/PackBits.h"

#include <algorithm>

#include "system/Host.h"

namespace psd {

std::size_t mostUnpacked(std::size_t size) {
  constexpr std::size_t kLongestRun = 129;  // of two bytes
  const std::size_t records = size / 2;
  return records > SIZE_MAX / kLongestRun ? SIZE_MAX : records * kLongestRun;
}

/// As many of `count` as there is room for, which is then less.
std::size_t ChannelFiller::take(std::size_t count) {
  if (count > room_) Sys_BreakToDebugger();
  const std::size_t taken = std::min(count, room_);
  room_ -= taken;
  return taken;
}

void ChannelFiller::copy(const unsigned char* from, std::size_t count) {
  count = take(count);
  for (std::size_t i = 0; i < count; ++i) to_[i * stride_] = from[i];
  to_ += count * stride_;
}

void ChannelFiller::repeat(unsigned char value, std::size_t count) {
  count = take(count);
  for (std::size_t i = 0; i < count; ++i) to_[i * stride_] = value;
  to_ += count * stride_;
}

bool unpackRecord(Reader& data, ChannelFiller& filler) {
  const std::uint8_t header = data.u8();
  const bool copies = header > 0 && header < 128;
  const std::size_t run = header < 128 ? std::size_t{header} + 1 : std::size_t{257} - header;
  const unsigned char* const from = data.take(copies ? run : 1);
  if (from == nullptr) return false;
  copies ? filler.copy(from, run) : filler.repeat(*from, run);
  return true;
}

}  // namespace psd
