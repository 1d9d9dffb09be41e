#include <cmath>
#include <functional>

#include "image/psd/PsdBytes.h"

namespace {

std::string written(std::size_t size, const std::function<unsigned char*(unsigned char*)>& write) {
  std::string bytes(size + 1, '\x55');
  auto* const to = reinterpret_cast<unsigned char*>(bytes.data());
  EXPECT_EQ(write(to), to + size);
  EXPECT_EQ(bytes.back(), '\x55');
  bytes.pop_back();
  return bytes;
}

std::string resourceData(const std::string& section, unsigned id) {
  const std::string mark = "8BIM" + be16(id);
  const std::size_t at = section.find(mark);
  if (at == std::string::npos) return "none";
  const std::size_t sizeAt = at + 6 + (numberAt(section, at + 6, 1) + 2) / 2 * 2;
  return section.substr(sizeAt + 4, numberAt(section, sizeAt, 4));
}

std::string resources(int layers, int lastId, int target, const std::vector<const char*>& names, double dpi) {
  const auto count = static_cast<std::int32_t>(names.size());
  const auto size = static_cast<std::size_t>(ResourceDataBlockSize(layers, names.data(), count));
  return written(size, [&](unsigned char* to) {
    return WriteResourceDataBlock(to, layers, lastId, target, names.data(), count, dpi);
  });
}

FileSpec* openBytes(const TempFolder& folder, const std::string& bytes) {
  return Sys_FileOpen(folder.write("piece", bytes).c_str(), false);
}

}  // namespace

TEST(PsdRecords, Header) {
  PSDHeader header;
  PSDHeaderInit(&header, 7, 9, 16, 3, PSDFileMode::rgb);
  const std::string bytes = written(30, [&](unsigned char* to) { return PSDBufferWriteHeader(to, header); });
  EXPECT_EQ(bytes, headerBytes(3, 9, 7, 16, 3) + be32(0));
  const TempFolder folder;
  const struct {
    std::string file;
    int result;
  } rows[] = {{bytes, 1},
              {bytes.substr(0, 29), 0},
              {"8BPX" + bytes.substr(4), 0},
              {"8BPS" + be16(2) + bytes.substr(6), 0}};
  for (const auto& row : rows) {
    FileSpec* const file = openBytes(folder, row.file);
    PSDHeader read = {};
    EXPECT_EQ(PSDFileReadHeader(file, &read), row.result);
    Sys_FileClose(file, false);
    if (row.result == 0) continue;
    EXPECT_EQ(written(30, [&](unsigned char* to) { return PSDBufferWriteHeader(to, read); }), bytes);
  }
}

TEST(PsdRecords, ResourceSection) {
  EXPECT_EQ(ResourceDataBlockSize(3, nullptr, 2), 1548 + 6);
  const std::string plain = resources(3, 7, 2, {}, 72);
  EXPECT_EQ(plain.size(), 1548U + 6);
  EXPECT_EQ(numberAt(plain, 0, 4), 1544U + 6);
  for (const auto& [target, low] : {std::pair{255, 255U}, {-1, 255U}, {-256, 0U}, {INT32_MIN + 3, 3U}}) {
    EXPECT_EQ(resourceData(resources(0, 0, target, {}, 72), 1024), be16(low)) << target;
  }
  const std::string dpi = be32(72 << 16) + be16(1) + be16(1);
  EXPECT_EQ(resourceData(plain, 1005), dpi + dpi);
  EXPECT_EQ(resourceData(plain, 1024), be16(2));
  EXPECT_EQ(resourceData(plain, 1044), be32(8));
  EXPECT_EQ(plain.substr(plain.size() - 10), be32(6) + std::string(6, '\0'));  // "Layer Groups" is last
  EXPECT_EQ(resourceData(plain, 1006), "none");
  for (const std::vector<const char*>& names : {std::vector<const char*>{"ab"}, {"ab", "", "cde"}}) {
    std::string list;
    for (const char* name : names) list += static_cast<char>(std::strlen(name)) + std::string(name);
    const std::string named = resources(1, 255, 256, names, 300.5);
    EXPECT_EQ(named.size(), 1548 + 2 + 12 + list.size() + list.size() % 2);
    EXPECT_EQ(numberAt(named, 0, 4), named.size() - 4);
    EXPECT_EQ(resourceData(named, 1006), list);
    EXPECT_EQ(resourceData(named, 1024), be16(0));  // not below 256
    EXPECT_EQ(resourceData(named, 1044), be32(0));  // the low-order byte of 256
    EXPECT_EQ(numberAt(resourceData(named, 1005), 0, 4), static_cast<std::uint32_t>(300.5 * 65536));
    char found[4][256];
    const std::string section = named.substr(4);
    const auto size = static_cast<std::int32_t>(section.size());
    ASSERT_EQ(ExtractResourceDataBlockAlphaNames(section.data(), size, found, 4),
              static_cast<std::int32_t>(names.size()));
    for (std::size_t i = 0; i < names.size(); ++i) EXPECT_STREQ(found[i], names[i]);
    EXPECT_EQ(ExtractResourceDataBlockAlphaNames(section.data(), size, found, 1), 1);
    for (std::int32_t n = 0; n < size; ++n) {
      const std::vector<char> prefix(section.begin(), section.begin() + n);
      EXPECT_EQ(ExtractResourceDataBlockAlphaNames(prefix.data(), n, found, 4),
                n + 1 == size && list.size() % 2 != 0 ? static_cast<int>(names.size()) : 0);
    }
  }
  for (const auto& [odd, fixed] : {std::pair{1e300, 0x7FFFFFFFU}, {std::nan(""), 0x80000000U}}) {
    EXPECT_EQ(numberAt(resourceData(resources(0, 0, 0, {}, odd), 1005), 0, 4), fixed);
  }
}

