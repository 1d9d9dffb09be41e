#pragma once

#include <cstddef>
#include <span>

/// The image resources that the library writes: what Photoshop 6 put into a new document.
namespace psd {

/// Of the layered document, 1548 bytes.
extern const std::span<const unsigned char> kDocumentResources;

/// Of the record-based path, 1544 bytes: "Layer Groups" is the last block and ends before its size. Values
/// are set in place and stay set.
extern const std::span<unsigned char> kRecordResources;

// Where the values lie in `kRecordResources`, as offsets in bytes.
extern const std::size_t kHorizontalResolutionAt;  ///< 32 bits, 16.16
extern const std::size_t kVerticalResolutionAt;    ///< 32 bits, 16.16
extern const std::size_t kTargetLayerLowByteAt;    ///< "Layer State"
extern const std::size_t kLayerIdBaseLowByteAt;    ///< "Layer ID Generator Base"

}  // namespace psd
