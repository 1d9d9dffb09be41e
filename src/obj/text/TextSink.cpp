#include "obj/text/TextSink.h"

#include <cerrno>
#include <cstring>

namespace WavefrontOBJ {

OBJTextSink::OBJTextSink(const std::string& path)
    : file_(std::fopen(path.c_str(), "w")),
      buffer_(std::make_unique_for_overwrite<char[]>(kBufferBytes)),
      position_(buffer_.get()) {
  if (file_ != nullptr) std::setvbuf(file_.get(), nullptr, _IONBF, 0);
}

OBJTextSink::OBJTextSink(const OBJByteSink& sink)
    : sink_(&sink), buffer_(std::make_unique_for_overwrite<char[]>(kBufferBytes)), position_(buffer_.get()) {}

void OBJTextSink::flush() {
  const std::string_view held(buffer_.get(), static_cast<std::size_t>(position_ - buffer_.get()));
  position_ = buffer_.get();
  if (sink_ == nullptr) {
    writeFile(held);
  } else if (!held.empty() && !(*sink_)(held)) {
    throw Stopped();
  }
}

void OBJTextSink::writeFile(std::string_view text) {
  while (!text.empty() && std::ferror(file_.get()) == 0) {
    errno = 0;
    text.remove_prefix(std::fwrite(text.data(), 1, text.size(), file_.get()));
    if (errno == EINTR) std::clearerr(file_.get());
  }
}

void OBJTextSink::text(std::string_view text) {
  while (!text.empty()) {
    static_cast<void>(room(1));
    const auto left = static_cast<std::size_t>(buffer_.get() + kBufferBytes - position_);
    const std::size_t part = text.size() < left ? text.size() : left;
    std::memcpy(position_, text.data(), part);
    position_ += part;
    text.remove_prefix(part);
  }
}

}  // namespace WavefrontOBJ
