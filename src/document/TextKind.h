#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace WavefrontOBJ {

enum class TextKind : std::uint8_t { text, utf16, binary };

/// Bytes of a file's begin that `textKindOf` looks at.
inline constexpr std::size_t kTextKindBytes = 4096;

/// What a file is that begins with `head`: UTF-16 by its byte order mark or by a zero in every second byte,
/// binary when more than one byte in sixteen is a control character that texts do not have (compressed data
/// have one in ten), or two of the first 32 bytes are zeros, as in headers of binary formats.
TextKind textKindOf(std::string_view head);

/// A control character other than those that part words and lines.
constexpr bool isControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte == 0x7F || (byte < ' ' && !(byte >= '\t' && byte <= '\r'));
}

/// `text` is well-formed UTF-8 (RFC 3629).
bool isUtf8(std::string_view text);

}  // namespace WavefrontOBJ
