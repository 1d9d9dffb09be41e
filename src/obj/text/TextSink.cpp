#include "obj/text/TextSink.h"

namespace WavefrontOBJ {

OBJTextSink::OBJTextSink(const std::string& path)
    : file_(std::fopen(path.c_str(), "w")),
      buffer_(std::make_unique_for_overwrite<char[]>(kBufferBytes)),
      position_(buffer_.get()) {
  if (file_ != nullptr) std::setvbuf(file_.get(), nullptr, _IONBF, 0);
}

OBJTextSink::~OBJTextSink() {
  if (file_ != nullptr) flush();
}

void OBJTextSink::flush() {
  static_cast<void>(
      std::fwrite(buffer_.get(), 1, static_cast<std::size_t>(position_ - buffer_.get()), file_.get()));
  position_ = buffer_.get();
}

void OBJTextSink::text(std::string_view text) {
  while (!text.empty()) {
    reserve(1);
    const auto room = static_cast<std::size_t>(buffer_.get() + kBufferBytes - position_);
    const std::size_t part = text.size() < room ? text.size() : room;
    std::memcpy(position_, text.data(), part);
    position_ += part;
    text.remove_prefix(part);
  }
}

}  // namespace WavefrontOBJ
