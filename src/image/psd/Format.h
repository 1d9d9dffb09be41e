#pragma once

#include <cstddef>
#include <cstdint>

/// Sizes and numbers of the published format that more than one part needs.
namespace psd {

inline constexpr std::size_t kHeaderBytes = 30;  ///< the file header with the length of the colour mode data
inline constexpr std::int64_t kCompressionBytes = 2;  ///< of the code in front of channel data
inline constexpr std::int64_t kChannelEntryBytes = 6;
/// Of a layer record but for channels and extra data: rectangle, channel count, blending, extra-data length.
inline constexpr std::int64_t kRecordBytes = 16 + 2 + 12 + 4;
inline constexpr std::size_t kMostChannels = 56;    ///< of a document
inline constexpr std::uint32_t kAlphaNames = 1006;  ///< the image resource

}  // namespace psd
