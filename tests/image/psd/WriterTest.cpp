#include <sys/resource.h>

#include <csignal>

#include "image/psd/PsdBytes.h"

namespace {

std::string block(const std::string& key, const std::string& data) {
  return "8BIM" + key + withLength(data);
}
std::string utf16(const std::string& characters) {
  std::string text = be32(characters.size());
  for (const char c : characters) text += std::string(1, '\0') + c;
  return text;
}
/// What follows the extra-data length of a layer record.
std::string extraData(const std::string& shortName, const std::string& name, bool background, unsigned id,
                      std::uint32_t locks) {
  std::string ranges;
  for (int i = 0; i < 10; ++i) ranges += be16(0) + be16(0xFFFF);
  return be32(0) + withLength(ranges) + padTo(static_cast<char>(shortName.size()) + shortName, 4) +
         block("luni", padTo(utf16(name), 4)) + (background ? block("lnsr", "bgnd") : "") +
         block("lyid", be32(id)) + block("clbl", be32(0x01000000)) + block("infx", be32(0)) +
         block("knko", be32(0)) + block("lspf", be32(locks)) + block("lclr", std::string(8, '\0')) +
         block("fxrp", std::string(16, '\0'));
}

std::string plane(const TestMap& map, std::size_t offset, std::size_t pixels) {
  std::string text;
  for (std::size_t i = 0; i < pixels; ++i) text += static_cast<char>(map.at(4 * i + offset));
  return text;
}
std::string colours(const TestMap& map, std::size_t pixels) {
  return be16(0) + plane(map, 1, pixels) + be16(0) + plane(map, 2, pixels) + be16(0) + plane(map, 3, pixels);
}

std::string layered(const std::vector<const TestMap*>& layers, const TestMap& composite, const TestMap* mask,
                    std::int32_t threshold, const std::string& resources) {
  const auto w = static_cast<unsigned>(layers[0]->fullWidth);
  const auto h = static_cast<unsigned>(layers[0]->fullHeight);
  const std::size_t pixels = std::size_t{w} * h;
  const std::string background = extraData("Background", "Background", true, 1, 5);
  const std::string upper = mask != nullptr
                                ? extraData("Talvex Masked Layer", "Talvex Masked Layer", false, 3, 1)
                                : extraData("KShading (do not edit this laye",
                                            "KShading (do not edit this layer)", false, 2, 0x80000007);
  EXPECT_EQ(background.size(), 240U);
  EXPECT_EQ(upper.size(), mask != nullptr ? 252U : 292U);
  std::string transparency(pixels, '\xFF');
  for (std::size_t i = 0; mask != nullptr && i < pixels; ++i) {
    const auto value = static_cast<std::int32_t>(mask->at(4 * i) << 24 | mask->at(4 * i + 1) << 16 |
                                                 mask->at(4 * i + 2) << 8 | mask->at(4 * i + 3));
    transparency[i] = value < threshold ? '\xFF' : '\0';
  }
  std::string info = be16(layers.size());
  std::string data;
  for (std::size_t i = 0; i < layers.size(); ++i) {
    info += be32(0) + be32(0) + be32(h) + be32(w) + be16(i == 0 ? 3 : 4);
    if (i > 0) info += be16(0xFFFF) + be32(pixels + 2);
    for (unsigned id = 0; id < 3; ++id) info += be16(id) + be32(pixels + 2);
    info += std::string("8BIM") + (i > 0 && mask == nullptr ? "hLit" : "norm") + '\xFF' + '\0' +
            (i == 0 ? '\x29' : '\0') + '\0' + withLength(i == 0 ? background : upper);
    data += (i > 0 ? be16(0) + transparency : "") + colours(*layers[i], pixels);
  }
  return headerBytes(3, h, w) + be32(0) + withLength(resources) + withLength(withLength(info + data)) +
         be16(0) + plane(composite, 1, pixels) + plane(composite, 2, pixels) + plane(composite, 3, pixels);
}

struct ResourceRow {
  unsigned id;
  const char* name;
  std::size_t size;
  std::string start;  // of the data
};
std::vector<ResourceRow> resourceTable() {
  const std::string dpi = be32(0x00480000) + be16(1) + be16(1);
  const std::string curve = be16(0) + std::string(22, '\xFF') + be16(1000) + be16(0);
  return {
      {1005, "Resolution", 16, dpi + dpi},
      {1037, "FX Global Lighting Angle", 4, be32(120)},
      {1049, "FX Global Altitude", 4, be32(30)},
      {1011, "Print Flags", 9, be(0, 8) + '\1'},
      {1034, "Copyright Flag", 1, be(0, 1)},
      {10000, "Japanese Print Flags", 10, be16(1) + be(0, 6) + be16(2)},
      {1013, "Color Halftone Settings", 72, ""},
      {1016, "Color Transfer Settings", 112, curve + curve + curve + curve},
      {1024, "Layer State", 2, be16(0)},
      {1026, "Layer Groups", 4, be32(0)},
      {1032, "Guides", 16, be32(1) + be32(0x240) + be32(0x240) + be32(0)},
      {1054, "URL overrides", 4, be32(0)},
      {1050, "Slices", 157,
       be32(6) + be32(0) + be32(0) + be32(2) + be32(2) + utf16("Copy of TempLaunchEditorExport") + be32(1)},
      {1041, "ICC Untagged Flag", 1, "\1"},
      {1044, "Layer ID Generator Base", 4, be32(2)},
      {1036, "New Windows Thumbnail", 567,
       be32(1) + be32(2) + be32(2) + be32(8) + be32(16) + be32(539) + be16(24) + be16(1) + "\xFF\xD8\xFF"},
      {1057, "Version compatibility info", 85,
       be32(1) + '\1' + utf16("Adobe Photoshop") + utf16("Adobe Photoshop 6.0") + be32(1)}};
}

/// Takes the block at `at` apart, compares it and answers the position behind it.
std::size_t expectBlock(const std::string& resources, std::size_t at, const ResourceRow& row) {
  SCOPED_TRACE(row.name);
  const std::string name = row.name;
  const std::string head = "8BIM" + be16(row.id) + padTo(static_cast<char>(name.size()) + name, 2);
  EXPECT_EQ(resources.substr(at, head.size() + 4), head + be32(row.size));
  EXPECT_EQ(resources.substr(at + head.size() + 4, row.start.size()), row.start);
  return at + head.size() + 4 + (row.size + 1) / 2 * 2;
}

std::int32_t save(const std::string& path, const std::vector<const TestMap*>& layers,
                  const ABitMap* composite, const ABitMap* mask, std::int32_t threshold) {
  const std::vector<const ABitMap*> maps(layers.begin(), layers.end());
  return SavePSDMultiLayered(path.c_str(), maps.data(), static_cast<std::int32_t>(maps.size()), composite,
                             mask, threshold);
}

}  // namespace

