#pragma once

#include <atomic>
#include <cstddef>
#include <string>

namespace WavefrontOBJ {

/// The paths of temporary files, and of new folders, that a signal handler has to remove. Entries are never
/// freed, only used again, so that a handler may walk them at any moment.
class OutputRegistry {
 public:
  struct Entry {
    std::atomic<bool> inUse{false};    ///< somebody has it
    std::atomic<bool> isThere{false};  ///< `path` is whole and the file may be there
    char* path = nullptr;
    std::size_t capacity = 0;
    Entry* next = nullptr;
  };

  /// Enters `path`, which is absolute. May throw std::bad_alloc.
  static Entry* add(const std::string& path);
  /// The file is gone, or is no temporary one any more.
  static void remove(Entry* entry) noexcept;
  /// Removes the files, and the folders that are empty. Safe in a signal handler.
  static void unlinkAll() noexcept;
};

}  // namespace WavefrontOBJ
