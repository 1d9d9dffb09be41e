// The fast path of the document's reader: plain vertex and face lines, straight from the window.
#include <algorithm>
#include <cstring>
#include <limits>

#include "document/DocumentReader.h"
#include "obj/text/DigitScan.h"

namespace WavefrontOBJ {
namespace {

constexpr std::ptrdiff_t kMaxFastLine = 1024;

const char* skipBlanks(const char* text) {
  while (*text == ' ') ++text;
  return text;
}

}  // namespace

/// Looks through a window that has just been filled.
void DocumentReader::prepareFast() {
  digitsMade_ = false;
  fastEnd_ = end_;
  while (fastEnd_ > begin_ && fastEnd_[-1] != '\n') --fastEnd_;
  oddBytes_ = options_.fastPath && hasControls(begin_, fastEnd_);
}

/// Takes lines up to the first that is not plain, or to the last that ends in the window.
void DocumentReader::takeFastLines() {
  while (begin_ < fastEnd_) {
    const auto left = static_cast<std::size_t>(fastEnd_ - begin_);
    const char* const lineFeed = static_cast<const char*>(std::memchr(begin_, '\n', left));
    if (!takeFastLine(begin_, lineFeed)) return;
    begin_ = lineFeed + 1;
    ++lineNumber_;
  }
}

bool DocumentReader::takeFastLine(const char* line, const char* lineFeed) {
  const char* end = lineFeed;
  if (line == end) return true;
  if (oddBytes_) {
    if (end[-1] == '\r') --end;
    if (line == end || hasControls(line, end)) return false;
  }
  if (end[-1] == '\\' || end - line > kMaxFastLine) return false;
  if (line[0] == 'f') {
    if (line[1] != ' ' || !takeFastFace(line, end)) return false;
  } else if (line[0] == 'v') {
    auto kind = VectorKind::position;
    if (line[1] != ' ') {
      kind = line[1] == 't' ? VectorKind::texture : VectorKind::normal;
      if ((kind == VectorKind::normal && line[1] != 'n') || line[2] != ' ') return false;
    }
    document_.vectors_[static_cast<std::size_t>(kind)].push_back(offsetOf(line));
  } else if (line[0] != 'g' || line[1] != ' ' || !takeFastGroup(line, end)) {
    return false;
  }
  anyStatement_ = true;
  if (end != lineFeed) {
    line_ = line;
    findLine(FindingKind::carriageReturn);
  }
  return true;
}

template <bool kTexture, bool kNormal>
bool DocumentReader::takeFastCorners(const char* line, const char* text, const char* end) {
  constexpr std::uint32_t kStride = 1 + (kTexture ? 1 : 0) + (kNormal ? 1 : 0);
  ElementTable& table = document_.elements_[static_cast<std::size_t>(ElementKind::face)];
  PlainArray<std::int32_t>& textures = table.textures_;
  PlainArray<std::int32_t>& normals = table.normals_;
  // The exact path begins a column.
  const std::size_t before = table.vertices_.size();
  if ((kTexture && textures.size() != before) || (kNormal && normals.size() != before)) return false;
  table.vertices_.reserve(kFastCorners);
  if (kTexture) textures.reserve(kFastCorners);
  if (kNormal) normals.reserve(kFastCorners);
  std::int32_t* const vertexOut = table.vertices_.data() + before;
  const std::uint32_t vertexLimit = document_.vectorCount(VectorKind::position);
  const std::uint32_t textureLimit = document_.vectorCount(VectorKind::texture);
  const std::uint32_t normalLimit = document_.vectorCount(VectorKind::normal);
  // What is wrong with a corner is gathered and looked at once: such lines are rare and read anew.
  bool wrong = false;
  OBJDigitScan scan(digits_, text);
  const auto digitsTo = [&text, &wrong](const char* numberEnd) {
    const auto length = static_cast<std::uint64_t>(numberEnd - text);
    wrong |= length - 1 > 7;
    return OBJDigits{numberEnd, length};
  };
  const auto part = [&](const char* slash) {
    wrong |= *slash != '/';
    text = slash + 1;
  };
  std::uint32_t count = 0;
  const char* numberEnd = text;
  do {
    if (count == kFastCorners) return false;
    numberEnd = scan.next();
    const OBJDigits vertex = digitsTo(numberEnd);
    OBJDigits texture = vertex;
    OBJDigits normal = vertex;
    if constexpr (kTexture) {
      part(numberEnd);
      numberEnd = scan.next();
      texture = digitsTo(numberEnd);
    }
    if constexpr (kNormal) {
      part(numberEnd);
      if constexpr (!kTexture) {
        const char* const second = scan.next();
        wrong |= second != text;
        part(second);
      }
      numberEnd = scan.next();
      normal = digitsTo(numberEnd);
    }
    // Four numbers are stored at a time.
    std::uint32_t indices[4];
    storeIndices(indices, vertex, kTexture ? texture : normal, normal, normal);
    // A 0 in the file has wrapped round and is past every limit.
    wrong |= indices[0] >= vertexLimit;
    if constexpr (kTexture) wrong |= indices[1] >= textureLimit;
    if constexpr (kNormal) wrong |= indices[kStride - 1] >= normalLimit;
    const auto index = static_cast<std::int32_t>(indices[0]);
    for (std::uint32_t i = 0; i < count; ++i) wrong |= vertexOut[i] == index;
    vertexOut[count] = index;
    if constexpr (kTexture) textures.data()[before + count] = static_cast<std::int32_t>(indices[1]);
    if constexpr (kNormal) normals.data()[before + count] = static_cast<std::int32_t>(indices[kStride - 1]);
    if (wrong) return false;
    ++count;
    text = numberEnd + 1;
  } while (*numberEnd == ' ' && *text >= '0' && *text <= '9');
  if (count < 3 || skipBlanks(numberEnd) != end) return false;
  addRow(table, offsetOf(line), count);
  table.vertices_.extend(count);
  const auto finish = [&](PlainArray<std::int32_t>& column, bool written) {
    if (written) {
      column.extend(count);
    } else if (!column.empty()) {
      column.resize(before + count, kNoIndex);
    }
  };
  finish(textures, kTexture);
  finish(normals, kNormal);
  return true;
}

/// Takes a line of one name in plain letters.
bool DocumentReader::takeFastGroup(const char* line, const char* end) {
  const char* const name = line + 2;
  if (name >= end || std::any_of(name, end, [](char c) {
        return static_cast<unsigned char>(c) <= ' ' || static_cast<unsigned char>(c) > '~';
      }))
    return false;
  groupText_.assign(name, end);
  line_ = line;
  beginGroups();
  return true;
}

/// Tries the form of the last face first: most files have but one.
bool DocumentReader::takeFastFace(const char* line, const char* end) {
  if (!digitsMade_) {
    digitsMade_ = true;
    digits_.build(begin_, static_cast<std::size_t>(end_ - begin_));
  }
  const char* const first = skipBlanks(line + 2);
  if ((this->*takeCorners_)(line, first, end)) return true;
  const TakeCorners last = takeCorners_;
  OBJDigitScan scan(digits_, first);
  const char* const slash = scan.next();
  const char* const second = *slash == '/' ? scan.next() : slash;
  takeCorners_ = *slash != '/'         ? &DocumentReader::takeFastCorners<false, false>
                 : *second != '/'      ? &DocumentReader::takeFastCorners<true, false>
                 : second == slash + 1 ? &DocumentReader::takeFastCorners<false, true>
                                       : &DocumentReader::takeFastCorners<true, true>;
  return takeCorners_ != last && (this->*takeCorners_)(line, first, end);
}

}  // namespace WavefrontOBJ