TEST(PsdWriter, LayeredDocumentsHaveExactlyTheBytes) {
  const TempFolder folder;
  const std::string path = folder.path("a.psd");
  for (const auto& [w, h] : {std::pair{1, 1}, {3, 5}, {257, 129}}) {
    const TestMap a(w, h, 32, 1);
    const TestMap b(w, h, 32, 2);
    const TestMap c(w, h, 32, 3);
    TestMap mask(w, h, 32, 4);
    const std::int32_t threshold = 70000;
    // Equal to the threshold: transparent.
    std::memcpy(mask.buffer, be32(static_cast<std::uint32_t>(threshold)).data(), 4);
    const std::size_t pixels = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
    ASSERT_EQ(save(path, {&a}, &c, nullptr, 0), 0);
    const std::string one = folder.read("a.psd");
    EXPECT_EQ(one.size(), 34 + 1548 + (54 + 240 + 6 + 3 * pixels) + 10 + 3 * pixels);
    const std::string resources = one.substr(34, 1548);
    std::size_t at = 0;
    for (const ResourceRow& row : resourceTable()) at = expectBlock(resources, at, row);
    EXPECT_EQ(at, 1548U);
    EXPECT_EQ(one, layered({&a}, c, nullptr, 0, resources));
    ASSERT_EQ(save(path, {&a, &b, &c}, &b, nullptr, 0), 0);
    EXPECT_EQ(folder.read("a.psd"), layered({&a, &b, &c}, b, nullptr, 0, resources));
    for (const std::int32_t limit : {threshold, INT32_MIN, INT32_MAX, -5}) {
      ASSERT_EQ(save(path, {&a, &b, &c}, &b, &mask, limit), 0);
      EXPECT_EQ(folder.read("a.psd"), layered({&a, &b, &c}, b, &mask, limit, ""));
    }
  }
}

