// Writing documents, whole, in part, fixed and with other positions.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "c/Answers.h"
#include "c/Arguments.h"
#include "c/Handles.h"
#include "c/LibraryNames.h"
#include "document/Diff.h"
#include "document/DocumentWriter.h"
#include "document/Fix.h"
#include "document/Replace.h"
#include "document/Selection.h"
#include "document/SelectionPatterns.h"

using namespace WavefrontOBJ;

namespace ksmth {

namespace {

constexpr std::uint32_t kWriteFlags = KSMTH_KEEP_ORDER | KSMTH_NO_SMOOTHING | KSMTH_NO_MATERIALS |
                                      KSMTH_NO_OBJECTS | KSMTH_NO_STATEMENTS | KSMTH_NO_COMMENTS;

std::vector<std::string> wordsOf(const char* const* words, std::size_t count) {
  requireArgument(words != nullptr || count == 0, "no words");
  std::vector<std::string> result;
  for (const char* const word : std::span(words, count)) {
    requireArgument(word != nullptr, "a word is missing");
    result.emplace_back(word);
  }
  return result;
}

/// Adds the indices behind those that the words chose.
template <class T>
void append(std::vector<T>& chosen, const T* indices, std::size_t count, const auto& isThere) {
  requireArgument(indices != nullptr || count == 0, "no indices");
  for (const T index : std::span(indices, count)) {
    if (!isThere(index)) throw Failure{KSMTH_NO_MATCH, "nothing has the index " + std::to_string(index)};
    chosen.push_back(index);
  }
}

ElementLists listsOf(const OBJDocument& document, const KSmthSelection* given) {
  const KSmthSelection wanted = taken(given);
  Selection selection;
  const auto unmatched = resolve(
      document,
      {wordsOf(wanted.groups, wanted.group_count), wordsOf(wanted.smoothing, wanted.smoothing_count),
       wordsOf(wanted.materials, wanted.material_count), wordsOf(wanted.objects, wanted.object_count)},
      selection);
  if (unmatched) throw Failure{KSMTH_NO_MATCH, "nothing is called \"" + unmatched->word + "\""};
  const auto below = [](const std::vector<OBJName>& names, std::int32_t least) {
    return
        [&names, least](std::int32_t i) { return i >= least && i < static_cast<std::int64_t>(names.size()); };
  };
  append(selection.groups, wanted.group_indices, wanted.group_index_count, below(document.groups(), 0));
  append(selection.smoothing, wanted.smoothing_numbers, wanted.smoothing_number_count,
         [](std::uint64_t) { return true; });
  append(selection.materials, wanted.material_indices, wanted.material_index_count,
         below(document.materials(), kNoIndex));
  append(selection.objects, wanted.object_indices, wanted.object_index_count,
         below(document.objects(), kNoIndex));
  ElementLists lists = select(document, selection);
  if (lists.empty()) throw Failure{KSMTH_NO_MATCH, "no element is in all that was asked for"};
  return lists;
}

/// What the writing functions begin and end with; `write` is handed the options and the listener.
template <class Counts, class Write>
KSmthStatus writing(const KSmthDocument* document, const KSmthWriteOptions* given, std::uint32_t flags,
                    const KSmthCallbacks* callbacks, Counts* counts, Write write) {
  return answering([&] {
    requireArgument(document != nullptr, "no document");
    requireRoom(counts);
    const KSmthWriteOptions options = taken(given);
    requireArgument((options.flags & ~flags) == 0, "a flag that this function does not take");
    const Listener listener(callbacks);
    listener.requireGoesOn(0);
    write(options, listener);
  });
}

WriteOptions optionsOf(const KSmthWriteOptions& given, const std::vector<std::string>& libraries,
                       const Listener& listener) {
  const auto without = [&given](std::uint32_t flag) { return (given.flags & flag) == 0; };
  WriteOptions options;
  options.keepOrder = !without(KSMTH_KEEP_ORDER);
  options.smoothing = without(KSMTH_NO_SMOOTHING);
  options.materials = without(KSMTH_NO_MATERIALS);
  options.objects = without(KSMTH_NO_OBJECTS);
  options.statements = without(KSMTH_NO_STATEMENTS);
  options.headComments = without(KSMTH_NO_COMMENTS);
  if (!libraries.empty()) options.libraries = &libraries;
  options.progress = listener.progress();
  return options;
}

KSmthWriteCounts countsOf(const WriteCounts& written) {
  KSmthWriteCounts counts{};
  std::copy(written.vectors.begin(), written.vectors.end(), counts.vectors);
  std::copy(written.elements.begin(), written.elements.end(), counts.elements);
  counts.bytes = written.bytes;
  return counts;
}

/// Writes the document by `put`, which gets the writer's options, the target and the place for the counts.
template <class Put>
KSmthStatus writeBy(const KSmthDocument* document, const KSmthWriteOptions* given, std::uint32_t flags,
                    const KSmthTarget* where, const KSmthCallbacks* callbacks, KSmthWriteCounts* counts,
                    Put put) {
  return writing(document, given, flags, callbacks, counts,
                 [&](const KSmthWriteOptions& options, const Listener& listener) {
                   put([&](auto write) {
                     Target target(where);
                     const bool materials = (options.flags & KSMTH_NO_MATERIALS) == 0;
                     const std::vector<std::string> libraries =
                         materials ? libraryNames(document->document, options, target, listener)
                                   : std::vector<std::string>();
                     WriteCounts written;
                     require(write(optionsOf(options, libraries, listener), target, &written));
                     target.commit();
                     fill(counts, countsOf(written));
                   });
                 });
}

template <class T>
KSmthStatus replaceBy(const KSmthDocument* document, const T* xyz, std::size_t vertices,
                      const KSmthWriteOptions* options, const KSmthTarget* where,
                      const KSmthCallbacks* callbacks, KSmthWriteCounts* counts) {
  return writeBy(document, options, kWriteFlags, where, callbacks, counts, [&](auto put) {
    const OBJDocument& model = document->document;
    requireArgument(xyz != nullptr || vertices == 0, "no positions");
    const std::size_t wanted = model.vectorCount(VectorKind::position);
    if (vertices != wanted) {
      throw Failure{KSMTH_MISMATCH, std::to_string(vertices) + " positions for a document of " +
                                        std::to_string(wanted) + " vertices"};
    }
    const std::span positions(xyz, 3 * vertices);
    for (const T number : positions) requireArgument(std::isfinite(number), "a number that is not finite");
    put([&](const WriteOptions& how, Sink& sink, WriteCounts* written) {
      return writeWithPositions(model, positions, how, sink, written);
    });
  });
}

void logFixes(const FixReport& report, const Listener& listener) {
  constexpr KSmthSeverity kSeverities[] = {KSMTH_NOTE, KSMTH_ERROR, KSMTH_WARNING};
  std::array<std::uint64_t, kFixKindCount> lines{};
  for (const FixPlace& place : report.places()) {
    std::uint64_t& line = lines[static_cast<std::size_t>(place.kind)];
    if (line == 0) line = place.line;
  }
  for (const FixRow& row : kFixKinds) {
    const std::uint64_t count = report.count(row.kind);
    if (count == 0) continue;
    listener.log(kSeverities[static_cast<std::size_t>(row.effect)], row.code.data(),
                 lines[static_cast<std::size_t>(row.kind)],
                 std::string(row.text) + ": " + std::to_string(count));
  }
}

}  // namespace

}  // namespace ksmth

