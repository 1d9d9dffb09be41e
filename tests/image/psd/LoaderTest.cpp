#include <functional>

#include "image/psd/PsdBytes.h"

namespace {

/// Loads `file` in every way and compares with the reference; a failure must leave the bitmap as it was.
class Loads {
 public:
  Loads() : path_(folder_.write("a.psd", "")) {}

  void expectAsReference(const std::string& file, const std::string& what) {
    rewrite(file);
    for (const bool withAlpha : {false, true}) {
      expect(file, what, true, withAlpha,
             [&](ABitMap& map) { return map.LoadPSDLayer(path_.c_str(), 5, withAlpha); });
      expect(file, what, false, withAlpha, [&](ABitMap& map) {
        // Its own block: sanitizers see a byte too far.
        const std::vector<char> copy(file.begin(), file.end());
        return file.empty() ? map.LoadPSD(path_.c_str(), withAlpha)
                            : map.LoadPSD(nullptr, withAlpha, copy.data(), static_cast<int>(copy.size()));
      });
    }
  }

  /// The merged image from the path, and from a block that does not say how long the file in it is: the file
  /// and zeros up to the size that the system tells of the block, and nothing that was in memory before.
  void expectPathAndBlockAsReference(const std::string& file, const std::string& what) {
    expectAsReference(file, what);
    for (const bool withAlpha : {false, true}) {
      expect(file, what + " by path", false, withAlpha,
             [&](ABitMap& map) { return map.LoadPSD(path_.c_str(), withAlpha); });
      if (file.empty()) continue;
      void* const used = MY_MEM_MALLOC(static_cast<int>(file.size()), "used");
      Sys_MemSet(used, 0x5A, Sys_GetMemSize(used));
      MY_MEM_FREE(used);
      std::int32_t size = 0;
      void* const block = LoadFromFile(path_.c_str(), &size);
      std::string padded = file;
      padded.resize(static_cast<std::size_t>(Sys_GetMemSize(block)));
      expect(padded, what + " as a block", false, withAlpha,
             [&](ABitMap& map) { return map.LoadPSD(nullptr, withAlpha, block); });
      MY_MEM_FREE(block);
    }
  }

 private:
  /// In place: file systems take their time over files that are emptied and written again.
  void rewrite(const std::string& file) {
    std::fstream(path_, std::ios::binary | std::ios::in | std::ios::out) << file;
    if (file.size() == size_) return;
    size_ = file.size();
    std::filesystem::resize_file(path_, size_);
  }

  void expect(const std::string& file, const std::string& what, bool layer, bool withAlpha,
              const std::function<std::int32_t(ABitMap&)>& load) {
    const std::string expected = ReferenceLoader::load(file, layer, withAlpha);
    const TestMap before(2, 1, 32, 9);
    TestMap map(2, 1, 32, 9);
    const std::int32_t result = load(map);
    const std::string got = result == 0 && map.BufferBytes() == 0 ? "empty" : map.bytes();
    // One comparison for each load: there are hundreds of thousands.
    if (result == (expected.empty() ? -1 : 0) && got == (expected.empty() ? before.bytes() : expected))
      return;
    ADD_FAILURE() << what << ", layer " << layer << ", alpha " << withAlpha << ": " << result;
  }

  TempFolder folder_;
  std::string path_;
  std::uintmax_t size_ = 0;
};

std::string rle(const std::string& row) {
  return static_cast<char>(row.size() - 1) + row;
}

/// Two layers of 3 x 2 pixels, the first raw and run-length by turns; what is structure and no pixel.
std::string smallLayered() {
  const std::string record = be32(0) + be32(0) + be32(2) + be32(3) + be16(3) + be16(0) + be32(8) + be16(1) +
                             be32(8) + be16(2) + be32(8) + "8BIMnorm" + be32(0xFF000000) +
                             withLength(be32(0) + be32(0) + "\3abc");
  const std::string packed = be16(1) + be16(4) + be16(4) + rle("uvw") + '\xFE' + '\7';
  const std::string raw = be16(0) + "abcdef";
  const std::string info = be16(2) + record + record + raw + packed + raw + raw + raw + packed;
  const std::string merged = be16(1) + be16(2) + be16(4) + be16(2) + be16(4) + be16(2) + be16(4) + be16(2) +
                             be16(2) + "\xFE" + "A" + rle("BCD") + "\xFE" + "E" + rle("FGH") + "\xFE" + "I" +
                             rle("JKL") + "\xFE" + "M" + "\xFE" + "N";
  return headerBytes(4, 2, 3) + withLength("xy") + withLength("resources") + withLength(withLength(info)) +
         merged;
}

}  // namespace

