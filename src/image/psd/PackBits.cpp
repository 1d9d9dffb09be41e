#include "image/psd/PackBits.h"

#include <algorithm>

#include "system/Host.h"

namespace psd {
namespace {

constexpr std::size_t kStride = 4;
constexpr std::size_t kLongestRun = 129;  // of two bytes

}  // namespace

std::size_t mostUnpacked(std::size_t size) {
  const std::size_t records = size / 2;
  return records > SIZE_MAX / kLongestRun ? SIZE_MAX : records * kLongestRun;
}

bool unpackBits(Reader& data, unsigned char* to, std::size_t count) {
  while (count > 0) {
    const std::uint8_t header = data.u8();
    const bool copies = header > 0 && header < 128;
    const std::size_t run = header < 128 ? std::size_t{header} + 1 : std::size_t{257} - header;
    const unsigned char* const from = data.take(copies ? run : 1);
    if (from == nullptr) return false;
    if (run > count) Sys_BreakToDebugger();
    const std::size_t kept = std::min(run, count);
    if (copies) {
      for (std::size_t i = 0; i < kept; ++i) to[i * kStride] = from[i];
    } else {
      for (std::size_t i = 0; i < kept; ++i) to[i * kStride] = *from;
    }
    to += kept * kStride;
    count -= kept;
  }
  return data.ok();
}

}  // namespace psd