using namespace ksmth;

KSmthStatus ksmth_document_write(const KSmthDocument* document, const KSmthSelection* selection,
                                 const KSmthWriteOptions* options, const KSmthTarget* target,
                                 const KSmthCallbacks* callbacks, KSmthWriteCounts* counts) {
  return writeBy(document, options, kWriteFlags, target, callbacks, counts, [&](auto put) {
    const ElementLists lists =
        selection == nullptr ? ElementLists::all() : listsOf(document->document, selection);
    put([&](const WriteOptions& how, Sink& sink, WriteCounts* written) {
      return DocumentWriter(document->document).write(lists, how, sink, written);
    });
  });
}

KSmthStatus ksmth_document_replace(const KSmthDocument* document, const KSmthDocument* positions,
                                   const KSmthWriteOptions* options, const KSmthTarget* target,
                                   const KSmthCallbacks* callbacks, KSmthWriteCounts* counts) {
  return writeBy(document, options, kWriteFlags | KSMTH_FORCE, target, callbacks, counts, [&](auto put) {
    requireArgument(positions != nullptr, "no positions");
    const OBJDocument& model = document->document;
    std::optional<TopologyDifference> first;
    if ((taken(options).flags & KSMTH_FORCE) == 0) {
      require(compareTopology(model, positions->document, first));
    }
    if (first) throw Failure{KSMTH_MISMATCH, first->text(model, positions->document)};
    put([&](const WriteOptions& how, Sink& sink, WriteCounts* written) {
      return writeWithPositions(model, positions->document, how, sink, written);
    });
  });
}

KSmthStatus ksmth_document_replace_doubles(const KSmthDocument* document, const double* xyz, size_t vertices,
                                           const KSmthWriteOptions* options, const KSmthTarget* target,
                                           const KSmthCallbacks* callbacks, KSmthWriteCounts* counts) {
  return replaceBy(document, xyz, vertices, options, target, callbacks, counts);
}

KSmthStatus ksmth_document_replace_floats(const KSmthDocument* document, const float* xyz, size_t vertices,
                                          const KSmthWriteOptions* options, const KSmthTarget* target,
                                          const KSmthCallbacks* callbacks, KSmthWriteCounts* counts) {
  return replaceBy(document, xyz, vertices, options, target, callbacks, counts);
}

KSmthStatus ksmth_document_fix(const KSmthDocument* document, const KSmthWriteOptions* options,
                               const KSmthTarget* target, const KSmthCallbacks* callbacks,
                               KSmthFixCounts* counts) {
  return writing(document, options, KSMTH_OBJECT_GROUPS | KSMTH_ONE_NAME, callbacks, counts,
                 [&](const KSmthWriteOptions& given, const Listener& listener) {
                   Target to(target);
                   const std::vector<std::string> libraries =
                       libraryNames(document->document, given, to, listener);
                   FixOptions how;
                   how.objects = (given.flags & KSMTH_OBJECT_GROUPS) != 0;
                   how.oneName = (given.flags & KSMTH_ONE_NAME) != 0;
                   if (!libraries.empty()) how.libraries = &libraries;
                   how.progress = listener.progress();
                   FixReport report;
                   require(fix(document->document, how, to, report));
                   to.commit();
                   logFixes(report, listener);
                   KSmthFixCounts done{};
                   done.rewritten = report.count(FixEffect::rewritten);
                   done.left_out = report.count(FixEffect::leftOut);
                   done.unsaid = report.count(FixEffect::unsaid);
                   fill(counts, done);
                 });
}