TEST(PsdWriter, BitmapsThatAreTooSmallReadAsTheirFillValue) {
  const TempFolder folder;
  const std::string path = folder.path("a.psd");
  const TestMap a(3, 2, 32, 1);
  TestMap small(1, 1, 32, 2);
  small.fillValue = 0x80112233;
  TestMap same(3, 2, 32, 3);
  std::memcpy(same.buffer, small.buffer, 4);
  for (int i = 1; i < 6; ++i) std::memcpy(same.buffer + 4 * i, be32(small.fillValue).data(), 4);
  ASSERT_EQ(save(path, {&a, &small}, &small, &small, 0), 0);
  EXPECT_EQ(folder.read("a.psd"), layered({&a, &same}, same, &same, 0, ""));
}

TEST(PsdWriter, LayeredRefusals) {
  const TempFolder folder;
  const std::string path = folder.path("a.psd");
  const TestMap a(2, 2, 32, 1);
  const TestMap grey(2, 2, 8, 1);
  ABitMap huge;
  huge.fullWidth = huge.fullHeight = 30000;
  huge.depth = 32;
  const ABitMap* const maps[] = {&a, nullptr, &grey, &huge};
  EXPECT_EQ(SavePSDMultiLayered(path.c_str(), maps, 0, &a, nullptr, 0), -1);
  EXPECT_EQ(SavePSDMultiLayered(path.c_str(), maps, 2, &a, nullptr, 0), -1);
  EXPECT_EQ(SavePSDMultiLayered(path.c_str(), maps + 2, 1, &a, nullptr, 0), -1);
  EXPECT_EQ(SavePSDMultiLayered(path.c_str(), maps + 3, 1, &a, nullptr, 0), -1);
  EXPECT_EQ(SavePSDMultiLayered(path.c_str(), maps, 1, nullptr, nullptr, 0), -1);
  EXPECT_FALSE(folder.has("a.psd"));
}

TEST(PsdWriter, FlatDocumentsByDepth) {
  const TempFolder folder;
  const std::string path = folder.path("a.psd");
  struct Row {
    int depth;
    bool withAlpha;
    unsigned mode;
    unsigned bits;
    std::vector<std::size_t> offsets;
  };
  const Row rows[] = {{32, false, 3, 8, {1, 2, 3}}, {32, true, 3, 8, {1, 2, 3, 0}},
                      {16, true, 1, 16, {0}},       {8, false, 7, 8, {0}},
                      {24, false, 3, 8, {2, 1, 0}}, {64, true, 7, 8, {7, 6, 5, 4, 3, 2, 1, 0}}};
  for (const Row& row : rows) {
    for (const auto& [w, h] : {std::pair{1, 1}, {3, 5}, {257, 129}}) {
      TestMap map(w, h, row.depth, 7);
      map.fillValue = 0xA1B2C3D4;
      const auto pixels = static_cast<std::size_t>(w * h);
      const auto size = static_cast<std::size_t>(map.BufferBytes());
      std::string expected = headerBytes(static_cast<unsigned>(row.offsets.size()), static_cast<unsigned>(h),
                                         static_cast<unsigned>(w), row.bits, row.mode) +
                             std::string(14, '\0');
      for (const std::size_t offset : row.offsets) {
        const char fill = be32(map.fillValue)[offset % 4];
        for (std::size_t i = 0; i < pixels; ++i) {
          // Four bytes apart at every depth.
          for (std::size_t at = 4 * i + offset; at < 4 * i + offset + row.bits / 8; ++at) {
            expected += at < size ? static_cast<char>(map.at(at)) : fill;
          }
        }
      }
      ASSERT_EQ(map.SavePSD(path.c_str(), row.withAlpha), 0);
      EXPECT_EQ(folder.read("a.psd"), expected) << row.depth << " " << row.withAlpha;
    }
  }
}

