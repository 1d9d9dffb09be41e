#include <algorithm>

#include "image/psd/PsdBytes.h"

namespace {

/// Loads the merged image from memory, in a block of its own for sanitizers to see a byte too far, or the
/// first layer from a file. "" for a failure, which must leave the bitmap as it was.
class Loads {
 public:
  std::string load(const std::string& file, bool layer, bool withAlpha) const {
    OwnedBitMap map(1, 1, 32);
    std::memcpy(map.buffer, "kept", 4);
    std::int32_t result = -1;
    if (layer) {
      // In place: file systems take their time over files that are emptied and written again.
      std::fstream(path_, std::ios::binary | std::ios::in | std::ios::out) << file;
      std::filesystem::resize_file(path_, file.size());
      result = map.LoadPSDLayer(path_.c_str(), 5, withAlpha);
    } else if (!file.empty()) {
      const std::vector<char> copy(file.begin(), file.end());
      result = map.LoadPSD(nullptr, withAlpha, copy.data(), static_cast<int>(copy.size()));
    }
    if (result == 0) return map.text();
    EXPECT_EQ(std::to_string(result) + map.text(), "-1kept");
    return "";
  }

 private:
  TempFolder folder_;
  std::string path_ = folder_.write("a.psd", "");
};

std::string argb(const std::string& alpha, const std::string& red, const std::string& green,
                 const std::string& blue) {
  std::string pixels;
  for (std::size_t i = 0; i < red.size(); ++i) pixels += {alpha[i], red[i], green[i], blue[i]};
  return pixels;
}

const std::string kNoAlpha(6, '\0');

/// Two layers of 3 x 2 pixels, raw and run-length by turns; in the layers, lower case.
struct Layered {
  const std::string record = be32(0) + be32(0) + be32(2) + be32(3) + be16(3) + be16(0) + be32(8) + be16(1) +
                             be32(8) + be16(2) + be32(8) + "8BIMnorm" + be32(0xFF000000) +
                             withLength(be32(0) + be32(0) + "\3abc");
  const std::string packed = be16(1) + be16(4) + be16(4) + "\2uvw" + "\xFE" + "x";
  const std::string raw = be16(0) + "abcdef";
  const std::string front = headerBytes(4, 2, 3) + withLength("xy") + withLength("resources");
  const std::string layer = raw + packed + raw;
  const std::string pixels = packed + raw + packed;  // of the second
  const std::string merged = be16(1) + std::string(16, '\1') + "\xFE" + "A\2BCD" + "\xFE" + "E\2FGH" +
                             "\xFE" + "I\2JKL" + "\xFE" + "M\xFE" + "N";
  const std::string file =
      front + withLength(withLength(be16(2) + record + record + layer + pixels)) + merged;

  std::string firstLayer(bool withAlpha) const {
    return argb(withAlpha ? "uvwxxx" : kNoAlpha, "abcdef", "uvwxxx", "abcdef");
  }
  std::string image(bool withAlpha) const {
    return argb(withAlpha ? "MMMNNN" : kNoAlpha, "AAABCD", "EEEFGH", "IIIJKL");
  }
};

}  // namespace

// What a loader sees first it sees once in a process; suites of this name run before all others.
TEST(PsdFirstHeaderDeathTest, EachLoaderKeepsTheFirst) {
  const Loads loads;
  const auto flat = [](unsigned width) {
    return flatFile(headerBytes(1, 1, width), be16(0) + std::string(width, 'a'));
  };
  const struct {
    std::string file;
    bool layer;
    unsigned columns, modeData;
  } rows[] = {{flat(5).substr(0, 29), true, 0, 0},
              {Layered().file, true, 3, 2},
              {flat(7), true, 7, 0},  // is the merged image's loader's first
              {flat(9), false, 7, 0},
              {flat(9), true, 7, 0}};
  for (const auto& row : rows) {
    loads.load(row.file, row.layer, false);
    EXPECT_EQ(gPSDHeader.columns, row.columns);
    EXPECT_EQ(gPSDHeader.colorModeDataLength, row.modeData);
  }
}

