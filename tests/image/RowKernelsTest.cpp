#include "image/RowKernels.h"

#include "ImageSupport.h"

namespace {

using rowkernels::Kernels;

/// Bytes in a block of their own, for the sanitizer to see one too far, `skipped` bytes into a word.
class Row {
 public:
  Row(std::size_t bytes, std::size_t skipped) : bytes_(bytes + skipped, 0xA5), skipped_(skipped) {}
  unsigned char* data() { return bytes_.data() + skipped_; }
  const Bytes& all() const { return bytes_; }

 private:
  Bytes bytes_;
  std::size_t skipped_;
};

/// Every kernel of the processor comes to the bytes of the plain one, whatever the length and the place.
TEST(RowKernels, AgreeToTheBit) {
  Random random(31);
  for (std::size_t count = 1; count < 540; count += count < 150 ? 1 : 13) {
    const std::size_t skipped = 4 * below(random, 17);
    const std::size_t width = 2 * count + 1 + rowkernels::kReach;
    Row rows[3] = {{4 * width, skipped}, {4 * width, 4 * below(random, 17)}, {4 * width, below(random, 5)}};
    for (Row& row : rows) {
      for (std::size_t i = 0; i < 4 * width; ++i)
        row.data()[i] = static_cast<unsigned char>(below(random, 4) == 0 ? 0xFF : random());
    }
    // Pixels that agree are mostly as near to one another as bridges those between them.
    for (std::size_t i = 0; i < width; ++i) {
      if ((i % 12 == 0 && below(random, 8) != 0) || below(random, 100) == 0)
        std::memcpy(rows[1].data() + 4 * i, rows[0].data() + 4 * i, 4);
    }
    const unsigned char* const a = rows[0].data();
    const unsigned char* const b = rows[1].data();
    const unsigned wanted = below(random, 16);
    const bool flag = below(random, 2) == 0;
    const auto halved = [&](const Kernels& kernels) {
      Row to(4 * count, skipped + wanted / 8);
      kernels.halve(to.data(), a, b, rows[2].data(), count, (wanted & 1) != 0, flag);
      return to.all();
    };
    // Three rows out of and into blocks that they do not fill, mostly by pixels.
    const std::size_t bytes = below(random, 4) == 0 ? count : 4 * count;
    const std::size_t stride = bytes + 4 * below(random, 20);
    const std::size_t source = bytes == count ? 1 + below(random, 5) : 4 * below(random, 20);
    const auto written = [&](auto write) {
      Row to(2 * stride + bytes, skipped);
      write(rowkernels::Rows{to.data(), bytes, 3, stride});
      return to.all();
    };
    Row from(2 * (bytes + source) + bytes, 4 * below(random, 17));
    for (std::size_t i = 0; i < 3 * bytes + 2 * source; ++i)
      from.data()[i] = static_cast<unsigned char>(random());
    const std::uint64_t pattern = std::uint64_t{random()} << 32 | random();
    const auto filled = [&](const Kernels& kernels) {
      return written([&](const rowkernels::Rows& to) { kernels.fill(to, pattern, flag); });
    };
    const auto copied = [&](const Kernels& kernels) {
      return written(
          [&](const rowkernels::Rows& to) { kernels.copy(to, from.data(), bytes + source, flag); });
    };
    const auto planes = [&](const Kernels& kernels) {
      Row to[4] = {{count, 0}, {count, 1}, {count, 2}, {count, 3}};
      unsigned char* places[4];
      for (unsigned i = 0; i < 4; ++i) places[i] = (wanted >> i & 1) != 0 ? to[i].data() : nullptr;
      kernels.split(places, b, count);
      Bytes all;
      for (const Row& row : to) all.insert(all.end(), row.all().begin(), row.all().end());
      return all;
    };
    // As a comparison goes on from one to the next.
    const auto alone = [&](const Kernels& kernels) {
      std::vector<std::size_t> list;
      const std::size_t all = 2 * count + 1;
      for (std::size_t i = 0; (i += kernels.firstAlone(a + 4 * i, b + 4 * i, all - i)) < all; ++i)
        list.push_back(i);
      return list;
    };
    EXPECT_FALSE(count > 250 && alone(rowkernels::kPlain).empty());
    for (const Kernels* const kernels : rowkernels::available()) {
      SCOPED_TRACE(std::to_string(count) + " pixels" + (kernels == &rowkernels::best() ? ", quickest" : ""));
      ASSERT_EQ(halved(*kernels), halved(rowkernels::kPlain));
      ASSERT_EQ(filled(*kernels), filled(rowkernels::kPlain));
      ASSERT_EQ(copied(*kernels), copied(rowkernels::kPlain));
      ASSERT_EQ(planes(*kernels), planes(rowkernels::kPlain));
      ASSERT_EQ(alone(*kernels), alone(rowkernels::kPlain));
    }
  }
}

}  // namespace
