#include <cmath>
#include <functional>

#include "image/psd/PsdBytes.h"

namespace {

/// What `write` writes, `size` bytes, without a debugging stop; nothing to null.
std::string written(std::int64_t size, const std::function<unsigned char*(unsigned char*)>& write) {
  std::string bytes(static_cast<std::size_t>(size) + 1, '\x55');
  auto* const to = reinterpret_cast<unsigned char*>(bytes.data());
  EXPECT_EQ(stopsOf([&] { EXPECT_EQ(write(to), to + size); }), 0);
  EXPECT_EQ(bytes.back(), '\x55');
  EXPECT_EQ(write(nullptr), nullptr);
  bytes.pop_back();
  return bytes;
}

/// The data of an image resource, by its descriptive name's place in the section.
std::string resourceData(const std::string& section, unsigned id) {
  const std::size_t at = section.find("8BIM" + be16(id));
  if (at == std::string::npos) return "none";
  const auto number = [&](std::size_t place) { return static_cast<unsigned char>(section.at(place)); };
  const std::size_t sizeAt = at + 6 + (number(at + 6) + 2U) / 2 * 2;
  return section.substr(sizeAt + 4, number(sizeAt + 2) * 256U + number(sizeAt + 3));
}

std::string resources(int layers, int lastId, int target, const std::vector<const char*>& names, double dpi) {
  const auto count = static_cast<std::int32_t>(names.size());
  return written(ResourceDataBlockSize(layers, names.data(), count), [&](unsigned char* to) {
    return WriteResourceDataBlock(to, layers, lastId, target, names.data(), count, dpi);
  });
}

/// work(file) on a file of these bytes.
template <class Work>
auto withFile(const std::string& bytes, Work work, bool forWriting = false) {
  const TempFolder folder;
  FileSpec* const file = Sys_FileOpen(folder.write("piece", bytes).c_str(), forWriting);
  const auto result = work(file);
  EXPECT_EQ(Sys_FileGetSize(file), static_cast<std::int32_t>(bytes.size()));
  Sys_FileClose(file, false);
  return result;
}

}  // namespace

TEST(PsdRecords, Header) {
  PSDHeader header;
  PSDHeaderInit(&header, 7, 9, 16, 3, PSDFileMode::rgb);
  PSDHeaderInit(nullptr, 7, 9, 16, 3, PSDFileMode::rgb);
  header.colorModeDataLength = 5;
  const std::string bytes = written(30, [&](unsigned char* to) { return PSDBufferWriteHeader(to, header); });
  EXPECT_EQ(bytes, headerBytes(3, 9, 7, 16, 3) + be32(5));
  for (const auto& [file, expected] : {std::pair{bytes, 1},
                                       {bytes.substr(0, 29), 0},
                                       {"8BPX" + bytes.substr(4), 0},
                                       {"8BPS" + be16(2) + bytes.substr(6), 0}}) {
    PSDHeader read = {};
    EXPECT_EQ(withFile(file, [&](FileSpec* f) { return PSDFileReadHeader(f, &read); }), expected);
    if (expected == 0) continue;
    EXPECT_EQ(written(30, [&](unsigned char* to) { return PSDBufferWriteHeader(to, read); }), bytes);
    EXPECT_EQ(withFile(file, [&](FileSpec* f) { return PSDFileReadHeader(f, nullptr); }), 0);
  }
}

