#pragma once

#include <string>
#include <string_view>

#include "KSmthExport.h"
#include "document/Result.h"

namespace WavefrontOBJ {

/// Where text goes that is written piece by piece.
class KSMTH_API Sink {
 public:
  Sink() = default;
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  virtual ~Sink();

  /// Takes all of `text`, or says why it cannot. After a failure nothing more needs to be taken.
  virtual Result write(std::string_view text) = 0;
};

/// Keeps what is written.
class KSMTH_API StringSink : public Sink {
 public:
  Result write(std::string_view text) override;
  std::string text;
};

}  // namespace WavefrontOBJ