TEST(PsdLoader, EveryPrefixOfALayeredFile) {
  Loads loads;
  const std::string file = smallLayered();
  ASSERT_NE(ReferenceLoader::load(file, true, true), "");
  ASSERT_NE(ReferenceLoader::load(file, false, true), "");
  for (std::size_t n = 0; n <= file.size(); ++n) {
    loads.expectPathAndBlockAsReference(file.substr(0, n), "first " + std::to_string(n));
  }
}

TEST(PsdLoader, EverySingleByteCorruptionOfALayeredFile) {
  Loads loads;
  const std::string file = smallLayered();
  for (std::size_t at = 0; at < file.size(); ++at) {
    for (int value = 0; value < 256; ++value) {
      std::string bad = file;
      bad[at] = static_cast<char>(value);
      loads.expectAsReference(bad, "byte " + std::to_string(at) + " as " + std::to_string(value));
    }
  }
}

TEST(PsdLoader, OwnFilesCutAndCorrupted) {
  Loads loads;
  const TempFolder folder;
  const TestMap a(3, 2, 32, 1);
  const TestMap b(3, 2, 32, 2);
  const ABitMap* const layers[] = {&a, &b};
  for (const ABitMap* mask : {static_cast<const ABitMap*>(nullptr), static_cast<const ABitMap*>(&b)}) {
    ASSERT_EQ(SavePSDMultiLayered(folder.path("b.psd").c_str(), layers, 2, &b, mask, 0), 0);
    const std::string file = folder.read("b.psd");
    for (std::size_t n = 0; n < file.size(); n += mask == nullptr ? 7 : 1) {
      loads.expectPathAndBlockAsReference(file.substr(0, n), "first " + std::to_string(n));
    }
    for (std::size_t at = 0; at < file.size(); ++at) {
      std::string bad = file;
      bad[at] = static_cast<char>(bad[at] ^ 0x81);
      loads.expectAsReference(bad, "byte " + std::to_string(at));
    }
  }
}

TEST(PsdLoader, WhatIsWrittenIsReadBack) {
  const TempFolder folder;
  const std::string path = folder.path("a.psd");
  for (const auto& [w, h] : {std::pair{1, 1}, {3, 5}, {257, 129}}) {
    const TestMap a(w, h, 32, 1);
    const TestMap b(w, h, 32, 2);
    std::string opaque = a.bytes();
    std::string composite = b.bytes();
    for (std::size_t i = 0; i < opaque.size(); i += 4) opaque[i] = composite[i] = '\0';
    const ABitMap* const layers[] = {&a, &b};
    ASSERT_EQ(SavePSDMultiLayered(path.c_str(), layers, 2, &b, nullptr, 0), 0);
    TestMap map;
    EXPECT_EQ(map.LoadPSDLayer(path.c_str(), 1, false), 0);
    EXPECT_EQ(map.bytes(), opaque);
    EXPECT_EQ(map.LoadPSD(path.c_str(), true), 0);  // of three channels
    EXPECT_EQ(map.bytes(), composite);
    ASSERT_EQ(a.SavePSD(path.c_str(), true), 0);
    EXPECT_EQ(map.LoadPSD(path.c_str(), true), 0);
    EXPECT_EQ(map.bytes(), a.bytes());
    std::int32_t size = 0;
    void* const data = LoadFromFile(path.c_str(), &size);
    EXPECT_EQ(map.LoadPSD("not read", true, data), 0);
    MY_MEM_FREE(data);
    EXPECT_EQ(map.bytes(), a.bytes());
    // No layers: the merged image without alpha.
    EXPECT_EQ(map.LoadPSDLayer(path.c_str(), 0, true), 0);
    EXPECT_EQ(map.bytes(), opaque);
  }
}

