// The input as a PSD file: both loaders and the routines that read piece by piece. Nothing may be read or
// written outside a block, a failed load leaves the bitmap alone, and what was loaded survives being saved.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "EveryPart.h"
#include "Require.h"
#include "ScratchFolder.h"
#include "image/PSDFile.h"
#include "image/psd/Cursor.h"
#include "system/Memory.h"

// An input is small work: every part is always done.
bool fuzz::gEveryPart = true;

namespace {

using fuzz::require;

class Picture : public ABitMap {
 public:
  Picture() { Allocate(2, 1, 32), std::memcpy(buffer, "untouched", 8); }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  ~Picture() { Free(); }

  std::string_view bytes() const {
    return {reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(BufferBytes())};
  }
};

void checkLoaded(std::int32_t result, const Picture& picture, std::size_t fileSize) {
  require(result == 0 || result == -1, "a loader answers 0 or -1");
  if (result == 0) {
    require(picture.buffer != nullptr && picture.depth == 32, "a loaded picture has 32 bits");
    require(picture.bytes().size() <= 4 * 65 * fileSize, "a picture is no larger than the file justifies");
  } else {
    require(picture.bytes() == "untouche", "a failed load leaves the bitmap as it was");
  }
}

void checkLoaders(const std::string& path, const std::vector<unsigned char>& file) {
  for (const bool withAlpha : {false, true}) {
    Picture fromMemory;
    const auto size = static_cast<std::int32_t>(file.size());
    const std::int32_t result = size == 0 ? -1 : fromMemory.LoadPSD(nullptr, withAlpha, file.data(), size);
    checkLoaded(result, fromMemory, file.size());
    Picture fromFile;
    require(fromFile.LoadPSD(path.c_str(), withAlpha) == result && fromFile.bytes() == fromMemory.bytes(),
            "a file is loaded from disk as from memory");
    Picture layer;
    checkLoaded(layer.LoadPSDLayer(path.c_str(), 0, withAlpha), layer, file.size());
    if (result != 0 || !withAlpha) continue;
    const std::string copy = fuzz::scratchFolder() + "/copy.psd";
    Picture again;
    require(fromMemory.SavePSD(copy.c_str(), true) == 0 && again.LoadPSD(copy.c_str(), true) == 0 &&
                again.bytes() == fromMemory.bytes(),
            "a picture is loaded as it was saved");
  }
}

/// Writes what was parsed with pixels of several depths, whatever its channels say that they are.
void checkWritten(const PSDLayerRecord& parsed) {
  constexpr std::uint32_t kLongest = 100;
  constexpr std::int32_t kDepths[] = {8, 16, 24, 32, 64};
  PSDLayerMaskInfo info(0);
  std::vector<ABitMap> maps(std::size(kDepths));
  for (std::size_t i = 0; i < maps.size(); ++i) {
    maps[i].Allocate(3, 3, kDepths[i]);
    maps[i].ClearBuffer();
    PSDLayerRecord record = parsed;
    record.depth = (parsed.flags + i) % 2 == 0 ? 8 : 16;
    record.bitmap = record.maskBitmap = &maps[i];
    for (PSDChannelInfo& channel : record.channels) channel.length = std::min(channel.length, kLongest);
    info.layers.push_back(record);
  }
  std::vector<unsigned char> content(
      static_cast<std::size_t>(info.ComputeHeaderFileDataSize() + info.GetLayerImageSize()));
  require(info.WriteToBuffer(content.data()) == content.data() + content.size(),
          "records and channel data have the size that they say");
  std::vector<unsigned char> section(static_cast<std::size_t>(info.ComputeSectionSize()));
  require(info.WriteSectionToBuffer(section.data()) == section.data() + section.size() &&
              std::equal(content.begin(), content.end(), section.begin() + 10),
          "a section has the size that it says and the records in it");
  for (ABitMap& map : maps) map.Free();
}

void checkRecords(const std::vector<unsigned char>& file) {
  psd::Reader in(file.data(), file.size());
  in.skip(26);
  in.skip(in.u32());
  const std::uint32_t resourceSize = in.u32();
  const unsigned char* const resources = in.take(resourceSize);
  if (resources == nullptr) return;
  char names[4][256];
  const std::int32_t count =
      ExtractResourceDataBlockAlphaNames(resources, static_cast<std::int32_t>(resourceSize), names, 4);
  require(count >= 0 && count <= 4, "no more names than there is room for");
  for (std::int32_t i = 0; i < count; ++i) require(std::memchr(names[i], 0, 256) != nullptr, "names end");
  in.skip(8);
  std::int32_t layers = in.i16();
  auto position = static_cast<std::int32_t>(file.size() - in.left());
  const auto size = static_cast<std::int32_t>(file.size());
  for (layers = layers < 0 ? -layers : layers; layers > 0; --layers) {
    PSDLayerRecord record;
    PSDExtent info = {};
    const std::int32_t before = position;
    if (PSDLayerRecordParse(file.data(), &position, &record, size, &info) == 0) return;
    require(position > before && position <= size, "a record is passed");
    require(info.position >= before && info.size >= 0 && info.position + info.size <= position,
            "layer information lies in its record");
    std::vector<unsigned char> copy(static_cast<std::size_t>(record.ComputeFileDataSize()));
    require(record.WriteToBuffer(copy.data()) == copy.data() + copy.size(), "a record has the size it says");
    checkWritten(record);
  }
}

void checkPieces(const std::string& path) {
  FileSpec* const file = Sys_FileOpen(path.c_str(), false);
  if (file == nullptr) return;
  const std::int32_t size = Sys_FileGetSize(file);
  PSDHeader header = {};
  if (PSDFileReadHeader(file, &header) != 0) {
    Sys_FileSeek(file, 26, false);
    if (PSDFileSkipSection(file) != 0 && PSDFileSkipSection(file) != 0 && PSDFileSkipSection(file) != 0) {
      Picture alpha;
      const std::int32_t result = PSDFileSkipCompChannelsAndGetAlpha(
          file, static_cast<std::int32_t>(header.rows), static_cast<std::int32_t>(header.columns),
          header.channels, header.channels - 1, &alpha);
      require(result == 0 ? alpha.buffer == nullptr || alpha.bytes() == "untouche" : alpha.depth == 8,
              "a channel is loaded or nothing is");
    }
    require(Sys_FileGetPos(file) <= size, "nothing moves past the end");
  }
  PSDFileReadSectionSize(file);
  Sys_FileClose(file, false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<unsigned char> file(data, data + size);
  const std::string path = fuzz::scratchFolder() + "/input.psd";
  fuzz::writeFile(path, {reinterpret_cast<const char*>(data), size});
  checkLoaders(path, file);
  checkRecords(file);
  checkPieces(path);
  require(_openFilesCount == 0, "no file stays open");
  return 0;
}
