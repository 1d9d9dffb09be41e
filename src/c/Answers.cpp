#include "c/Answers.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "Utf8Cut.h"

namespace ksmth {

namespace {

// Plain bytes: keeping a reason takes no memory, and a thread that ends has nothing to free.
struct Reason {
  std::array<char, 1023> bytes;
  std::size_t size;
};
thread_local constinit Reason tReason{};

KSmthStatus statusOf(WavefrontOBJ::Status status) {
  using WavefrontOBJ::Status;
  switch (status) {
    case Status::ok:
      return KSMTH_OK;
    case Status::cannotOpen:
      return KSMTH_CANNOT_OPEN;
    case Status::readFailed:
      return KSMTH_READ_FAILED;
    case Status::changed:
      return KSMTH_CHANGED;
    case Status::notText:
      return KSMTH_NOT_TEXT;
    case Status::tooLarge:
      return KSMTH_TOO_LARGE;
    case Status::outOfMemory:
      return KSMTH_OUT_OF_MEMORY;
    case Status::cancelled:
      return KSMTH_CANCELLED;
    case Status::writeFailed:
      return KSMTH_WRITE_FAILED;
  }
  return KSMTH_FAILED;
}

}  // namespace

KSmthStatus failed(KSmthStatus status, std::string_view text) noexcept {
  while (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  const std::string_view kept = utf8Cut(text.substr(0, text.find('\0')), tReason.bytes.size());
  tReason.size = kept.copy(tReason.bytes.data(), kept.size());
  for (std::size_t i = 0; i < tReason.size; ++i) {
    if (tReason.bytes[i] == '\n' || tReason.bytes[i] == '\r') tReason.bytes[i] = ' ';
  }
  return status;
}

KSmthStatus failed(const WavefrontOBJ::OBJFailedAssertion& assertion) noexcept {
  std::array<char, 256> buffer{};
  return failed(KSMTH_HOST_LIMIT, assertion.text(buffer));
}

void require(WavefrontOBJ::Result result) {
  if (!result) throw Failure{statusOf(result.status), std::move(result.text)};
}

}  // namespace ksmth

size_t ksmth_error_text(char* text, size_t size) {
  const std::string_view reason(ksmth::tReason.bytes.data(), ksmth::tReason.size);
  if (text != nullptr && size > 0) {
    const std::string_view cut = utf8Cut(reason, size - 1);
    text[cut.copy(text, cut.size())] = '\0';
  }
  return reason.size();
}

const char* ksmth_status_text(KSmthStatus status) {
  switch (status) {
    case KSMTH_OK:
      return "all went well";
    case KSMTH_CANNOT_OPEN:
      return "cannot be opened";
    case KSMTH_READ_FAILED:
      return "cannot be read";
    case KSMTH_CHANGED:
      return "the file has changed";
    case KSMTH_NOT_TEXT:
      return "not a text file";
    case KSMTH_TOO_LARGE:
      return "too large";
    case KSMTH_OUT_OF_MEMORY:
      return "out of memory";
    case KSMTH_CANCELLED:
      return "cancelled";
    case KSMTH_WRITE_FAILED:
      return "cannot be written";
    case KSMTH_BAD_ARGUMENT:
      return "wrong argument";
    case KSMTH_NO_MATCH:
      return "nothing is chosen";
    case KSMTH_MISMATCH:
      return "do not fit each other";
    case KSMTH_BAD_MODEL:
      return "the host does not read it";
    case KSMTH_HOST_LIMIT:
      return "past a limit of the host";
    case KSMTH_FAILED:
      break;
  }
  return "failed";
}
