#pragma once

#include <cstddef>

#include "image/psd/Cursor.h"

/// Run-length channel data as PSD files have them: records of a header byte n, taken as a signed number.
/// Above 0 the next n + 1 bytes are copied; otherwise the next byte is repeated 1 - n times, -128 included.
/// No header does nothing: fixed by the host's contract.
namespace psd {

/// Most bytes that `size` bytes of run-length data stand for.
std::size_t mostUnpacked(std::size_t size);

/// Where the values of a channel go: to `to` and every `stride`-th byte from there, `room` of them. What is
/// too much is dropped, after a debugging stop.
class ChannelFiller {
 public:
  ChannelFiller(unsigned char* to, std::size_t stride, std::size_t room)
      : to_(to), stride_(stride), room_(room) {}

  std::size_t room() const { return room_; }
  void copy(const unsigned char* from, std::size_t count);
  void repeat(unsigned char value, std::size_t count);

 private:
  std::size_t take(std::size_t count);

  unsigned char* to_;
  std::size_t stride_;
  std::size_t room_;
};

/// Reads one record. False where the data end before it does.
bool unpackRecord(Reader& data, ChannelFiller& filler);

}  // namespace psd