TEST(PsdRecords, ResourceSection) {
  EXPECT_EQ(ResourceDataBlockSize(3, nullptr, 2), 1548 + 6);
  const std::string plain = resources(3, 7, 2, {}, 72);
  EXPECT_EQ(plain.substr(0, 4), be32(1544 + 6));
  EXPECT_EQ(resourceData(plain, 1005), be32(72 << 16) + be32(0x10001) + be32(72 << 16) + be32(0x10001));
  EXPECT_EQ(resourceData(plain, 1044), be32(8));
  EXPECT_EQ(plain.substr(plain.size() - 10), be32(6) + std::string(6, '\0'));  // "Layer Groups" is last
  EXPECT_EQ(resourceData(plain, 1006), "none");
  for (const auto& [target, low] : {std::pair{2, 2}, {255, 255}, {257, 0}, {-1, 255}, {-256, 0}}) {
    EXPECT_EQ(resourceData(resources(0, 0, target, {}, 72), 1024), be16(static_cast<unsigned>(low)))
        << target;
  }
  for (const auto& [dpi, fixed] :
       {std::pair{300.5, 300U * 65536 + 32768}, {1e300, 0x7FFFFFFFU}, {std::nan(""), 0x80000000U}}) {
    EXPECT_EQ(resourceData(resources(0, 0, 0, {}, dpi), 1005).substr(8, 4), be32(fixed));
  }
  for (const std::vector<const char*>& names : {std::vector<const char*>{"ab"}, {"ab", "", "cde"}}) {
    std::string list;
    for (const char* name : names) list += static_cast<char>(std::strlen(name)) + std::string(name);
    const std::string named = resources(1, 255, 0, names, 72);
    EXPECT_EQ(named.size(), 1548 + 2 + 12 + list.size() + list.size() % 2);
    EXPECT_EQ(resourceData(named, 1006), list);
    EXPECT_EQ(resourceData(named, 1044), be32(0));  // the low-order byte of 256
    char found[4][256];
    const std::string section = named.substr(4);
    const auto size = static_cast<std::int32_t>(section.size());
    const auto count = static_cast<std::int32_t>(names.size());
    ASSERT_EQ(ExtractResourceDataBlockAlphaNames(section.data(), size, found, 4), count);
    for (std::size_t i = 0; i < names.size(); ++i) EXPECT_STREQ(found[i], names[i]);
    EXPECT_EQ(ExtractResourceDataBlockAlphaNames(section.data(), size, found, 1), 1);
    EXPECT_EQ(ExtractResourceDataBlockAlphaNames(section.data(), size, nullptr, 4), 0);
    EXPECT_EQ(ExtractResourceDataBlockAlphaNames(section.data(), -1, found, 4), 0);
    for (std::int32_t n = 0; n < size; ++n) {
      const std::vector<char> prefix(section.begin(), section.begin() + n);
      EXPECT_EQ(ExtractResourceDataBlockAlphaNames(prefix.data(), n, found, 4),
                n + 1 == size && list.size() % 2 != 0 ? count : 0);
    }
  }
}

TEST(PsdRecords, LayersAreWrittenAndParsedBack) {
  OwnedBitMap map;
  map.AllocateCropped(9, 8, 1, 2, 4, 7, 32);
  map.ClearBuffer();
  OwnedBitMap mask;
  mask.AllocateCropped(9, 8, 0, 0, 1, 3, 8);
  std::memcpy(mask.buffer, "xyz", 3);
  PSDLayerMaskInfo info(4);
  EXPECT_EQ(info.InitLayerInfo(4, 1, 3, 8, &map, nullptr, nullptr), 0);
  EXPECT_EQ(info.InitLayerInfo(-1, 1, 3, 8, &map, nullptr, nullptr), 0);
  EXPECT_EQ(info.InitLayerInfo(0, 1, 3, 7, &map, nullptr, nullptr), 0);
  const struct {
    const char* given;
    const char* name;
    const char* key;
    unsigned fill, flags, channels, locks;
    int id;
  } rows[] = {{nullptr, "KShading (do not edit)", "hLit", 128, 25, 5, 7, 0},
              {nullptr, "Layer 42", "norm", 127, 0, 5, 0, 42},
              {"own", "own KShading (do not edit)", "hLit", 255, 25, 4, 7, 0},
              {"own", "own", "norm", 0, 0, 3, 0, 100}};
  for (int i = 0; i < 4; ++i) {
    const auto& row = rows[i];
    mask.fillValue = row.fill;
    const auto channels = static_cast<std::uint16_t>(row.channels == 5 ? 9 : row.channels);
    EXPECT_EQ(
        info.InitLayerInfo(i, row.id, channels, 8, &map, row.channels == 5 ? &mask : nullptr, row.given), 1);
  }
  const std::int64_t head = info.ComputeHeaderFileDataSize();
  EXPECT_EQ(info.GetLayerImageSize(), 2 * (4 * (15 + 2) + (3 + 2)) + (4 + 3) * (15 + 2));
  const std::string bytes =
      written(head + info.GetLayerImageSize(), [&](unsigned char* to) { return info.WriteToBuffer(to); });
  EXPECT_EQ(bytes.substr(static_cast<std::size_t>(head) + 4 * 17, 5), be16(0) + "xyz");
  const std::string section =
      written(info.ComputeSectionSize(), [&](unsigned char* to) { return info.WriteSectionToBuffer(to); });
  EXPECT_EQ(section, withLength(withLength(be16(4) + bytes + std::string(bytes.size() % 2, '\0'))));
  std::int32_t position = 0;
  const auto size = static_cast<std::int32_t>(bytes.size());
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::int32_t start = position;
    PSDLayerRecord record;
    PSDExtent extra = {};
    ASSERT_EQ(PSDLayerRecordParse(bytes.data(), &position, &record, size, &extra), 1);
    EXPECT_STREQ(record.name, row.name);
    EXPECT_EQ(std::string(record.blendKey, 4), row.key);
    EXPECT_EQ(record.flags, row.flags);
    EXPECT_EQ(record.layerNumber, row.id);
    ASSERT_EQ(record.channelCount, row.channels);
    EXPECT_EQ(record.hasMask, row.channels == 5);
    EXPECT_EQ(record.mask.defaultColor, record.hasMask && row.fill >= 128 ? 255 : 0);
    EXPECT_EQ(extra.position + extra.size, position);
    EXPECT_EQ(extra.size, 128);
    const std::string own =
        bytes.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(position - start));
    EXPECT_EQ(own.substr(0, 18), be32(1) + be32(2) + be32(4) + be32(7) + be16(row.channels));
    EXPECT_NE(own.find("8BIMlyid" + withLength(be32(static_cast<unsigned>(row.id)))), std::string::npos);
    EXPECT_NE(own.find("8BIMlspf" + withLength(be32(row.locks))), std::string::npos);
    // The same again from what was parsed.
    EXPECT_EQ(
        written(record.ComputeFileDataSize(), [&](unsigned char* to) { return record.WriteToBuffer(to); }),
        own);
    // Cut anywhere, it is refused and nothing moves.
    for (std::int32_t n = start; n < position; ++n) {
      const std::vector<char> prefix(bytes.begin(), bytes.begin() + n);
      std::int32_t at = start;
      EXPECT_EQ(PSDLayerRecordParse(prefix.data(), &at, &record, n), 0);
      EXPECT_EQ(at, start);
    }
  }
  EXPECT_EQ(position, head);
  PSDLayerRecord record;
  for (std::int32_t at : {-1, INT32_MIN, size, INT32_MAX}) {
    EXPECT_EQ(PSDLayerRecordParse(bytes.data(), &at, &record, size), 0);
  }
  position = 0;
  EXPECT_EQ(PSDLayerRecordParse(bytes.data(), &position, &record, -5), 0);
  EXPECT_EQ(PSDLayerRecordParse(bytes.data(), nullptr, &record, size), 0);
  EXPECT_EQ(PSDLayerRecordParse(bytes.data(), &position, nullptr, size), 0);
  EXPECT_EQ(PSDLayerRecordParse(nullptr, &position, &record, size), 0);
}

