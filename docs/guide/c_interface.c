/* The groups of an OBJ file, and the first as a file of its own, first.obj. Argument: the file.
 * Of the robot it prints first: head: 143 faces
 */
#include <stdio.h>

#include "c/KSmthGrp.h"

int main(int argc, char** argv) {
  static const int32_t first[] = {0};
  KSmthSelection part = {.size = sizeof part, .group_indices = first, .group_index_count = 1};
  KSmthTarget target = {.size = sizeof target, .path = "first.obj"};
  KSmthDocument* document = NULL;
  const KSmthMembers* faces = NULL;
  size_t count = 0;
  KSmthStatus status = ksmth_document_open(argc < 2 ? "" : argv[1], NULL, NULL, &document);
  if (status == KSMTH_OK) status = ksmth_document_members(document, KSMTH_GROUPS, KSMTH_FACES, &faces);
  if (status == KSMTH_OK) status = ksmth_document_write(document, &part, NULL, &target, NULL, NULL);
  if (status == KSMTH_OK) {
    const KSmthName* const groups = ksmth_document_names(document, KSMTH_GROUPS, &count);
    for (size_t i = 0; i < count; ++i)
      printf("%s: %d faces\n", groups[i].text, (int)(faces->starts[i + 1] - faces->starts[i]));
  } else {
    char reason[200];
    ksmth_error_text(reason, sizeof reason);
    fprintf(stderr, "%s\n", reason);
  }
  ksmth_document_close(document);
  return status != KSMTH_OK;
}
