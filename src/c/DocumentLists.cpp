// The lists of a document that are made when they are first asked for.
#include "c/DocumentLists.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "c/Answers.h"
#include "c/Handles.h"
#include "document/Lint.h"
#include "document/Materials.h"

using namespace WavefrontOBJ;

namespace ksmth {

void logFindings(const Findings& findings, const Listener& listener) {
  for (const Finding& finding : findings.kept()) {
    const FindingRow& row = rowOf(finding.kind);
    std::string text(row.text);
    if (!finding.text.empty()) text += ": " + finding.text;
    listener.log(static_cast<KSmthSeverity>(row.severity), row.code.data(), finding.line, text);
  }
}

std::string nameInFolder(const char* folder, const char* name) {
  std::string path = folder != nullptr ? folder : "";
  if (!path.empty() && path.back() != '/') path += '/';
  return path + (name != nullptr ? name : "memory");
}

namespace {

template <class T>
KSmthStatus valuesOf(const KSmthDocument* handle, KSmthVectorKind kind, std::uint32_t width,
                     KSmthDocument::Values<T> KSmthDocument::*made, const T** values) {
  return answeringWith(values, [&] {
    requireArgument(handle != nullptr, "no document");
    requireArgument(static_cast<unsigned>(kind) < kVectorKinds && width >= 1 && width <= kMaxWidth,
                    "no such kind or width");
    return (handle->*made)[kind][width - 1]
        .get([&] {
          auto fresh = std::make_unique<std::vector<T>>();
          require(handle->document.values(static_cast<VectorKind>(kind), width, *fresh));
          return fresh;
        })
        .data();
  });
}

std::unique_ptr<LibraryList> librariesOf(const OBJDocument& document) {
  auto list = std::make_unique<LibraryList>();
  list->paths = libraryPaths(document);
  const std::vector<OBJLibrary>& libraries = document.libraries();
  for (std::size_t i = 0; i < libraries.size(); ++i) {
    KSmthLibrary& shown = list->shown.emplace_back();
    shown.name = libraries[i].text.c_str();
    shown.path = list->paths[i].c_str();
    require(document.lineNumber(libraries[i].offset, shown.line));
  }
  return list;
}

std::unique_ptr<FindingList> findingsOf(const KSmthDocument& handle, std::uint32_t flags,
                                        const Listener& listener) {
  auto list = std::make_unique<FindingList>(FindingList{Findings(handle.placesPerKind), {}});
  list->findings.add(handle.document.findings());
  if (flags != 0) {
    Findings found(handle.placesPerKind);
    LintOptions options;
    options.numbers = (flags & KSMTH_LINT_NUMBERS) != 0;
    options.geometry = (flags & KSMTH_LINT_GEOMETRY) != 0;
    options.materials = (flags & KSMTH_LINT_MATERIALS) != 0;
    options.progress = listener.progress();
    require(lint(handle.document, options, found));
    list->findings.add(found);
    logFindings(found, listener);
  }
  for (const Finding& finding : list->findings.kept()) {
    const FindingRow& row = rowOf(finding.kind);
    list->shown.push_back({row.code.data(), row.text.data(), finding.text.c_str(), finding.line,
                           finding.column, list->findings.count(finding.kind),
                           static_cast<KSmthSeverity>(row.severity), row.hostOnly ? 1 : 0});
  }
  return list;
}

}  // namespace

}  // namespace ksmth

using namespace ksmth;

KSmthStatus ksmth_document_doubles(const KSmthDocument* document, KSmthVectorKind kind, uint32_t width,
                                   const double** values) {
  return valuesOf(document, kind, width, &KSmthDocument::doubles, values);
}

KSmthStatus ksmth_document_floats(const KSmthDocument* document, KSmthVectorKind kind, uint32_t width,
                                  const float** values) {
  return valuesOf(document, kind, width, &KSmthDocument::floats, values);
}

KSmthStatus ksmth_document_colours(const KSmthDocument* document, const float** rgb) {
  return answeringWith(rgb, [&]() -> const float* {
    requireArgument(document != nullptr, "no document");
    const std::vector<float>& colours = document->colours.get([&] {
      auto fresh = std::make_unique<std::vector<float>>();
      require(document->document.vertexColours(*fresh));
      return fresh;
    });
    return colours.empty() ? nullptr : colours.data();
  });
}

KSmthStatus ksmth_document_element_line(const KSmthDocument* document, KSmthElementKind kind, uint32_t index,
                                        uint64_t* line) {
  return answering([&] {
    requireArgument(document != nullptr && line != nullptr, "no document, or no place for the result");
    requireArgument(static_cast<unsigned>(kind) < kElementKinds, "no such kind");
    const ElementTable& table = document->document.elements(static_cast<ElementKind>(kind));
    requireArgument(index < table.size(), "no such element");
    std::uint64_t number = 0;
    require(document->document.lineNumber(table.offset(index), number));
    *line = number;
  });
}

KSmthStatus ksmth_document_members(const KSmthDocument* document, KSmthDivision division,
                                   KSmthElementKind kind, const KSmthMembers** members) {
  return answeringWith(members, [&] {
    requireArgument(document != nullptr, "no document");
    requireArgument(static_cast<unsigned>(division) < 4 && static_cast<unsigned>(kind) < kElementKinds,
                    "no such division or kind");
    return &document->members[division][kind]
                .get([&] {
                  auto fresh = std::make_unique<Members>();
                  fresh->table = document->document.members(static_cast<Division>(division),
                                                            static_cast<ElementKind>(kind));
                  fresh->shown = {fresh->table.rows(), fresh->table.begins.data(),
                                  fresh->table.indices.data()};
                  return fresh;
                })
                .shown;
  });
}

KSmthStatus ksmth_document_libraries(const KSmthDocument* document, const KSmthLibrary** libraries,
                                     size_t* count) {
  if (count != nullptr) *count = 0;
  return answeringWith(libraries, [&] {
    requireArgument(document != nullptr && count != nullptr, "no document, or no place for the count");
    const LibraryList& list = document->libraries.get([&] { return librariesOf(document->document); });
    *count = list.shown.size();
    return list.shown.data();
  });
}

KSmthStatus ksmth_document_findings(const KSmthDocument* document, uint32_t flags,
                                    const KSmthCallbacks* callbacks, const KSmthFinding** findings,
                                    size_t* count) {
  if (count != nullptr) *count = 0;
  return answeringWith(findings, [&] {
    requireArgument(document != nullptr && count != nullptr, "no document, or no place for the count");
    requireArgument((flags & ~kLintFlags) == 0, "a flag that is not known");
    const Listener listener(callbacks);
    const FindingList& list =
        document->findings[flags].get([&] { return findingsOf(*document, flags, listener); });
    *count = list.shown.size();
    return list.shown.data();
  });
}