TEST(PsdLoader, KeptOddities) {
  Loads loads;
  const std::string empty = be32(0) + be32(0) + be32(0);
  const struct {
    const char* what;
    std::string file;
    std::string pixels;
  } rows[] = {
      {"grey fills red", headerBytes(1, 1, 2, 8, 1) + empty + be16(0) + "ab",
       std::string("\0a\0\0\0b\0\0", 8)},
      {"signature, depth and mode are not looked at",
       "XXXX" + headerBytes(3, 1, 1, 99, 99).substr(4) + empty + be16(0) + "abc", std::string("\0abc", 4)},
      {"128 repeats 129 times",
       headerBytes(1, 1, 130) + empty + be16(1) + be16(4) + "\x80z" + std::string("\0y", 2),
       [] {
         std::string pixels;
         for (int i = 0; i < 130; ++i)
           pixels += std::string("\0", 1) + (i < 129 ? 'z' : 'y') + std::string(2, '\0');
         return pixels;
       }()},
      {"a run past the plane is cut and decoding goes on",
       headerBytes(2, 1, 2) + empty + be16(1) + be32(0) + "\3abcd" + "\xF0" + "e",
       std::string("\0ae\0\0be\0", 8)},
      {"any other compression code is run-length", headerBytes(1, 1, 2) + empty + be16(3) + be16(0) + "\xFFq",
       std::string("\0q\0\0\0q\0\0", 8)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    TestMap map;
    EXPECT_EQ(map.LoadPSD(nullptr, true, row.file.data(), static_cast<int>(row.file.size())), 0);
    EXPECT_EQ(map.bytes(), row.pixels);
    loads.expectAsReference(row.file, row.what);
  }
  // A negative layer count steps over no records: the first record is taken for channel data.
  std::string file = smallLayered();
  file.replace(26 + 4 + 2 + 4 + 9 + 8, 2, be16(0xFFFE));
  EXPECT_NE(ReferenceLoader::load(file, true, false), ReferenceLoader::load(smallLayered(), true, false));
  loads.expectAsReference(file, "negative layer count");
}

TEST(PsdLoader, KeepsMarginsAndFillValueAsAllocateDoes) {
  TestMap map;
  map.AllocateCropped(9, 9, 1, 1, 3, 4, 8);
  map.fillValue = 77;
  const std::string file = headerBytes(3, 1, 1) + be32(0) + be32(0) + be32(0) + be16(0) + "abc";
  ASSERT_EQ(map.LoadPSD(nullptr, false, file.data(), static_cast<int>(file.size())), 0);
  EXPECT_EQ(map.fullWidth, 1);
  EXPECT_EQ(map.width, 1);
  EXPECT_EQ(map.depth, 32);
  EXPECT_EQ(map.left, 1);
  EXPECT_EQ(map.fillValue, 77U);
}

TEST(PsdLoader, ClaimsThatTheFileCannotBackAskForNoMemory) {
  const std::string empty = be32(0) + be32(0) + be32(0);
  Loads loads;
  for (const unsigned side : {300000U, 30000U, 0xFFFFFFFFU, 0x80000000U, 0x10000U}) {
    for (const unsigned code : {0U, 1U}) {
      const std::string file = headerBytes(3, side, side) + empty + be16(code) + std::string(1000, '\x81');
      const std::int32_t before = gAllocatedMem;
      TestMap map;
      EXPECT_EQ(map.LoadPSD(nullptr, false, file.data(), static_cast<int>(file.size())), -1);
      EXPECT_EQ(gAllocatedMem, before) << side;
    }
  }
  for (const char* path : {"", "/", "/nonexistent/a.psd", static_cast<const char*>(nullptr)}) {
    TestMap map(1, 1, 32, 1);
    EXPECT_EQ(map.LoadPSD(path, false), -1);
    EXPECT_EQ(map.LoadPSDLayer(path, 0, false), -1);
    EXPECT_EQ(map.width, 1);
  }
  loads.expectAsReference(headerBytes(0, 1, 1) + empty + be16(0) + "abc", "no channel");
  loads.expectAsReference(headerBytes(3, 0, 0) + empty + be16(0), "no pixel");
  EXPECT_EQ(_openFilesCount, 0);
}
