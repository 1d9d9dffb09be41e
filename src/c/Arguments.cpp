#include "c/Arguments.h"

namespace ksmth {

using WavefrontOBJ::Output;
using WavefrontOBJ::Result;
using WavefrontOBJ::Status;

void Listener::requireGoesOn(double done) const {
  if (!goesOn(done)) throw Failure{KSMTH_CANCELLED, ksmth_status_text(KSMTH_CANCELLED)};
}

WavefrontOBJ::Progress Listener::progress() const {
  if (callbacks_.progress == nullptr) return {};
  return [this](double done) { return goesOn(done); };
}

Target::Target(const KSmthTarget* target) : target_(taken(target)) {
  requireArgument(target != nullptr, "no target");
  requireArgument((target_.path != nullptr) != (target_.write != nullptr),
                  "a target has either a path or a function");
  if (target_.path == nullptr) return;
  // A library's caller means a file.
  output_.emplace(target_.path == Output::kStandardOutput ? "./-" : target_.path);
  require(output_->open());
}

Result Target::write(std::string_view text) {
  if (output_) return output_->write(text);
  if (text.empty() || target_.write(text.data(), text.size(), target_.user) == 0) return {};
  return {Status::writeFailed, "the function that was to take the text has stopped"};
}

void Target::commit() {
  if (output_) require(output_->commit());
}

}  // namespace ksmth