TEST(PsdLoader, EveryPrefixAndByteOfALayeredFile) {
  const Loads loads;
  const Layered l;
  const std::size_t records = l.front.size() + 4 + 4 + 2 + 2 * l.record.size();
  for (const bool withAlpha : {false, true}) {
    // What the walk needs: the first channels, and of the merged image all before its last record.
    const std::size_t layerEnd = records + l.layer.size() + (withAlpha ? l.packed.size() : 0);
    const std::size_t imageEnd = l.file.size() - (withAlpha ? 0 : 4);
    for (std::size_t n = 0; n <= l.file.size(); ++n) {
      const std::string prefix = l.file.substr(0, n);
      EXPECT_EQ(loads.load(prefix, true, withAlpha), n < layerEnd ? "" : l.firstLayer(withAlpha)) << n;
      EXPECT_EQ(loads.load(prefix, false, withAlpha), n < imageEnd ? "" : l.image(withAlpha)) << n;
    }
    // Lengths around the layer that are too large do not matter to it; without one, it is the merged image.
    for (const std::size_t at : {l.front.size(), l.front.size() + 4}) {
      std::string file = l.file;
      file[at] = '\x7F';
      EXPECT_EQ(loads.load(file, true, withAlpha), l.firstLayer(withAlpha));
    }
    for (const std::string& layers :
         {be32(0), withLength(be32(0) + "global"), withLength(withLength(be16(0) + "abc"))})
      EXPECT_EQ(loads.load(l.front + layers + l.merged, true, withAlpha), l.image(false));
    for (std::size_t at = 0; at < l.file.size(); ++at) {
      for (const int value : {0, 1, 2, 0x7F, 0x80, 0xFF}) {
        std::string bad = l.file;
        bad[at] = static_cast<char>(value);
        loads.load(bad, true, withAlpha);
        loads.load(bad, false, withAlpha);
      }
    }
  }
  // A negative layer count steps over no records: the first record is taken for channel data.
  const std::string info = be16(0xFFFE) + l.layer + std::string(8, '\0');
  EXPECT_EQ(loads.load(l.front + withLength(withLength(info)), true, false), l.firstLayer(false));
}

TEST(PsdLoader, KeptOddities) {
  const auto zeros = [](std::size_t count) { return std::string(count, '\0'); };
  const struct {
    const char* what;
    std::string file;
    std::string pixels;
  } rows[] = {
      {"grey fills red", flatFile(headerBytes(1, 1, 2, 8, 1), be16(0) + "ab"),
       argb(zeros(2), "ab", zeros(2), zeros(2))},
      {"signature, depth and mode are not looked at",
       "XXXX" + flatFile(headerBytes(3, 1, 1, 99, 99), be16(0) + "abc").substr(4),
       argb(zeros(1), "a", "b", "c")},
      {"128 repeats 129 times",
       flatFile(headerBytes(1, 1, 130), be16(1) + be16(4) + "\x80z" + std::string("\0y", 2)),
       argb(zeros(130), std::string(129, 'z') + "y", zeros(130), zeros(130))},
      {"129 times alone", flatFile(headerBytes(1, 1, 129), be16(1) + be16(2) + "\x80z"),
       argb(zeros(129), std::string(129, 'z'), zeros(129), zeros(129))},
      {"a run past the plane is cut and decoding goes on",
       flatFile(headerBytes(2, 1, 2), be16(1) + be32(0) + "\3abcd" + "\xF0" + "e"),
       argb(zeros(2), "ab", "ee", zeros(2))},
      {"any other compression code is run-length",
       flatFile(headerBytes(1, 1, 2), be16(3) + be16(0) + "\xFFq"), argb(zeros(2), "qq", zeros(2), zeros(2))},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(Loads().load(row.file, false, true), row.pixels);
    // In memory of any kind, without a size; the margins and the fill value stay as `Allocate` leaves them.
    char file[200] = {};
    std::copy(row.file.begin(), row.file.end(), file);
    OwnedBitMap map;
    map.AllocateCropped(9, 9, 1, 1, 3, 4, 8);
    map.fillValue = 77;
    EXPECT_EQ(map.LoadPSD("not read", true, file), 0);
    EXPECT_EQ(map.text(), row.pixels);
    EXPECT_EQ(map.left, 1);
    EXPECT_EQ(map.fillValue, 77U);
    EXPECT_EQ(map.LoadPSD(nullptr, true, file, -1), -1);
  }
}

TEST(PsdLoader, ClaimsThatTheFileCannotBackAskForNoMemory) {
  const TempFolder folder;
  for (const unsigned side : {23000U, 300000U, 0xFFFFFFFFU, 0x80000000U, 0x10000U}) {
    for (const unsigned code : {0U, 1U}) {
      const std::string header = headerBytes(3, side, side);
      const std::string merged = be16(code) + std::string(1000, '\x81');
      const std::string file = flatFile(header, merged);
      const std::string path =
          folder.write("a.psd", header + be32(0) + be32(0) + be32(9999) + be32(9999) + be16(-1) + merged);
      OwnedBitMap map;
      const std::int32_t before = gAllocatedMem;
      EXPECT_EQ(map.LoadPSD(nullptr, false, file.data(), static_cast<int>(file.size())), -1);
      EXPECT_EQ(gAllocatedMem, before) << side;
      EXPECT_EQ(map.LoadPSDLayer(path.c_str(), 0, false), -1);
      EXPECT_LT(gAllocatedMem - before, 10000) << side;
    }
  }
  for (const char* path : {"", "/", "/nonexistent/a.psd", static_cast<const char*>(nullptr)}) {
    OwnedBitMap map(1, 1, 32);
    EXPECT_EQ(map.LoadPSD(path, false), -1);
    EXPECT_EQ(map.LoadPSDLayer(path, 0, false), -1);
    EXPECT_EQ(map.width, 1);
  }
  EXPECT_EQ(Loads().load(flatFile(headerBytes(0, 1, 1), be16(0) + "abc"), false, true), "");
  EXPECT_EQ(_openFilesCount, 0);
}
