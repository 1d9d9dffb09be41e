#pragma once

#include <string>
#include <system_error>
#include <vector>

#include "document/OutputRegistry.h"

namespace WavefrontOBJ {

/// A folder for files to be written. What was made of it and of those that it lies in goes again at the end
/// of this, or with a signal as temporary files do, where it is empty by then: nothing came of the files.
class NewFolder {
 public:
  /// Makes the folder where it is not there; `error` tells why it could not be had.
  explicit NewFolder(const std::string& path);
  NewFolder(const NewFolder&) = delete;
  NewFolder& operator=(const NewFolder&) = delete;
  ~NewFolder();

  const std::error_code& error() const { return error_; }

 private:
  std::error_code error_;
  std::vector<OutputRegistry::Entry*> made_;  ///< the innermost first
};

}  // namespace WavefrontOBJ