TEST(PsdRecords, MaskDataOfOtherWriters) {
  const std::string fixed = std::string(16, '\0') + be16(0) + "8BIMnorm" + be32(0);
  const std::string fields = be32(1) + be32(2) + be32(3) + be32(4) + "\xFF\5";
  // 17 bytes of mask data are none, 18 are, and the rest of the extra data may be missing.
  for (const std::size_t count : {0U, 17U, 18U, 20U}) {
    const std::string extra = withLength((fields + "..").substr(0, count));
    const std::string bytes = fixed + withLength(extra + (count == 20 ? be32(0) + "\2ab" + '\0' : ""));
    std::int32_t position = 0;
    PSDLayerRecord record;
    ASSERT_EQ(PSDLayerRecordParse(bytes.data(), &position, &record, static_cast<std::int32_t>(bytes.size())),
              1);
    EXPECT_EQ(record.hasMask, count >= 18);
    EXPECT_EQ(record.mask.right, count >= 18 ? 4 : 0);
    EXPECT_EQ(record.mask.defaultColor, count >= 18 ? 255 : 0);
    EXPECT_EQ(record.mask.flags, count >= 18 ? 5 : 0);
    EXPECT_STREQ(record.name, count == 20 ? "ab" : "");
  }
}

TEST(PsdRecords, ChannelDataOfAnyIdAndLength) {
  OwnedBitMap mask(1, 1, 8);
  mask.buffer[0] = 'm';
  const std::string pixelBytes = "\xA0\xB1\xC2\xD3\xE4\xF5\x86\x97";
  // Of channels 65535, 0, 1 and 2, 16 bits each.
  for (const auto& [mapDepth, values] : {std::pair<int, std::string>{8, "\xA0\xA0\xA0\xA0\xA0\xA0\xA0\xA0"},
                                         {16, "\xA0\xB1\xA0\xB1\xA0\xB1\xA0\xB1"},
                                         {24, "\xFF\xFF\xA0\xA0\xB1\xB1\xC2\xC2"},
                                         {32, "\xA0\xA0\xB1\xB1\xC2\xC2\xD3\xD3"},
                                         {64, pixelBytes}}) {
    OwnedBitMap map(1, 1, mapDepth);
    std::memcpy(map.buffer, pixelBytes.data(), static_cast<std::size_t>(mapDepth / 8));
    for (const std::uint16_t id : {65535, 0, 1, 2, 3, 32767, 65533, 65534}) {
      const std::size_t known = (id + 1U) & 0xFFFF;
      const std::string value = known < 4     ? values.substr(2 * known, 2)
                                : id == 65534 ? "mm"
                                              : std::string(2, '\0');
      for (std::uint32_t i = 0; i < 3 * 8; ++i) {
        const auto depth = static_cast<std::uint16_t>(8 + i / 8 * 8);
        const std::uint32_t length = i % 8;
        PSDLayerMaskInfo info(1);
        ASSERT_EQ(info.InitLayerInfo(0, 1, 1, depth, &map, nullptr, "a"), 1);
        info.layers[0].maskBitmap = &mask;
        info.layers[0].channels[0] = {id, length};
        const std::int64_t head = info.ComputeHeaderFileDataSize();
        const std::string bytes = written(head + length, [&](auto* to) { return info.WriteToBuffer(to); });
        // A compression word, one pixel where there is room for all of it, and zeros.
        std::string expected(length, '\0');
        const std::size_t count = depth / 8U;
        if (depth != 24 && length >= 2 + count) expected.replace(2, count, value, 0, count);
        EXPECT_EQ(bytes.substr(static_cast<std::size_t>(head)), expected)
            << mapDepth << " " << id << " " << depth << " " << length;
      }
    }
  }
  // Lengths that no file holds.
  for (const auto& [w, h, depth, length] : {std::tuple{INT32_MAX, 1, 16, 0xFFFFFFFFU},
                                            {-1, INT32_MAX, 65535, 2U},
                                            {65535, 65536, 8, 0xFFFF0002U}}) {
    ABitMap map;
    map.width = w;
    map.height = h;
    PSDLayerMaskInfo info(1);
    ASSERT_EQ(info.InitLayerInfo(0, 107, 3, static_cast<std::uint16_t>(depth), &map, nullptr, nullptr), 1);
    EXPECT_EQ(info.GetLayerImageSize(), std::int64_t{3} * length) << w << " x " << h;
    EXPECT_STREQ(info.layers[0].name, "Layer 7");
  }
}