TEST(PsdRecords, LayersAreWrittenAndParsedBack) {
  TestMap map;
  map.AllocateCropped(9, 8, 1, 2, 4, 7, 32);
  for (int i = 0; i < map.BufferBytes(); ++i) map.buffer[i] = static_cast<unsigned char>(i * 7);
  TestMap mask;
  mask.AllocateCropped(9, 8, 0, 0, 1, 3, 8);
  std::memcpy(mask.buffer, "xyz", 3);
  mask.fillValue = 255;
  PSDLayerMaskInfo info(3);
  EXPECT_EQ(info.InitLayerInfo(3, 1, 3, 8, &map, nullptr, nullptr), 0);
  EXPECT_EQ(info.InitLayerInfo(-1, 1, 3, 8, &map, nullptr, nullptr), 0);
  EXPECT_EQ(info.InitLayerInfo(0, 1, 3, 7, &map, nullptr, nullptr), 0);
  EXPECT_EQ(info.InitLayerInfo(0, 0, 4, 8, &map, &mask, nullptr), 1);
  EXPECT_EQ(info.InitLayerInfo(1, 42, 3, 16, &map, nullptr, nullptr), 1);
  EXPECT_EQ(info.InitLayerInfo(2, 0, 3, 8, &map, nullptr, "own"), 1);
  const std::int64_t head = info.ComputeHeaderFileDataSize();
  EXPECT_EQ(info.GetLayerImageSize(), 4 * (15 + 2) + (3 + 2) + 3 * (30 + 2) + 3 * 17);
  const std::int64_t total = head + info.GetLayerImageSize();
  const std::string bytes =
      written(static_cast<std::size_t>(total), [&](unsigned char* to) { return info.WriteToBuffer(to); });
  const std::string section = written(static_cast<std::size_t>(info.ComputeSectionSize()),
                                      [&](unsigned char* to) { return info.WriteSectionToBuffer(to); });
  EXPECT_EQ(section, withLength(withLength(padTo(be16(3) + bytes, 2))));

  const auto size = static_cast<std::int32_t>(bytes.size());
  std::int32_t position = 0;
  struct Row {
    const char* name;
    const char* key;
    unsigned flags;
    unsigned channels;
    unsigned locks;
    int id;
  };
  const Row rows[] = {{"KShading (do not edit)", "hLit", 25, 5, 7, 0},
                      {"Layer 42", "norm", 0, 3, 0, 42},
                      {"own KShading (do not edit)", "hLit", 25, 3, 7, 0}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const std::int32_t start = position;
    PSDLayerRecord record;
    PSDExtent extra = {};
    ASSERT_EQ(PSDLayerRecordParse(bytes.data(), size, &position, &record, &extra), 1);
    EXPECT_STREQ(record.name, row.name);
    EXPECT_EQ(std::string(record.blendKey, 4), row.key);
    EXPECT_EQ(std::string(record.blendSignature, 4), "8BIM");
    EXPECT_EQ(record.flags, row.flags);
    EXPECT_EQ(record.opacity, 255);
    EXPECT_EQ(record.channelCount, row.channels);
    EXPECT_EQ(record.layerNumber, row.id);
    EXPECT_EQ(record.top, 1);
    EXPECT_EQ(record.left, 2);
    EXPECT_EQ(record.bottom, 4);
    EXPECT_EQ(record.right, 7);
    const unsigned ids[] = {0, 1, 2, 65535, 65534};
    for (unsigned i = 0; i < row.channels; ++i) EXPECT_EQ(record.channels[i].id, ids[i]);
    EXPECT_EQ(extra.size, 128);
    const std::string blocks = bytes.substr(static_cast<std::size_t>(extra.position), 128);
    std::string expected;
    const auto block = [&](const char* key, const std::string& data) {
      expected += std::string("8BIM") + key + withLength(data);
    };
    block("lyid", be32(static_cast<std::uint32_t>(row.id)));
    block("clbl", be32(0x01000000));
    block("infx", be32(0));
    block("knko", be32(0));
    block("lspf", be32(row.locks));
    block("lclr", be(0, 8));
    block("fxrp", std::string(16, '\0'));
    EXPECT_EQ(blocks, expected);
    // Cut anywhere, it is refused and nothing moves.
    for (std::int32_t n = start; n < position; ++n) {
      const std::vector<char> prefix(bytes.begin(), bytes.begin() + n);
      std::int32_t at = start;
      EXPECT_EQ(PSDLayerRecordParse(prefix.data(), n, &at, &record), 0);
      EXPECT_EQ(at, start);
    }
  }
  EXPECT_EQ(position, head);
  std::string data;
  const auto channel = [&](int offset, bool wide) {
    data += be16(0);
    for (int i = 0; i < 15; ++i)
      data += std::string(wide ? 2 : 1, static_cast<char>(map.buffer[4 * i + offset]));
  };
  for (const int offset : {1, 2, 3, 0}) channel(offset, false);
  data += be16(0) + "xyz";
  for (const int offset : {1, 2, 3}) channel(offset, true);
  for (const int offset : {1, 2, 3}) channel(offset, false);
  EXPECT_EQ(bytes.substr(static_cast<std::size_t>(head)), data);
  // The mask's record: rectangle, colour outside.
  const std::string maskData = be32(20) + be32(0) + be32(0) + be32(1) + be32(3) + '\xFF' + '\0' + be16(0);
  EXPECT_NE(bytes.find(maskData), std::string::npos);
}

