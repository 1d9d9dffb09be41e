#pragma once

#include <string>
#include <vector>

namespace smthgrp {

/// A table for people: a heading, a line of titles, rows.
class TextTable {
 public:
  struct Column {
    const char* title;
    bool left = false;    ///< text; numbers stand at the right
    bool hidden = false;  ///< nothing in it is worth its room
  };

  TextTable(const char* heading, std::vector<Column> columns)
      : heading_(heading), columns_(std::move(columns)) {}

  /// A cell for each column, hidden ones included. Texts have to be printable.
  void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  /// Prints it behind an empty line; nothing when there are no rows.
  void print() const;

 private:
  const char* heading_;
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace smthgrp
