// Opening and closing documents, and the lists that they have from the begin.
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "ThreadCount.h"
#include "c/Answers.h"
#include "c/Arguments.h"
#include "c/DocumentLists.h"
#include "c/Handles.h"

using namespace ksmth;
using namespace WavefrontOBJ;

namespace {

constexpr std::uint32_t kNoStarts[] = {0};

/// A column, or null where no element has any.
const std::int32_t* columnOf(std::span<const std::int32_t> column) {
  return column.empty() ? nullptr : column.data();
}

void listNames(KSmthDocument& handle) {
  const OBJDocument& document = handle.document;
  const auto list = [&handle](Division division, const std::vector<OBJName>& names) {
    std::vector<KSmthName>& shown = handle.names[static_cast<std::size_t>(division)];
    shown.reserve(names.size());
    for (const OBJName& name : names) shown.push_back({name.text.c_str(), name.text.size(), 0});
  };
  list(Division::group, document.groups());
  list(Division::material, document.materials());
  list(Division::object, document.objects());
  const auto& smoothings = document.smoothings();
  handle.smoothingNames.reserve(smoothings.size());
  for (const OBJSmoothing& row : smoothings) {
    const std::string& name =
        handle.smoothingNames.emplace_back(row.off ? "off" : std::to_string(row.number));
    handle.names[static_cast<std::size_t>(Division::smoothing)].push_back(
        {name.c_str(), name.size(), row.number});
  }
}

void listElements(KSmthDocument& handle) {
  for (std::size_t kind = 0; kind < kElementKinds; ++kind) {
    const ElementTable& table = handle.document.elements(static_cast<ElementKind>(kind));
    const auto starts = table.rowStarts();
    handle.elements[kind] = {table.size(),
                             table.cornerTotal(),
                             starts.empty() ? kNoStarts : starts.data(),
                             columnOf(table.vertexColumn()),
                             columnOf(table.textureColumn()),
                             columnOf(table.normalColumn())};
  }
}

/// `read` fills a document.
template <class Read>
KSmthDocument* open(const KSmthReadOptions& options, const KSmthCallbacks* callbacks, Read read) {
  const Listener listener(callbacks);
  auto handle = std::make_unique<KSmthDocument>();
  if (options.places_per_kind != 0) handle->placesPerKind = options.places_per_kind;
  DocumentReadOptions how;
  how.placesPerKind = handle->placesPerKind;
  how.progress = listener.progress();
  const Result result = read(handle->document, how);
  logFindings(handle->document.findings(), listener);
  require(result);
  listElements(*handle);
  listNames(*handle);
  return handle.release();
}

}  // namespace

uint32_t ksmth_set_threads(uint32_t threads) {
  return setThreads(threads);
}

KSmthStatus ksmth_document_open(const char* path, const KSmthReadOptions* options,
                                const KSmthCallbacks* callbacks, KSmthDocument** document) {
  return answeringWith(document, [&] {
    requireArgument(path != nullptr, "no path");
    return open(taken(options), callbacks,
                [path](OBJDocument& into, const DocumentReadOptions& how) { return into.read(path, how); });
  });
}

KSmthStatus ksmth_document_open_memory(const void* bytes, size_t size, const char* folder,
                                       const KSmthReadOptions* options, const KSmthCallbacks* callbacks,
                                       KSmthDocument** document) {
  return answeringWith(document, [&] {
    const KSmthReadOptions how = taken(options);
    return open(how, callbacks, [&](OBJDocument& into, const DocumentReadOptions& read) {
      return into.readBytes(textOf(bytes, size), nameInFolder(folder, how.name), read);
    });
  });
}

void ksmth_document_close(KSmthDocument* document) {
  delete document;
}

uint32_t ksmth_document_vector_count(const KSmthDocument* document, KSmthVectorKind kind) {
  if (document == nullptr || static_cast<unsigned>(kind) >= kVectorKinds) return 0;
  return document->document.vectorCount(static_cast<VectorKind>(kind));
}

const KSmthElements* ksmth_document_elements(const KSmthDocument* document, KSmthElementKind kind) {
  if (document == nullptr || static_cast<unsigned>(kind) >= kElementKinds) return nullptr;
  return &document->elements[kind];
}

const KSmthName* ksmth_document_names(const KSmthDocument* document, KSmthDivision division, size_t* count) {
  if (count != nullptr) *count = 0;
  if (count == nullptr || document == nullptr || static_cast<unsigned>(division) >= 4) return nullptr;
  *count = document->names[division].size();
  return document->names[division].data();
}
