#include <sys/resource.h>

#include <csignal>

#include "image/psd/PsdBytes.h"
#include "interop/documents.h"

namespace {

std::int32_t save(const std::string& path, const std::vector<const ABitMap*>& layers,
                  const ABitMap* composite, const ABitMap* mask, std::int32_t threshold) {
  return SavePSDMultiLayered(path.c_str(), layers.data(), static_cast<std::int32_t>(layers.size()), composite,
                             mask, threshold);
}

}  // namespace

TEST(PsdWriter, DocumentsHaveExactlyTheBytes) {
  // Those that are kept, which tests/interop/run has other programs open.
  const TempFolder folder;
  ASSERT_TRUE(writeDocuments(folder.path("."), 3, 5));
  int compared = 0;
  for (const auto& kept : std::filesystem::directory_iterator(KSMTH_PSD_FILES)) {
    std::ifstream file(kept.path(), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    EXPECT_TRUE(folder.read(kept.path().filename().string()) == bytes) << kept.path();
    ++compared;
  }
  EXPECT_EQ(compared, 8);
  const std::string one = folder.read("layered_one-3x5.psd");
  EXPECT_EQ(one.size(), 34U + 1548 + (54 + 240 + 6 + 3 * 15) + 10 + 3 * 15);
  // The modes of other depths: planes as many as bytes, the last byte's first.
  for (const auto& [depth, channels, mode] : {std::tuple{24, 3, 3}, {64, 8, 7}}) {
    const OwnedBitMap map = randomMap(2, 1, depth, 1);
    const std::string path = folder.path("a.psd");
    ASSERT_EQ(map.SavePSD(path.c_str(), true), 0);
    EXPECT_EQ(folder.read("a.psd").substr(0, 40),
              flatFile(headerBytes(static_cast<unsigned>(channels), 1, 2, 8, static_cast<unsigned>(mode)),
                       be16(0)));
    EXPECT_EQ(folder.read("a.psd")[40], static_cast<char>(map.buffer[depth / 8 - 1]));
  }
}

TEST(PsdWriter, BitmapsThatAreTooSmallAreFilledUp) {
  const TempFolder folder;
  const OwnedBitMap a = randomMap(3, 2, 32, 1);
  OwnedBitMap small = randomMap(1, 1, 32, 2);
  for (const std::uint32_t fill : {0x80112233U, 5U}) {
    small.fillValue = fill;
    OwnedBitMap same(3, 2, 32);
    same.Paint(std::uint64_t{fill});
    put(same, 0, pixel(small, 0));
    for (const std::int32_t threshold :
         {0, INT32_MIN, INT32_MAX, 5, 6, static_cast<std::int32_t>(pixel(small, 0))}) {
      for (const OwnedBitMap* map : {&small, &same}) {
        ASSERT_EQ(save(folder.path("a.psd"), {&a, map}, map, map, threshold), 0);
        // The transparency comes before the last three channels and the merged image.
        const std::string bytes = folder.read("a.psd");
        const std::string transparency = bytes.substr(bytes.size() - (2 + 18) - 3 * 8 - 6, 6);
        for (std::int32_t i = 0; i < 6; ++i) {
          const bool below = static_cast<std::int32_t>(pixel(same, i)) < threshold;
          EXPECT_EQ(transparency[static_cast<std::size_t>(i)], below ? '\xFF' : '\0') << threshold;
        }
      }
    }
  }
}

TEST(PsdWriter, PlanesOfCroppedBitmaps) {
  OwnedBitMap map;
  map.AllocateCropped(5, 4, 1, 2, 3, 4, 32);  // columns 2 and 3, rows 1 and 2
  map.fillValue = 0x0A0B0C0D;
  for (int i = 0; i < 16; ++i) map.buffer[i] = static_cast<unsigned char>(100 + i);
  std::uint16_t counts[2] = {};
  unsigned char got[40];
  // Channels outside the pixel are in its neighbours, and outside the buffer there is the fill byte.
  for (const int channel : {0, 1, 2, 3, -3, -1, 4, 6, 17, INT32_MIN, INT32_MAX}) {
    const int fill = 0x0A + (channel & 3);
    const auto byteAt = [&](std::int64_t at) {
      return at >= 0 && at < 16 ? 100 + static_cast<int>(at) : fill;
    };
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(nullptr, 8, nullptr, channel, 0),
              reinterpret_cast<unsigned char*>(20));
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(got, 8, counts, channel, 1), got + 20);
    for (int i = 0; i < 20; ++i) {
      const int index = storedIndex(map, i % 5, i / 5);
      EXPECT_EQ(got[i], index < 0 ? fill : byteAt(std::int64_t{4} * index + channel)) << channel;
    }
    EXPECT_EQ(std::memcmp(counts, "\0\2\0\2", 4), 0);
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(got, 16, counts, channel, 0), got + 8);
    for (int i = 0; i < 8; ++i)
      EXPECT_EQ(got[i], byteAt(std::int64_t{i} / 2 * 4 + i % 2 + channel)) << channel;
    EXPECT_EQ(std::memcmp(counts, "\0\4\0\4", 4), 0);
  }
  // A stored rectangle that reaches outside the image.
  map.AllocateCropped(2, 2, -1, -1, 1, 1, 32);
  for (int i = 0; i < 16; ++i) map.buffer[i] = static_cast<unsigned char>(100 + i);
  EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(got, 8, nullptr, 2, 0), got + 4);
  EXPECT_EQ(std::memcmp(got, "\x72\xC\xC\xC", 4), 0);
}