TEST(PsdRecords, ChannelDataOfAnyIdAndLength) {
  TestMap mask(1, 1, 8, 1);
  mask.buffer[0] = 'm';
  const std::string pixel = "\xA0\xB1\xC2\xD3\xE4\xF5\x86\x97";
  struct Row {
    int depth;
    const char* values;  // of channels 65535, 0, 1, 2
  };
  for (const Row& row : {Row{8, "\xA0\xA0\xA0\xA0"}, {24, "\xFF\xA0\xB1\xC2"}, {32, "\xA0\xB1\xC2\xD3"}}) {
    TestMap map(1, 1, row.depth, 1);
    std::memcpy(map.buffer, pixel.data(), static_cast<std::size_t>(row.depth / 8));
    for (const unsigned id : {65535U, 0U, 1U, 2U, 3U, 4U, 255U, 32767U, 32768U, 65532U, 65533U, 65534U}) {
      const bool known = id <= 2 || id == 65535;
      const std::string value =
          known ? std::string(1, row.values[(id + 1) & 0xFFFF]) : std::string(1, id == 65534 ? 'm' : '\0');
      for (const std::uint16_t depth : {8, 16, 24}) {
        for (const std::uint32_t length : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U}) {
          PSDLayerMaskInfo info(1);
          ASSERT_EQ(info.InitLayerInfo(0, 1, 1, depth, &map, nullptr, "a"), 1);
          info.layers[0].maskBitmap = &mask;
          info.layers[0].channels[0] = {static_cast<std::uint16_t>(id), length};
          const auto head = static_cast<std::size_t>(info.ComputeHeaderFileDataSize());
          const std::string bytes =
              written(head + length, [&](unsigned char* to) { return info.WriteToBuffer(to); });
          // A compression word, one pixel where there is room for all of it, and zeros.
          std::string expected(length, '\0');
          const std::size_t valueBytes = depth / 8U;
          if (depth != 24 && length >= 2 + valueBytes) {
            for (std::size_t i = 0; i < valueBytes; ++i) expected[2 + i] = value[0];
          }
          EXPECT_EQ(bytes.substr(head), expected) << row.depth << " " << id << " " << depth << " " << length;
        }
      }
    }
  }
}

