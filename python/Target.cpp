#include "Target.h"

namespace ksmthgrp {

Target::Target(py::object target) {
  if (isPath(target)) {
    path_ = pathBytes(target);
    // A mere "-" would be standard output.
    output_ = std::make_unique<WavefrontOBJ::Output>(path_ == WavefrontOBJ::Output::kStandardOutput ? "./-"
                                                                                                    : path_);
    require(output_->open(), path_);
    return;
  }
  if (!py::hasattr(target, "write"))
    throw py::type_error("the target must be a path or a binary file object");
  file_ = std::move(target);
}

WavefrontOBJ::Sink& Target::sink() {
  if (output_ != nullptr) return *output_;
  return held_;
}

void Target::commit() {
  if (output_ == nullptr) {
    file_.attr("write")(py::bytes(held_.text));
    return;
  }
  companions_.push_back(std::move(output_));
  require(unlocked([this] { return WavefrontOBJ::Output::commitAll(companions_); }), path_);
}

}  // namespace ksmthgrp
