#pragma once

#include <cstdint>

/// Files by descriptor: the calls of the platform with interruptions and partial transfers taken care of.
namespace platform {

/// A descriptor of a file or a device, not inherited by other programs; -1 where there is none to have. Does
/// not wait for the other end of a pipe.
int openFile(const char* path, bool write);
/// Creates an empty file; false where there is something of that name already, or it cannot be done.
bool createFile(const char* path);

enum class Closed {
  kYes,
  kWithLoss,  ///< Closed, and the disk would not take data written before.
  kNotOpen,   ///< The descriptor is not one.
};
Closed closeFile(int descriptor);

/// Size in bytes, -1 where it cannot be told.
std::int64_t size(int descriptor);
/// Cuts the file or extends it with zeros; the position stays.
bool setSize(int descriptor, std::int64_t size);
/// Current position, -1 where there is none.
std::int64_t position(int descriptor);
bool setPosition(int descriptor, std::int64_t position);

/// Moves up to `count` bytes and answers how many; fewer only at the end of the file, on an error, or where
/// the position would pass 2^31 - 1. 0 for a count below 1 and a null buffer.
std::int32_t readBytes(int descriptor, void* buffer, std::int32_t count);
std::int32_t writeBytes(int descriptor, const void* buffer, std::int32_t count);

}  // namespace platform