TEST(PsdWriter, RefusalsLeaveNoFile) {
  const TempFolder folder;
  const std::string path = folder.path("a.psd");
  const OwnedBitMap a = randomMap(2, 2, 32, 1);
  const OwnedBitMap grey = randomMap(2, 2, 8, 1);
  ABitMap huge{40000, 40000, 32};
  ABitMap larger{50000, 50000, 32};
  EXPECT_EQ(huge.SavePSD(path.c_str(), false), 0);  // looks like success
  EXPECT_EQ(save(path, {}, &a, nullptr, 0), -1);
  const ABitMap* const refused[] = {nullptr, &grey, &huge, &larger};
  for (const ABitMap* first : refused) EXPECT_EQ(save(path, {first}, &a, nullptr, 0), -1);
  EXPECT_EQ(save(path, {&a, nullptr}, &a, nullptr, 0), -1);
  EXPECT_EQ(save(path, {&a}, nullptr, nullptr, 0), -1);
  const std::vector<const ABitMap*> maps(70000, &a);
  const std::vector<std::int32_t> channels(maps.size());
  const auto planes = [&](std::int32_t count, std::int32_t bits) {
    return a.SaveBMapPlanes(path.c_str(), count, bits, maps.data(), channels.data());
  };
  for (const auto& [count, bits] : {std::pair{1, 12}, {1, 0}, {70000, 8}, {57, 8}, {-1, 8}})
    EXPECT_EQ(planes(count, bits), -1) << count << " " << bits;
  EXPECT_EQ(a.SaveBMapPlanes(path.c_str(), 1, 8, nullptr, channels.data()), -1);
  EXPECT_EQ(a.SaveBMapPlanes(path.c_str(), 1, 8, maps.data(), nullptr), -1);
  EXPECT_EQ((ABitMap{-1, 4, 8}).SavePSD(path.c_str(), false), -1);
  EXPECT_EQ((ABitMap{1, 1, INT32_MAX}).SavePSD(path.c_str(), false), -1);
  EXPECT_FALSE(folder.has("a.psd"));
  EXPECT_EQ(planes(56, 8), 0);
  std::string same;
  for (std::int32_t i = 0; i < 56 * 4; ++i) same += static_cast<char>(a.buffer[i % 4 * 4]);
  EXPECT_EQ(folder.read("a.psd").substr(40), same);
}

TEST(PsdWriter, FileErrors) {
  const TempFolder folder;
  const OwnedBitMap map = randomMap(300, 300, 32, 1);
  const auto saveAll = [&](const std::string& path) {
    EXPECT_EQ(map.SavePSD(path.c_str(), true) + save(path, {&map}, &map, nullptr, 0), -2) << path;
    EXPECT_EQ(_openFilesCount, 0) << path;
  };
  saveAll(folder.path("."));
  saveAll("");
  // As on a full disk: the file system takes the beginning.
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small = {100000, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  saveAll(folder.path("full.psd"));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  EXPECT_EQ(folder.read("full.psd").size(), 100000U);
  // A longer file that was there before is cut to the new one.
  EXPECT_EQ(randomMap(1, 1, 32, 1).SavePSD(folder.path("full.psd").c_str(), false), 0);
  EXPECT_EQ(folder.read("full.psd").size(), 43U);
}
