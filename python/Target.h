#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Convert.h"
#include "document/Output.h"
#include "document/Sink.h"

namespace ksmthgrp {

/// Where a file goes: to a path, whose file is replaced when all is written, or through a file object.
class Target {
 public:
  /// `target` is a path or has a method `write` that takes bytes. Throws TypeError otherwise; raises an error
  /// where nothing can be written.
  explicit Target(py::object target);

  WavefrontOBJ::Sink& sink();
  /// A file in a folder, beside which others can lie.
  bool isFile() const { return output_ != nullptr && !output_->isDirect(); }
  const std::string& path() const { return path_; }
  /// Files that are to come into their places with it.
  std::vector<std::unique_ptr<WavefrontOBJ::Output>>& companions() { return companions_; }
  /// Puts the files in their places, or hands over the bytes.
  void commit();

 private:
  py::object file_;
  std::string path_;
  std::unique_ptr<WavefrontOBJ::Output> output_;
  std::vector<std::unique_ptr<WavefrontOBJ::Output>> companions_;
  WavefrontOBJ::StringSink held_;
};

}  // namespace ksmthgrp
