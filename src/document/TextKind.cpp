#include "document/TextKind.h"

#include <algorithm>

namespace WavefrontOBJ {

TextKind textKindOf(std::string_view head) {
  head = head.substr(0, kTextKindBytes);
  if (head.starts_with("\xFF\xFE") || head.starts_with("\xFE\xFF")) return TextKind::utf16;
  std::size_t zeros[2] = {0, 0};
  for (std::size_t i = 0; i < head.size(); ++i) zeros[i % 2] += head[i] == '\0' ? 1 : 0;
  const std::size_t half = head.size() / 2;
  // Latin letters and digits have their zero on one side alone.
  if (half >= 4 && std::max(zeros[0], zeros[1]) >= half * 3 / 4 && std::min(zeros[0], zeros[1]) <= half / 8) {
    return TextKind::utf16;
  }
  const auto controls = static_cast<std::size_t>(std::count_if(head.begin(), head.end(), isControl));
  const std::string_view first = head.substr(0, 32);
  const bool isHeader = std::count(first.begin(), first.end(), '\0') >= 2;
  return isHeader || controls * 16 > head.size() ? TextKind::binary : TextKind::text;
}

bool isUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto lead = static_cast<unsigned char>(text[i++]);
    if (lead < 0x80) continue;
    if (lead < 0xC2 || lead > 0xF4) return false;
    const int more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    for (int k = 0; k < more; ++k, ++i) {
      const auto next = i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
      unsigned low = 0x80;
      unsigned high = 0xBF;
      if (k == 0) {
        // Overlong forms, surrogates and what is past U+10FFFF.
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
      }
      if (next < low || next > high) return false;
    }
  }
  return true;
}

}  // namespace WavefrontOBJ
