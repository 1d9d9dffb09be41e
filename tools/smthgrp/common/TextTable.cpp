#include "smthgrp/common/TextTable.h"

#include <algorithm>
#include <cstdio>

namespace smthgrp {
namespace {

/// Characters of UTF-8, each taken for one column of the terminal.
std::size_t widthOf(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace

void TextTable::print() const {
  if (rows_.empty()) return;
  std::vector<std::string> titles;
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    titles.emplace_back(columns_[i].title);
    widths.push_back(titles[i].size());
    for (const auto& row : rows_) widths[i] = std::max(widths[i], widthOf(row[i]));
  }
  const auto printRow = [&](const std::vector<std::string>& row) {
    std::string line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (columns_[i].hidden) continue;
      const std::string padding(widths[i] - widthOf(row[i]), ' ');
      line += "  " + (columns_[i].left ? row[i] + padding : padding + row[i]);
    }
    line.resize(line.find_last_not_of(' ') + 1);
    std::printf("%s\n", line.c_str());
  };
  std::printf("\n%s\n", heading_);
  printRow(titles);
  for (const auto& row : rows_) printRow(row);
}

}  // namespace smthgrp
