// Several documents: made one, and compared.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "c/Answers.h"
#include "c/Arguments.h"
#include "c/Handles.h"
#include "c/LibraryNames.h"
#include "document/Diff.h"
#include "document/Merge.h"

using namespace ksmth;
using namespace WavefrontOBJ;

namespace {

/// What is handed out comes first: its address is that of the whole.
struct DifferenceRecord {
  KSmthDifference shown{};
  DocumentDifference difference;
  std::string topology;
  std::vector<KSmthMembership> memberships;
};

std::unique_ptr<DifferenceRecord> recordOf(const OBJDocument& first, const OBJDocument& second,
                                           const Listener& listener) {
  auto record = std::make_unique<DifferenceRecord>();
  DocumentDifference& found = record->difference;
  require(diff(first, second, found, listener.progress()));
  KSmthDifference& shown = record->shown;
  for (std::size_t side = 0; side < 2; ++side) {
    std::ranges::copy(found.vectors[side], shown.vectors[side]);
    std::ranges::copy(found.elements[side], shown.elements[side]);
  }
  if (found.topology) {
    record->topology = found.topology->text(first, second);
    shown.topology = record->topology.c_str();
  }
  for (const MembershipDifference& row : found.memberships) {
    record->memberships.push_back({static_cast<KSmthDivision>(row.division),
                                   {row.present[0] ? 1 : 0, row.present[1] ? 1 : 0},
                                   row.name.c_str(),
                                   {row.faces[0], row.faces[1]},
                                   {row.facesOnly[0], row.facesOnly[1]}});
  }
  shown.memberships = record->memberships.data();
  shown.membership_count = record->memberships.size();
  shown.other_textures = found.facesWithOtherTextures;
  shown.other_normals = found.facesWithOtherNormals;
  shown.positions_compared = found.positionsCompared ? 1 : 0;
  shown.greatest_vertex = found.greatestVertex;
  shown.moved = found.moved;
  shown.greatest_move = found.greatestMove;
  shown.mean_move = found.meanMove;
  return record;
}

}  // namespace

KSmthStatus ksmth_merge(const KSmthDocument* const* documents, size_t count, const KSmthWriteOptions* options,
                        const KSmthTarget* target, const KSmthCallbacks* callbacks,
                        KSmthMergeCounts* counts) {
  return answering([&] {
    requireArgument(documents != nullptr && count > 0, "no documents");
    requireRoom(counts);
    const KSmthWriteOptions given = taken(options);
    requireArgument((given.flags & ~(KSMTH_CONCATENATE | KSMTH_WELD)) == 0,
                    "a flag that this function does not take");
    const Listener listener(callbacks);
    listener.requireGoesOn(0);
    std::vector<const OBJDocument*> all;
    for (const KSmthDocument* const document : std::span(documents, count)) {
      requireArgument(document != nullptr, "a document is missing");
      all.push_back(&document->document);
    }
    Target to(target);
    MergeOptions how;
    how.concatenate = (given.flags & KSMTH_CONCATENATE) != 0;
    how.weld = (given.flags & KSMTH_WELD) != 0;
    for (const OBJDocument* const document : all) {
      std::vector<std::string>& names =
          how.libraries.emplace_back(libraryNames(*document, given, to, listener));
      // One document's names may change while another's stay.
      if (!names.empty()) continue;
      for (const OBJLibrary& library : document->libraries()) names.push_back(library.text);
    }
    how.progress = listener.progress();
    MergeReport report;
    require(merge(all, how, to, &report));
    to.commit();
    KSmthMergeCounts done{};
    done.documents = report.documents;
    done.missing = report.missing;
    done.differing = report.differing;
    done.welded = report.welded;
    done.bytes = report.counts.bytes;
    fill(counts, done);
  });
}

KSmthStatus ksmth_diff(const KSmthDocument* first, const KSmthDocument* second,
                       const KSmthCallbacks* callbacks, const KSmthDifference** difference) {
  return answeringWith(difference, [&] {
    requireArgument(first != nullptr && second != nullptr, "no document");
    const Listener listener(callbacks);
    listener.requireGoesOn(0);
    return &recordOf(first->document, second->document, listener).release()->shown;
  });
}

void ksmth_difference_free(const KSmthDifference* difference) {
  delete reinterpret_cast<const DifferenceRecord*>(difference);
}
