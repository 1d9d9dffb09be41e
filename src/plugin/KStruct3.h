#pragma once

#include <cstddef>
#include <cstdint>

#include "HostPointer.h"
#include "KSmthExport.h"

// The host's records, read and written where the host keeps them and never made or freed here. The offsets
// are the host's and part of the interface; what lies between the named fields is the host's business.
// Numbers have the byte order of the machine: host and library share a process.

/// A block of host memory.
struct KSMTH_API AMem {
  static constexpr std::uint16_t kSwappedOut = 0x0008;  ///< of `stateFlags`: data compressed or swapped out

  std::byte host0[32];
  std::uint16_t stateFlags;
  std::byte host34[6];
  HostPointer<unsigned char> data;
  std::byte host44[30];
  std::int16_t offlineCount;  ///< not 0: the block is not available

  /// True unless the block is offline, or compressed or swapped out.
  bool IsAvailable() const;
};
static_assert(offsetof(AMem, stateFlags) == 32);
static_assert(offsetof(AMem, data) == 40);
static_assert(offsetof(AMem, offlineCount) == 74);

/// An array of elements of one size, kept in one block.
struct AMemArray {
  std::byte host0[40];
  HostPointer<AMem> block;
  std::int32_t count;  ///< elements
  std::byte host48[44];
  std::int32_t elementSize;  ///< bytes

  /// The first byte of the elements; null without a block or without data in it.
  unsigned char* elements() const { return block ? block->data.get() : nullptr; }
};
static_assert(offsetof(AMemArray, block) == 40);
static_assert(offsetof(AMemArray, count) == 44);
static_assert(offsetof(AMemArray, elementSize) == 92);

/// A mesh: the part that the masks need. Every array may be missing (null).
struct AMash3D {
  std::byte host0[100];
  HostPointer<AMemArray> pointData;
  std::byte host104[8];
  HostPointer<AMemArray> vertexAttributes;  ///< 8 bytes a vertex; byte 2 is its mask value
  HostPointer<AMemArray> groupNames;        ///< each element begins with the group's NUL-terminated name
};
static_assert(offsetof(AMash3D, pointData) == 100);
static_assert(offsetof(AMash3D, vertexAttributes) == 112);
static_assert(offsetof(AMash3D, groupNames) == 116);

/// The whole mesh, a longer `AMash3D`: one pointer serves for both.
struct AMash3DDXF : AMash3D {
  std::byte host120[288];
  HostPointer<AMemArray> subdivisionData;
  std::byte host412[120];
  HostPointer<AMemArray> faceAttributes;  ///< 4 bytes a face; byte 2 holds two crease bits for each edge
  HostPointer<AMemArray> secondPointData;
  std::byte host540[12];
  HostPointer<AMemArray> secondAttributeData;
  std::byte host556[28];
  float importScaleX;
  float importScaleY;
  float importScaleZ;
  float importOffsetX;
  float importOffsetY;
  float importOffsetZ;
};
// With fields in two classes it is up to the compiler whether these offsets exist; all that we build with say
// so.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(AMash3DDXF, vertexAttributes) == 112);
static_assert(offsetof(AMash3DDXF, subdivisionData) == 408);
static_assert(offsetof(AMash3DDXF, faceAttributes) == 532);
static_assert(offsetof(AMash3DDXF, secondPointData) == 536);
static_assert(offsetof(AMash3DDXF, secondAttributeData) == 552);
static_assert(offsetof(AMash3DDXF, importScaleX) == 584);
static_assert(offsetof(AMash3DDXF, importScaleY) == 588);
static_assert(offsetof(AMash3DDXF, importScaleZ) == 592);
static_assert(offsetof(AMash3DDXF, importOffsetX) == 596);
static_assert(offsetof(AMash3DDXF, importOffsetY) == 600);
static_assert(offsetof(AMash3DDXF, importOffsetZ) == 604);
#pragma GCC diagnostic pop
static_assert(sizeof(float) == 4);