TEST(PsdPieces, SkipSectionsAndReadSizes) {
  const std::string bytes = withLength("abc") + withLength("12345") + be32(6) + "12345";
  // A file open for writing does not grow.
  for (const bool forWriting : {false, true}) {
    const auto skip = [](FileSpec* file) {
      EXPECT_EQ(PSDFileSkipSection(file), 1);
      EXPECT_EQ(PSDFileReadSectionSize(file), 5U);
      EXPECT_EQ(Sys_FileSeek(file, 5, true), 16);
      EXPECT_EQ(PSDFileSkipSection(file), 1);  // past the end
      EXPECT_EQ(Sys_FileGetPos(file), 25);
      EXPECT_EQ(PSDFileReadSectionSize(file), 0U);  // no length
      return PSDFileSkipSection(file);
    };
    EXPECT_EQ(withFile(bytes, skip, forWriting), 0);
  }
}

TEST(PsdPieces, AlphaChannelOfMergedImageData) {
  const std::string raw = be16(0) + "rrrrggggbbbbalph" + "more";
  const std::string counts = be16(2) + be16(3) + be16(2) + be16(2) + be16(2) + be16(2) + be16(3) + be16(3) +
                             be16(9) + be16(9);  // red, green, blue, alpha and one more
  const std::string packed =
      be16(1) + counts + "\xFFr" + "\1rr" + "\xFFg\xFFg" + "\xFF" + "b\xFF" + "b" + "\1al\1ph";
  // "" for a failure; one behind the code leaves no buffer.
  const auto load = [](const std::string& bytes) {
    OwnedBitMap map(1, 1, 32);
    map.fillValue = 5;
    const std::int32_t result = withFile(
        bytes, [&](FileSpec* file) { return PSDFileSkipCompChannelsAndGetAlpha(file, 2, 2, 5, 3, &map); });
    EXPECT_EQ(describe(map), result == 1 ? "2x2x8 l0 t0 r0 b0" : "1x1x32 l0 t0 r0 b0");
    EXPECT_EQ(map.fillValue, 5U);
    EXPECT_EQ(map.fullWidth, map.width);
    const bool known = bytes.size() > 1 && bytes[0] == 0 && static_cast<unsigned char>(bytes[1]) < 2;
    EXPECT_EQ(map.buffer == nullptr, result == 0 && known);
    return result == 1 ? map.text() : "";
  };
  for (const std::string& bytes : {raw, packed}) {
    const std::size_t end = bytes.find("ph") + 2;
    for (std::size_t n = 0; n <= bytes.size(); ++n)
      EXPECT_EQ(load(bytes.substr(0, n)), n < end ? "" : "alph") << n;
  }
  EXPECT_EQ(stopsOf([&] { EXPECT_EQ(load(be16(2) + raw.substr(2)), ""); }), 1);
  EXPECT_EQ(load(be16(1) + std::string(20, '\xFF')), "");
  EXPECT_EQ(
      withFile(raw,
               [](FileSpec* file) { return PSDFileSkipCompChannelsAndGetAlpha(file, 2, 2, 5, 3, nullptr); }),
      0);
}
