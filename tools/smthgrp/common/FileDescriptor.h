#pragma once

#include <unistd.h>

namespace smthgrp {

/// Closes a file of the system's when it goes; a negative number is none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (number_ >= 0) close(number_);
  }
  operator int() const { return number_; }

 private:
  int number_;
};

}  // namespace smthgrp
