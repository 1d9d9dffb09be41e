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

/// What a status says; those of the library come first, in its order.
constexpr std::array<const char*, KSMTH_FAILED + 1> kStatusTexts = {"all went well",
                                                                    "cannot be opened",
                                                                    "cannot be read",
                                                                    "the file has changed",
                                                                    "not a text file",
                                                                    "too large",
                                                                    "out of memory",
                                                                    "cancelled",
                                                                    "cannot be written",
                                                                    "wrong argument",
                                                                    "nothing is chosen",
                                                                    "do not fit each other",
                                                                    "the host does not read it",
                                                                    "past a limit of the host",
                                                                    "failed"};
static_assert(static_cast<int>(WavefrontOBJ::Status::writeFailed) == KSMTH_WRITE_FAILED);

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
  if (!result) throw Failure{static_cast<KSmthStatus>(result.status), std::move(result.text)};
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
  const auto index = static_cast<std::size_t>(status);
  return index < ksmth::kStatusTexts.size() ? ksmth::kStatusTexts[index] : ksmth::kStatusTexts.back();
}
