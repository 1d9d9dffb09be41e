#include "document/Sink.h"

#include <new>

namespace WavefrontOBJ {

Sink::~Sink() = default;

Result StringSink::write(std::string_view piece) {
  try {
    text += piece;
  } catch (const std::bad_alloc&) {
    return {Status::outOfMemory, "out of memory"};
  }
  return {};
}

}  // namespace WavefrontOBJ
