#include "document/PartNotes.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>

#include "document/FileOrder.h"
#include "document/LineText.h"
#include "document/LogicalLine.h"
#include "obj/text/FormatNumber.h"

namespace WavefrontOBJ {
namespace {

constexpr std::string_view kMark = "smthgrp part ";
constexpr std::string_view kVersion = "1 of ";
constexpr std::string_view kLines = "lines";

template <class Number>
bool parse(std::string_view text, Number& number, int base = 10) {
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number, base);
  return parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
}

/// "1 of SUM lines 982".
bool takeTotal(LineWords words, PartNotes& notes) {
  return words.next() == "1" && words.next() == "of" && parse(words.next(), notes.document, 16) &&
         words.next() == kLines && parse(words.next(), notes.total) && words.next().empty();
}

/// "lines 1-161 170".
bool takeRanges(LineWords words, PartNotes& notes) {
  if (words.next() != kLines) return false;
  for (std::string_view word = words.next(); !word.empty(); word = words.next()) {
    const std::size_t dash = word.find('-');
    std::uint32_t first = 0;
    if (!parse(word.substr(0, dash), first) || first == 0) return false;
    std::uint32_t last = first;
    if (dash != std::string_view::npos && !parse(word.substr(dash + 1), last)) return false;
    const bool ascends = notes.lines.empty() || first > notes.lines.back().last + 1;
    if (last < first || last > notes.total || !ascends) return false;
    notes.lines.push_back({first - 1, last - 1});
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
  constexpr std::size_t kLongestRange = 22;
  char head[40];
  std::snprintf(head, sizeof head, "%016llx", static_cast<unsigned long long>(notes.document));
  const std::string count = " " + std::string(kLines) + " " + std::to_string(notes.total);
  std::vector<std::string> lines = {std::string(kMark) + std::string(kVersion) + head + count};
  const std::string begin = std::string(kMark) + std::string(kLines);
  std::string line = begin;
  for (const IndexRange& range : notes.lines) {
    char word[kLongestRange];
    char* end = word;
    *end++ = ' ';
    end = formatUnsigned(end, range.first + 1);
    if (range.last > range.first) {
      *end++ = '-';
      end = formatUnsigned(end, range.last + 1);
    }
    const auto length = static_cast<std::size_t>(end - word);
    if (line.size() + length > kWidth) {
      lines.push_back(line);
      line = begin;
    }
    line.append(word, length);
  }
  if (line.size() > begin.size()) lines.push_back(line);
  return lines;
}

bool isPartNote(std::string_view line) {
  if (!line.starts_with("# ")) return false;
  return line.substr(2).starts_with(kMark);
}

Result readPartNotes(const OBJDocument& document, PartNotes& notes, PartNotesFound& found) {
  notes = {};
  found = PartNotesFound::none;
  LineText text(document.source());
  std::size_t comments = 0;
  for (const std::uint64_t offset : document.comments().first(document.headCommentCount())) {
    ++comments;
    std::string_view line;
    Result result = text.fetch(offset, line);
    if (!result) return result;
    if (!isPartNote(line)) continue;
    LineWords words(line.substr(2 + kMark.size()));
    const bool good = found == PartNotesFound::none
                          ? takeTotal(words, notes)
                          : found == PartNotesFound::good && takeRanges(words, notes);
    found = good ? PartNotesFound::good : PartNotesFound::damaged;
    notes.comments = comments;
  }
  if (found == PartNotesFound::good && countOf(notes.lines) != lineCount(document))
    found = PartNotesFound::damaged;
  return {};
}

}  // namespace WavefrontOBJ
