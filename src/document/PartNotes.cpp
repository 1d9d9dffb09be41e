#include "document/PartNotes.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>

#include "document/LineText.h"
#include "document/LogicalLine.h"

namespace WavefrontOBJ {
namespace {

constexpr std::string_view kMark = "smthgrp part ";
constexpr std::string_view kVersion = "1 of ";
constexpr std::string_view kRows[kVectorKinds + 1] = {"v", "vt", "vn", "vp", "items"};
constexpr std::uint64_t kNoOffset = std::numeric_limits<std::uint64_t>::max();

std::uint64_t offsetAt(const OBJDocument& document, std::size_t kind, std::size_t index) {
  if (kind == DocumentItem::kStatement) {
    const auto statements = document.statements();
    return index < statements.size() ? statements[index].offset : kNoOffset;
  }
  const auto offsets = document.elements(static_cast<ElementKind>(kind)).offsets();
  return index < offsets.size() ? offsets[index] : kNoOffset;
}

template <class Number>
bool parse(std::string_view text, Number& number, int base = 10) {
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number, base);
  return parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
}

/// "of SUM v 522 vt 0 ...", behind the version.
bool takeTotals(LineWords words, PartNotes& notes) {
  if (words.next() != "1" || words.next() != "of" || !parse(words.next(), notes.document, 16)) return false;
  for (std::size_t row = 0; row < notes.totals.size(); ++row) {
    if (words.next() != kRows[row] || !parse(words.next(), notes.totals[row])) return false;
  }
  return words.next().empty();
}

/// "v 1-161 170".
bool takeRanges(LineWords words, PartNotes& notes) {
  const auto* const row = std::find(std::begin(kRows), std::end(kRows), words.next());
  if (row == std::end(kRows)) return false;
  const auto r = static_cast<std::size_t>(row - std::begin(kRows));
  for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
    const std::size_t dash = word.find('-');
    std::uint32_t first = 0;
    if (!parse(word.substr(0, dash), first) || first == 0) return false;
    std::uint32_t last = first;
    if (dash != std::string_view::npos && !parse(word.substr(dash + 1), last)) return false;
    const std::vector<IndexRange>& before = notes.ranges[r];
    if (last < first || last > notes.totals[r] || (!before.empty() && first <= before.back().last + 1))
      return false;
    notes.ranges[r].push_back({first - 1, last - 1});
  }
  return true;
}

}  // namespace

void addIndex(std::vector<IndexRange>& ranges, std::uint32_t index) {
  if (!ranges.empty() && ranges.back().last + 1 == index) {
    ranges.back().last = index;
  } else {
    ranges.push_back({index, index});
  }
}

std::uint64_t countOf(const std::vector<IndexRange>& ranges) {
  std::uint64_t count = 0;
  for (const IndexRange& range : ranges) count += std::uint64_t{range.last} - range.first + 1;
  return count;
}

std::uint32_t itemCount(const OBJDocument& document) {
  std::size_t count = document.statements().size();
  for (std::size_t k = 0; k < kElementKinds; ++k)
    count += document.elements(static_cast<ElementKind>(k)).size();
  return static_cast<std::uint32_t>(count);
}

std::vector<DocumentItem> itemsInOrder(const OBJDocument& document) {
  std::vector<DocumentItem> items;
  items.reserve(itemCount(document));
  std::uint32_t next[kElementKinds + 1] = {};
  for (;;) {
    std::size_t first = 0;
    for (std::size_t k = 1; k <= kElementKinds; ++k) {
      if (offsetAt(document, k, next[k]) < offsetAt(document, first, next[first])) first = k;
    }
    if (offsetAt(document, first, next[first]) == kNoOffset) return items;
    items.push_back({static_cast<std::uint8_t>(first), next[first]++});
  }
}