TEST(PsdWriter, PlanesOfCroppedBitmaps) {
  TestMap map;
  map.AllocateCropped(5, 4, 1, 2, 3, 4, 32);  // columns 2 and 3, rows 1 and 2
  map.fillValue = 0x0A0B0C0D;
  for (int i = 0; i < 16; ++i) map.buffer[i] = static_cast<unsigned char>(100 + i);
  std::uint16_t counts[2] = {};
  unsigned char out[40];
  for (int offset = 0; offset < 4; ++offset) {
    const unsigned char fill = static_cast<unsigned char>(0x0A + offset);
    for (int y = 0; y < 4; ++y) {
      for (int x = 0; x < 5; ++x) {
        const bool inside = y >= 1 && y < 3 && x >= 2 && x < 4;
        const int pixel = (y - 1) * 2 + x - 2;
        out[y * 5 + x] = inside ? static_cast<unsigned char>(100 + 4 * pixel + offset) : fill;
      }
    }
    unsigned char got[40];
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(nullptr, 8, nullptr, offset, 0),
              reinterpret_cast<unsigned char*>(20));
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(got, 8, counts, offset, 1), got + 20);
    EXPECT_EQ(std::memcmp(got, out, 20), 0) << offset;
    EXPECT_EQ(std::memcmp(counts, "\0\2\0\2", 4), 0);
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(nullptr, 16, nullptr, offset, 0),
              reinterpret_cast<unsigned char*>(8));
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(got, 16, counts, offset, 0), got + 8);
    for (int i = 0; i < 8; ++i) {
      const int at = i / 2 * 4 + offset + i % 2;
      EXPECT_EQ(got[i], at < 16 ? 100 + at : fill) << offset;
    }
    EXPECT_EQ(std::memcmp(counts, "\0\4\0\4", 4), 0);
  }
  // Channels outside the pixel are in its neighbours, and outside the buffer there is the fill byte.
  for (const int channel : {-3, -1, 4, 6, 17, INT32_MIN, INT32_MAX}) {
    const unsigned char fill = static_cast<unsigned char>(0x0A + (channel & 3));
    const auto byteAt = [&](std::int64_t at) {
      return at >= 0 && at < 16 ? 100 + static_cast<int>(at) : fill;
    };
    unsigned char got[40];
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(got, 8, nullptr, channel, 0), got + 20);
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(got[(1 + i / 2) * 5 + 2 + i % 2], byteAt(std::int64_t{4} * i + channel)) << channel;
    }
    EXPECT_EQ(got[0], fill);
    EXPECT_EQ(map.SaveBMap_WritePlaneToBuffer(got, 16, nullptr, channel, 0), got + 8);
    for (int i = 0; i < 8; ++i) {
      EXPECT_EQ(got[i], byteAt(std::int64_t{i} / 2 * 4 + i % 2 + channel)) << channel;
    }
  }
  // A stored rectangle that reaches outside the image, and one that has nothing of it.
  TestMap outside;
  outside.AllocateCropped(2, 2, -1, -1, 1, 1, 32);
  outside.fillValue = 0x01010101;
  std::memset(outside.buffer, 9, 16);
  EXPECT_EQ(outside.SaveBMap_WritePlaneToBuffer(out, 8, nullptr, 2, 0), out + 4);
  EXPECT_EQ(std::memcmp(out, "\x9\1\1\1", 4), 0);
  outside.AllocateCropped(2, 2, 5, 5, 6, 6, 32);
  EXPECT_EQ(outside.SaveBMap_WritePlaneToBuffer(out, 8, nullptr, 2, 0), out + 4);
  EXPECT_EQ(std::memcmp(out, "\1\1\1\1", 4), 0);
}

TEST(PsdWriter, FlatDocumentsThatAreTooLargeLookLikeSuccess) {
  const TempFolder folder;
  ABitMap huge;
  huge.fullWidth = huge.fullHeight = 40000;
  huge.depth = 32;
  EXPECT_EQ(huge.SavePSD(folder.path("a.psd").c_str(), false), 0);
  EXPECT_FALSE(folder.has("a.psd"));
}

TEST(PsdWriter, FileErrors) {
  const TempFolder folder;
  const TestMap map(300, 300, 32, 1);
  const auto saveAll = [&](const std::string& path) {
    EXPECT_EQ(map.SavePSD(path.c_str(), true), -1) << path;
    EXPECT_EQ(save(path, {&map}, &map, nullptr, 0), -1) << path;
    EXPECT_EQ(_openFilesCount, 0) << path;
  };
  saveAll(folder.path("."));
  saveAll(folder.path("missing/a.psd"));
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
  EXPECT_EQ(TestMap(1, 1, 32, 1).SavePSD(folder.path("full.psd").c_str(), false), 0);
  EXPECT_EQ(folder.read("full.psd").size(), 43U);
}