TEST(PsdRecords, ChannelLengthsThatNoFileHolds) {
  ABitMap map;
  const struct {
    std::int32_t w, h;
    std::uint16_t depth;
    std::uint32_t length;
  } rows[] = {{INT32_MAX, 2, 8, 0xFFFFFFFF},
              {INT32_MAX, 1, 16, 0xFFFFFFFF},
              {0x7FFFFFFE, 1, 16, 0xFFFFFFFE},
              {INT32_MAX, INT32_MAX, 8, 0xFFFFFFFF},
              {INT32_MAX, INT32_MAX, 65535, 0xFFFFFFFF},
              {-1, INT32_MAX, 65535, 2},
              {65535, 65537, 8, 0xFFFFFFFF},
              {65535, 65536, 8, 0xFFFF0002}};
  for (const auto& row : rows) {
    map.width = row.w;
    map.height = row.h;
    PSDLayerMaskInfo info(1);
    ASSERT_EQ(info.InitLayerInfo(0, 107, 3, row.depth, &map, nullptr, nullptr), 1);
    EXPECT_EQ(info.layers[0].channels[2].length, row.length) << row.w << " x " << row.h;
    EXPECT_EQ(info.GetLayerImageSize(), std::int64_t{3} * row.length);
    EXPECT_STREQ(info.layers[0].name, "Layer 7");
  }
}

TEST(PsdPieces, SkipSectionsAndReadSizes) {
  const TempFolder folder;
  FileSpec* const file =
      openBytes(folder, withLength("abc") + be32(5) + "12345" + be32(6) + "12345" + be32(0xFFFFFFFF));
  EXPECT_EQ(PSDFileSkipSection(file), 1);
  EXPECT_EQ(PSDFileReadSectionSize(file), 5U);
  EXPECT_EQ(Sys_FileSeek(file, 5, true), 16);
  EXPECT_EQ(PSDFileSkipSection(file), 1);
  Sys_FileSeek(file, 25, false);
  EXPECT_EQ(PSDFileSkipSection(file), 0);  // past the end
  EXPECT_EQ(Sys_FileGetPos(file), 29);
  EXPECT_EQ(PSDFileSkipSection(file), 0);  // no length
  EXPECT_EQ(PSDFileReadSectionSize(file), 0U);
  Sys_FileClose(file, false);
  // A file open for writing does not grow.
  FileSpec* const writable = Sys_FileOpen(folder.path("piece").c_str(), true);
  Sys_FileSeek(writable, 25, false);
  EXPECT_EQ(PSDFileSkipSection(writable), 0);
  Sys_FileClose(writable, false);
  EXPECT_EQ(folder.read("piece").size(), 29U);
}

TEST(PsdPieces, AlphaChannelOfMergedImageData) {
  const TempFolder folder;
  const std::string raw = be16(0) + "rrrrggggbbbbalph" + "more";
  const std::string counts = be16(2) + be16(3) + be16(2) + be16(2) + be16(2) + be16(2) + be16(3) + be16(3) +
                             be16(9) + be16(9);  // red, green, blue, alpha and one more
  const std::string packed =
      be16(1) + counts + "\xFFr" + "\1rr" + "\xFFg\xFFg" + "\xFF" + "b\xFF" + "b" + "\1al\1ph";
  const auto load = [&](const std::string& bytes, int channels, ABitMap& map) {
    FileSpec* const file = openBytes(folder, bytes);
    const std::int32_t result = PSDFileSkipCompChannelsAndGetAlpha(file, 2, 2, channels, 3, &map);
    Sys_FileClose(file, false);
    return result;
  };
  for (const auto& [bytes, channels] : {std::pair{raw, 5}, {packed, 5}}) {
    TestMap map(1, 1, 32, 1);
    map.fillValue = 5;
    ASSERT_EQ(load(bytes, channels, map), 1);
    EXPECT_EQ(map.bytes(), "alph");
    EXPECT_EQ(map.depth, 8);
    EXPECT_EQ(map.fullWidth, 2);
    EXPECT_EQ(map.fillValue, 5U);
    const std::size_t end = bytes.find("ph") + 2;
    for (std::size_t n = 0; n < bytes.size(); ++n) {
      TestMap kept(1, 1, 32, 1);
      EXPECT_EQ(load(bytes.substr(0, n), channels, kept), n < end ? 0 : 1) << n;
      EXPECT_EQ(kept.depth, n < end ? 32 : 8);
    }
  }
  for (const std::string& bad : {be16(2) + raw.substr(2), be16(1) + std::string(20, '\xFF')}) {
    TestMap kept(1, 1, 32, 1);
    EXPECT_EQ(load(bad, 5, kept), 0);
    EXPECT_EQ(kept.width, 1);
  }
  EXPECT_EQ(_openFilesCount, 0);
}