std::uint32_t itemNumber(const OBJDocument& document, ElementKind kind, std::uint32_t index) {
  const std::uint64_t offset = document.elements(kind).offset(index);
  std::size_t number = index;
  for (std::size_t k = 0; k < kElementKinds; ++k) {
    const auto offsets = document.elements(static_cast<ElementKind>(k)).offsets();
    if (k == static_cast<std::size_t>(kind) || offsets.empty()) continue;
    number +=
        static_cast<std::size_t>(std::lower_bound(offsets.begin(), offsets.end(), offset) - offsets.begin());
  }
  const auto statements = document.statements();
  const auto behind =
      std::lower_bound(statements.begin(), statements.end(), offset,
                       [](const OBJStatement& statement, std::uint64_t at) { return statement.offset < at; });
  return static_cast<std::uint32_t>(number + static_cast<std::size_t>(behind - statements.begin()));
}

/// FNV-1a over words of eight bytes, the last one filled up with zeros; the size goes in as well.
Result checksum(const OBJDocument& document, std::uint64_t& sum) {
  constexpr std::size_t kWindow = std::size_t{256} * 1024;
  constexpr std::uint64_t kPrime = 0x100000001B3U;
  const Source& source = document.source();
  const auto window = std::make_unique<unsigned char[]>(kWindow);
  sum = 0xCBF29CE484222325U ^ source.size();
  for (std::uint64_t at = 0; at < source.size(); at += kWindow) {
    const std::size_t bytes = static_cast<std::size_t>(std::min<std::uint64_t>(kWindow, source.size() - at));
    Result result = source.read(at, reinterpret_cast<char*>(window.get()), bytes);
    if (!result) return result;
    std::fill(window.get() + bytes, window.get() + (bytes + 7) / 8 * 8, static_cast<unsigned char>(0));
    for (std::size_t i = 0; i < bytes; i += 8) {
      std::uint64_t word = 0;
      for (std::size_t b = 0; b < 8; ++b) word |= std::uint64_t{window[i + b]} << (8 * b);
      sum = (sum ^ word) * kPrime;
      sum ^= sum >> 32;
    }
  }
  return {};
}

std::vector<std::string> noteLines(const PartNotes& notes) {
  constexpr std::size_t kWidth = 100;
  char head[40];
  std::snprintf(head, sizeof head, "%016llx", static_cast<unsigned long long>(notes.document));
  std::string line = std::string(kMark) + std::string(kVersion) + head;
  for (std::size_t row = 0; row < notes.totals.size(); ++row) {
    line += " " + std::string(kRows[row]) + " " + std::to_string(notes.totals[row]);
  }
  std::vector<std::string> lines = {line};
  for (std::size_t row = 0; row < notes.ranges.size(); ++row) {
    const std::string begin = std::string(kMark) + std::string(kRows[row]);
    line = begin;
    for (const IndexRange& range : notes.ranges[row]) {
      std::string word = " " + std::to_string(std::uint64_t{range.first} + 1);
      if (range.last > range.first) word += "-" + std::to_string(std::uint64_t{range.last} + 1);
      if (line.size() + word.size() > kWidth) {
        lines.push_back(line);
        line = begin;
      }
      line += word;
    }
    if (line.size() > begin.size()) lines.push_back(line);
  }
  return lines;
}

bool isPartNote(std::string_view line) {
  if (!line.starts_with("# ")) return false;
  return line.substr(2).starts_with(kMark);
}

Result readPartNotes(const OBJDocument& document, PartNotes& notes, PartNotesFound& found) {
  notes = {};
  found = PartNotesFound::none;
  LineText lines(document.source());
  for (const std::uint64_t offset : document.comments().first(document.headCommentCount())) {
    std::string_view line;
    Result result = lines.fetch(offset, line);
    if (!result) return result;
    if (!isPartNote(line)) continue;
    LineWords words(line.substr(2 + kMark.size()));
    const bool good = found == PartNotesFound::none
                          ? takeTotals(words, notes)
                          : found == PartNotesFound::good && takeRanges(words, notes);
    found = good ? PartNotesFound::good : PartNotesFound::damaged;
  }
  if (found != PartNotesFound::good) return {};
  for (std::size_t row = 0; row < notes.ranges.size(); ++row) {
    const std::uint64_t count =
        row == kItemRow ? itemCount(document) : document.vectorCount(static_cast<VectorKind>(row));
    if (countOf(notes.ranges[row]) != count) found = PartNotesFound::damaged;
  }
  return {};
}

}  // namespace WavefrontOBJ
