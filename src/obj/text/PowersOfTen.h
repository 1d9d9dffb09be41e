#pragma once

#include <array>
#include <cstddef>

namespace WavefrontOBJ {

/// 1, 10, 100 and so on, as far as they are exact: 10^22 in double precision.
template <class Number, std::size_t kCount>
inline constexpr auto kPowersOfTen = [] {
  std::array<Number, kCount> powers{};
  Number power = 1;
  for (std::size_t i = 0; i < kCount; ++i, power *= 10) powers[i] = power;
  return powers;
}();

inline constexpr auto& kExactPowersOfTen = kPowersOfTen<double, 23>;

}  // namespace WavefrontOBJ
