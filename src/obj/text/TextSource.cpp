#include "obj/text/TextSource.h"

#include <cerrno>
#include <cstring>

#include "obj/text/DigitScan.h"

namespace WavefrontOBJ {

OBJTextSource::OBJTextSource(std::size_t blockBytes, std::size_t lookahead)
    : blockBytes_(blockBytes),
      lookahead_(lookahead),
      buffer_(OBJDigitMap::kUnderread + lookahead + blockBytes + 1 + OBJDigitMap::kOverread),
      begin_(buffer_.data() + OBJDigitMap::kUnderread),
      end_(begin_) {}

bool OBJTextSource::open(const std::string& path) {
  file_.reset(std::fopen(path.c_str(), "r"));
  if (file_ == nullptr) return false;
  // The blocks are large enough; a second buffer would only copy them.
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
  fill();
  // Some platforms open a folder and only fail to read it.
  return begin_ != end_ || !isCutShort();
}

void OBJTextSource::open(const OBJByteSource& source) {
  source_ = &source;
  fill();
}

std::size_t OBJTextSource::read(char* buffer, std::size_t bytes) {
  if (source_ != nullptr) return (*source_)(buffer, bytes);
  std::size_t got = 0;
  for (;;) {
    errno = 0;
    got += std::fread(buffer + got, 1, bytes - got, file_.get());
    if (got == bytes || errno != EINTR || std::ferror(file_.get()) == 0) return got;
    std::clearerr(file_.get());
  }
}

std::size_t OBJTextSource::takeLines(char* text) {
  char* const base = buffer_.data() + OBJDigitMap::kUnderread;
  auto held = static_cast<std::size_t>(end_ - begin_);
  std::memcpy(text, begin_, held);
  std::size_t whole = 0;
  do {
    if (!atFileEnd_) {
      const std::size_t got = read(text + held, blockBytes_);
      held += got;
      atFileEnd_ = got < blockBytes_;
    }
    whole = atFileEnd_ ? held : linesIn({text, held});
  } while (whole == 0 && !atFileEnd_);
  std::memcpy(base, text + whole, held - whole);
  begin_ = base;
  end_ = base + (held - whole);
  return whole;
}

/// Bytes of whole lines that `text` begins with.
std::size_t OBJTextSource::linesIn(std::string_view text) const {
  const std::size_t lineFeed = text.rfind('\n');
  const std::size_t first = lineFeed == std::string_view::npos ? 0 : lineFeed + 1;
  const std::size_t longest = lookahead_ - 1;
  return first + (text.size() - first) / longest * longest;
}

void OBJTextSource::fill() {
  char* const base = buffer_.data() + OBJDigitMap::kUnderread;
  auto held = static_cast<std::size_t>(end_ - begin_);
  std::memmove(base, begin_, held);
  while (held < lookahead_ && !atFileEnd_) {
    const std::size_t got = read(base + held, blockBytes_);
    held += got;
    // A read error in the middle ends the text, as it ends a character-wise read.
    atFileEnd_ = got < blockBytes_;
  }
  base[held] = '\n';
  begin_ = base;
  end_ = base + held;
}

}  // namespace WavefrontOBJ
