#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// FNV-1a of many results, to the bit. What is expected are the sums of the same rules in tests/sums,
/// computed with whole numbers of any length and with floats that are rounded at each step.
struct Checksum {
  void add(std::int32_t value) { sum = (sum ^ static_cast<std::uint32_t>(value)) * 0x01000193U; }
  /// Which NaN an operation gives differs between processors.
  void add(float value) { add(std::isnan(value) ? 0x7FC00000 : std::bit_cast<std::int32_t>(value)); }
  void add(std::string_view text) {
    for (const char c : text) add(static_cast<std::int32_t>(static_cast<unsigned char>(c)));
  }
  template <class Vector>
  requires requires(Vector v) { v.z; }
  void add(const Vector& v) { add(v.x), add(v.y), add(v.z); }
  std::uint32_t sum = 0x811C9DC5;
};

/// Every text of at most `length` of these letters, short ones first.
inline std::vector<std::string> everyText(std::string_view letters, std::size_t length) {
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; texts[i].size() < length; ++i) {
    for (const char c : letters) texts.push_back(texts[i] + c);
  }
  return texts;
}
