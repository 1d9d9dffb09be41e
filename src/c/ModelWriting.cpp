// Writing models to the bytes of the host.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "c/Answers.h"
#include "c/Arguments.h"
#include "c/Handles.h"

using namespace ksmth;
using namespace WavefrontOBJ;

namespace {

/// `write` hands the text to a sink and answers false where there is nothing to write, or the sink has ended
/// it. The model does not tell how far it is.
template <class Write>
KSmthStatus writing(const KSmthModel* model, const KSmthTarget* where, const KSmthCallbacks* callbacks,
                    Write write) {
  return answering([&] {
    requireArgument(model != nullptr, "no model");
    const Listener listener(callbacks);
    listener.requireGoesOn(0);
    Target target(where);
    const OBJByteSink sink = [&](std::string_view piece) {
      require(target.write(piece));
      listener.requireGoesOn(0.5);
      return true;
    };
    if (!write(*model->model, sink)) throw Failure{KSMTH_NO_MATCH, "no vertices to write"};
    target.commit();
  });
}

}  // namespace

KSmthStatus ksmth_model_write(const KSmthModel* model, int by_group, const char* library,
                              const KSmthTarget* target, const KSmthCallbacks* callbacks) {
  return writing(model, target, callbacks, [&](OBJModel& of, const OBJByteSink& sink) {
    return of.write(sink, by_group == 0, library);
  });
}

KSmthStatus ksmth_model_write_group(const KSmthModel* model, uint32_t index, const char* library,
                                    const KSmthTarget* target, const KSmthCallbacks* callbacks) {
  return writing(model, target, callbacks, [&](const OBJModel& of, const OBJByteSink& sink) {
    return of.WriteGroup(sink, index, library);
  });
}

KSmthStatus ksmth_model_write_smoothing(const KSmthModel* model, uint32_t number, const char* library,
                                        const KSmthTarget* target, const KSmthCallbacks* callbacks) {
  return writing(model, target, callbacks, [&](const OBJModel& of, const OBJByteSink& sink) {
    return of.WriteSmoothingGroup(sink, number, library);
  });
}
