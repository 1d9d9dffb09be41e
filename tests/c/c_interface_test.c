/* The C interface as a C program sees it. The folder of the examples and one to write in are the arguments.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "c/KSmthGrp.h"

static int failures = 0;
#define CHECK(holds) check((holds) != 0, #holds, __LINE__)

static void check(int holds, const char* what, int line) {
  char reason[200];
  if (holds) return;
  ksmth_error_text(reason, sizeof reason);
  fprintf(stderr, "line %d does not hold: %s (last reason: %s)\n", line, what, reason);
  ++failures;
}

typedef struct Text {
  char bytes[200000];
  size_t size;
  int calls_left; /* before the callback stops the work; negative for never */
} Text;

static int append(const void* bytes, size_t count, void* user) {
  Text* text = (Text*)user;
  if (text->calls_left-- == 0 || count > sizeof text->bytes - text->size) return 1;
  memcpy(text->bytes + text->size, bytes, count);
  text->size += count;
  return 0;
}

static void begin(Text* text) {
  text->size = 0;
  text->calls_left = -1;
}

static int countdown(double done, void* user) {
  CHECK(done >= 0 && done <= 1);
  return (*(int*)user)-- == 0;
}

static void count_log(KSmthSeverity severity, const char* code, uint64_t line, const char* text, void* user) {
  CHECK(severity <= KSMTH_NOTE && *code != '\0' && *text != '\0' && line < 100000);
  ++*(int*)user;
}

static size_t load(const char* path, char* bytes, size_t room) {
  FILE* file = fopen(path, "rb");
  size_t size = file == NULL ? 0 : fread(bytes, 1, room, file);
  if (file != NULL) fclose(file);
  return size;
}

static Text text, other;

static void test_lists(const KSmthDocument* robot) {
  static const size_t kNames[] = {11, 9}; /* "off" is a row of its own */
  size_t count = 0;
  const KSmthElements* faces = ksmth_document_elements(robot, KSMTH_FACES);
  const double* doubles = NULL;
  const float* floats = NULL;
  const KSmthLibrary* libraries = NULL;
  uint64_t line = 0;
  CHECK(ksmth_document_vector_count(robot, KSMTH_POSITIONS) == 522 && faces->count == 452);
  CHECK(faces->starts[0] == 0 && faces->starts[faces->count] == faces->corner_count);
  CHECK(ksmth_document_elements(robot, KSMTH_LINES)->starts[0] == 0);
  for (int division = KSMTH_GROUPS; division <= KSMTH_OBJECTS; ++division) {
    const KSmthName* names = ksmth_document_names(robot, (KSmthDivision)division, &count);
    const KSmthMembers* members = NULL;
    CHECK(division > KSMTH_SMOOTHING || count == kNames[division]);
    CHECK(ksmth_document_members(robot, (KSmthDivision)division, KSMTH_FACES, &members) == KSMTH_OK);
    CHECK(members->rows == count + 1 && members->starts[members->rows] >= faces->count);
    for (size_t i = 0; i < count; ++i) {
      CHECK(strlen(names[i].text) == names[i].length && names[i].length > 0);
      CHECK(division != KSMTH_SMOOTHING || strtoull(names[i].text, NULL, 10) == names[i].number);
    }
  }
  CHECK(ksmth_document_doubles(robot, KSMTH_POSITIONS, 3, &doubles) == KSMTH_OK);
  CHECK(ksmth_document_floats(robot, KSMTH_POSITIONS, 3, &floats) == KSMTH_OK);
  for (int i = 0; i < 3 * 522; ++i) CHECK((float)doubles[i] == floats[i]);
  CHECK(ksmth_document_element_line(robot, KSMTH_FACES, 451, &line) == KSMTH_OK && line > 522);
  CHECK(ksmth_document_element_line(robot, KSMTH_FACES, 452, &line) == KSMTH_BAD_ARGUMENT);
  CHECK(ksmth_document_libraries(robot, &libraries, &count) == KSMTH_OK && count == 1);
  CHECK(strcmp(libraries[0].name, "robot.mtl") == 0 && libraries[0].line > 0);
  CHECK(load(libraries[0].path, text.bytes, sizeof text.bytes) > 0);
}

static void test_writing(const KSmthDocument* robot, const char* scratch) {
  const char* const head[] = {"head"};
  const char* const nobody[] = {"nobody"};
  const int32_t past[] = {11};
  const uint64_t unused[] = {4000000000U};
  char path[1000];
  char reason[200];
  int calls = 0;
  KSmthDocument* again = NULL;
  const KSmthDifference* difference = NULL;
  const double* positions = NULL;
  KSmthWriteCounts counts = {.size = sizeof counts};
  KSmthSelection selection = {.size = sizeof selection};
  KSmthCallbacks stop = {.size = sizeof stop};
  KSmthTarget memory = {.size = sizeof memory}, file = {.size = sizeof file};
  stop.progress = countdown;
  stop.user = &calls;
  memory.write = append;
  memory.user = &text;
  snprintf(path, sizeof path, "%s/c_interface.obj", scratch);
  file.path = path;

  begin(&text);
  CHECK(ksmth_document_write(robot, NULL, NULL, &memory, NULL, &counts) == KSMTH_OK);
  CHECK(counts.bytes == text.size && counts.elements[KSMTH_FACES] == 452 && counts.vectors[0] == 522);
  CHECK(ksmth_document_open_memory(text.bytes, text.size, NULL, NULL, NULL, &again) == KSMTH_OK);
  CHECK(ksmth_diff(robot, again, NULL, &difference) == KSMTH_OK && difference->topology == NULL);
  CHECK(difference->membership_count == 0 && difference->positions_compared && difference->moved == 0);
  ksmth_difference_free(difference);

  /* Arrays of the positions say what the file says; its digits may be others. */
  CHECK(ksmth_document_doubles(robot, KSMTH_POSITIONS, 3, &positions) == KSMTH_OK);
  begin(&text);
  CHECK(ksmth_document_replace_doubles(again, positions, 522, NULL, &memory, NULL, NULL) == KSMTH_OK);
  CHECK(ksmth_document_replace_doubles(again, positions, 521, NULL, &memory, NULL, NULL) == KSMTH_MISMATCH);
  ksmth_document_close(again);
  CHECK(ksmth_document_open_memory(text.bytes, text.size, "", NULL, NULL, &again) == KSMTH_OK);
  CHECK(ksmth_diff(robot, again, NULL, &difference) == KSMTH_OK && difference->moved == 0);
  ksmth_difference_free(difference);

  /* A part, by word and by index. */
  selection.groups = head;
  selection.group_count = 1;
  CHECK(ksmth_document_write(robot, &selection, NULL, &file, NULL, &counts) == KSMTH_OK);
  CHECK(counts.elements[KSMTH_FACES] > 0 && counts.elements[KSMTH_FACES] < 452);
  CHECK(load(path, text.bytes, sizeof text.bytes) == counts.bytes);
  CHECK(ksmth_document_replace(robot, again, NULL, &file, NULL, &counts) == KSMTH_OK && counts.bytes > 0);
  /* A library writes nothing to standard output unasked: "-" is a file's name as any other. */
  file.path = "-";
  CHECK(ksmth_document_write(robot, &selection, NULL, &file, NULL, NULL) == KSMTH_OK);
  CHECK(load("-", other.bytes, sizeof other.bytes) > 0 && remove("-") == 0);
  file.path = path;
  selection.groups = nobody;
  CHECK(ksmth_document_write(robot, &selection, NULL, &file, NULL, NULL) == KSMTH_NO_MATCH);
  selection.group_count = 0;
  selection.group_indices = past;
  selection.group_index_count = 1;
  CHECK(ksmth_document_write(robot, &selection, NULL, &file, NULL, NULL) == KSMTH_NO_MATCH);
  ksmth_error_text(reason, sizeof reason);
  CHECK(strcmp(reason, "nothing has the index 11") == 0);
  selection.group_index_count = 0;
  selection.smoothing_numbers = unused;
  selection.smoothing_number_count = 1;
  CHECK(ksmth_document_write(robot, &selection, NULL, &file, NULL, NULL) == KSMTH_NO_MATCH);
  CHECK(load(path, text.bytes, sizeof text.bytes) == counts.bytes);

  /* Work that is stopped leaves what there was, and tells which of both stopped it. */
  CHECK(ksmth_document_write(robot, NULL, NULL, &file, &stop, NULL) == KSMTH_CANCELLED);
  calls = 1;
  CHECK(ksmth_document_fix(robot, NULL, &file, &stop, NULL) == KSMTH_CANCELLED);
  CHECK(load(path, text.bytes, sizeof text.bytes) == counts.bytes);
  remove(path);
  calls = 1;
  CHECK(ksmth_document_write(robot, NULL, NULL, &file, &stop, NULL) == KSMTH_CANCELLED);
  CHECK(load(path, text.bytes, sizeof text.bytes) == 0);
  begin(&text);
  text.calls_left = 0;
  CHECK(ksmth_document_write(robot, NULL, NULL, &memory, NULL, NULL) == KSMTH_WRITE_FAILED);

  /* Twice the robot is the robot twice. */
  {
    const KSmthDocument* both[2];
    KSmthMergeCounts merged = {.size = sizeof merged};
    KSmthWriteOptions options = {.size = sizeof options};
    KSmthDocument* sum = NULL;
    both[0] = robot;
    both[1] = again;
    begin(&text);
    options.flags = KSMTH_CONCATENATE;
    CHECK(ksmth_merge(both, 2, &options, &memory, NULL, &merged) == KSMTH_OK && merged.bytes == text.size);
    CHECK(ksmth_document_open_memory(text.bytes, text.size, NULL, NULL, NULL, &sum) == KSMTH_OK);
    CHECK(ksmth_document_elements(sum, KSMTH_FACES)->count == 2 * 452);
    CHECK(ksmth_document_replace(robot, sum, NULL, &memory, NULL, NULL) == KSMTH_MISMATCH);
    ksmth_document_close(sum);
    options.flags = KSMTH_FORCE;
    CHECK(ksmth_merge(both, 2, &options, &memory, NULL, NULL) == KSMTH_BAD_ARGUMENT);
  }
  ksmth_document_close(again);
}

static void test_failures(const char* examples) {
  static const char kDoubtful[] = "v 0 0 0\nv 1 0 0\nv 0 1 0,5\nf 1 2 3 9\nquux\n";
  KSmthDocument* document = (KSmthDocument*)&text;
  KSmthModel* model = NULL;
  const KSmthFinding* findings = NULL;
  size_t count = 0;
  int calls = 0;
  char small[8] = "xxxxxxx";
  char whole[2000];
  KSmthCallbacks told = {.size = sizeof told}, stop = {.size = sizeof stop};
  struct Later {
    KSmthReadOptions known;
    int later;
  } later;
  told.log = count_log;
  told.user = &calls;
  stop.progress = countdown;
  stop.user = &calls;

  CHECK(ksmth_document_open("", NULL, NULL, &document) == KSMTH_CANNOT_OPEN && document == NULL);
  CHECK(ksmth_model_open(examples, NULL, NULL, &model) == KSMTH_CANNOT_OPEN && model == NULL);
  count = ksmth_error_text(NULL, 0);
  CHECK(count > 8 && ksmth_error_text(small, sizeof small) == count && strlen(small) == 7);
  CHECK(ksmth_error_text(whole, sizeof whole) == count && strlen(whole) == count);
  CHECK(strncmp(whole, small, 7) == 0 && ksmth_error_text(small, 1) == count && small[0] == '\0');
  CHECK(ksmth_document_open_memory("\xFF\xFE"
                                   "v\0",
                                   4, NULL, NULL, NULL, &document) == KSMTH_NOT_TEXT);
  CHECK(ksmth_document_open_memory(NULL, 1, NULL, NULL, NULL, &document) == KSMTH_BAD_ARGUMENT);
  CHECK(ksmth_document_open_memory("v", 1, NULL, NULL, NULL, NULL) == KSMTH_BAD_ARGUMENT);
  memset(&later, 0, sizeof later);
  later.known.size = sizeof later;
  CHECK(ksmth_document_open_memory("v", 1, NULL, &later.known, NULL, &document) == KSMTH_OK);
  ksmth_document_close(document);
  later.later = 1;
  CHECK(ksmth_document_open_memory("v", 1, NULL, &later.known, NULL, &document) == KSMTH_BAD_ARGUMENT);
  CHECK(ksmth_document_open_memory(kDoubtful, sizeof kDoubtful - 1, NULL, NULL, &stop, &document) ==
        KSMTH_CANCELLED);
  CHECK(document == NULL);
  calls = 0;
  CHECK(ksmth_model_open_memory(kDoubtful, sizeof kDoubtful - 1, NULL, NULL, &stop, &model) ==
        KSMTH_CANCELLED);

  calls = 0;
  CHECK(ksmth_document_open_memory(kDoubtful, sizeof kDoubtful - 1, NULL, NULL, &told, &document) ==
        KSMTH_OK);
  CHECK(ksmth_document_findings(document, 0, NULL, &findings, &count) == KSMTH_OK && count == 2 &&
        calls == 2);
  CHECK(findings[0].line == 4 && findings[0].severity == KSMTH_ERROR && findings[1].line == 5);
  CHECK(strcmp(findings[1].code, "unknown-statement") == 0 && strcmp(findings[1].text, "quux") == 0);
  CHECK(ksmth_document_findings(document, KSMTH_LINT_NUMBERS, NULL, &findings, &count) == KSMTH_OK);
  CHECK(count == 3);
  CHECK(ksmth_document_findings(document, 8, NULL, &findings, &count) == KSMTH_BAD_ARGUMENT && count == 0);
  ksmth_document_close(document);

  /* The host ends at the index that is not there, and its process at the 89th corner. */
  CHECK(ksmth_model_open_memory(kDoubtful, sizeof kDoubtful - 1, NULL, NULL, NULL, &model) ==
        KSMTH_BAD_MODEL);
  begin(&text);
  for (int i = 0; i < 89; ++i) append("v 0 0 0\n", 8, &text);
  append("f", 1, &text);
  for (int i = 1; i <= 89; ++i) {
    char corner[8];
    append(corner, (size_t)snprintf(corner, sizeof corner, " %d", i), &text);
  }
  append("\n", 1, &text);
  CHECK(ksmth_model_open_memory(text.bytes, text.size, NULL, NULL, NULL, &model) == KSMTH_HOST_LIMIT);
  CHECK(model == NULL);

  /* Nothing comes of nothing. */
  ksmth_document_close(NULL);
  ksmth_model_close(NULL);
  ksmth_difference_free(NULL);
  CHECK(ksmth_document_vector_count(NULL, KSMTH_POSITIONS) == 0 &&
        ksmth_document_elements(NULL, KSMTH_FACES) == NULL);
  CHECK(ksmth_document_names(NULL, KSMTH_GROUPS, &count) == NULL &&
        ksmth_model_notes(NULL, &count, NULL) == NULL);
  CHECK(ksmth_diff(NULL, NULL, NULL, NULL) == KSMTH_BAD_ARGUMENT);
  CHECK(ksmth_merge(NULL, 1, NULL, NULL, NULL, NULL) == KSMTH_BAD_ARGUMENT);
}

static void test_model(const char* path, const char* folder) {
  KSmthModel* robot = NULL;
  KSmthModel* again = NULL;
  const KSmthModelFaces* faces = NULL;
  const KSmthModelGroup* groups = NULL;
  const KSmthMaterial* materials = NULL;
  const float *a = NULL, *b = NULL;
  size_t count = 0, members = 0;
  KSmthTarget memory = {.size = sizeof memory};
  memory.write = append;
  memory.user = &text;

  begin(&other);
  other.size = load(path, other.bytes, sizeof other.bytes);
  CHECK(ksmth_model_open(path, NULL, NULL, &robot) == KSMTH_OK);
  CHECK(ksmth_model_open_memory(other.bytes, other.size, folder, NULL, NULL, &again) == KSMTH_OK);
  CHECK(ksmth_model_vector_count(robot, KSMTH_POSITIONS) == 522);
  CHECK(ksmth_model_faces(robot, &faces) == KSMTH_OK && faces->count == 452);
  CHECK(ksmth_model_materials(again, &materials, &count) == KSMTH_OK && count > 0);
  for (size_t i = 0; i < count; ++i) {
    for (size_t k = 0; k < materials[i].face_count; ++k) {
      CHECK(faces->materials[materials[i].faces[k]] == (int32_t)i);
    }
    members += materials[i].face_count;
  }
  for (uint32_t i = 0; i < faces->count; ++i) members -= faces->materials[i] >= 0;
  CHECK(members == 0);
  CHECK(ksmth_model_smoothing(robot, &groups, &count) == KSMTH_OK && count == 8);
  for (size_t i = 0; i < count; ++i) {
    for (size_t k = 0; k < groups[i].face_count; ++k) {
      CHECK(faces->smoothing[groups[i].faces[k]] == groups[i].number);
    }
    members += groups[i].face_count;
  }
  for (uint32_t i = 0; i < faces->count; ++i) members -= faces->smoothing[i] != 0;
  CHECK(members == 0);
  CHECK(ksmth_model_groups(robot, &groups, &count) == KSMTH_OK && count == 11);
  for (size_t i = 0; i < count; ++i) {
    for (size_t k = 0; k < groups[i].face_count; ++k) {
      const uint32_t vertex = (uint32_t)faces->vertices[faces->starts[groups[i].faces[k]]];
      CHECK(vertex - groups[i].vertex_start < groups[i].vertex_count);
    }
  }

  /* What is written comes back. */
  begin(&text);
  CHECK(ksmth_model_write(robot, 0, "robot.mtl", &memory, NULL) == KSMTH_OK);
  ksmth_model_close(again);
  CHECK(ksmth_model_open_memory(text.bytes, text.size, folder, NULL, NULL, &again) == KSMTH_OK);
  CHECK(ksmth_model_vectors(robot, KSMTH_POSITIONS, &a) == KSMTH_OK);
  CHECK(ksmth_model_vectors(again, KSMTH_POSITIONS, &b) == KSMTH_OK);
  CHECK(memcmp(a, b, sizeof(float) * 4 * 522) == 0);
  ksmth_model_close(again);
  begin(&text);
  CHECK(ksmth_model_write_group(robot, 1, NULL, &memory, NULL) == KSMTH_OK);
  CHECK(ksmth_model_open_memory(text.bytes, text.size, NULL, NULL, NULL, &again) == KSMTH_OK);
  CHECK(ksmth_model_vector_count(again, KSMTH_POSITIONS) == groups[1].vertex_count);
  CHECK(ksmth_model_write_group(robot, 11, NULL, &memory, NULL) == KSMTH_NO_MATCH);
  CHECK(ksmth_model_write_smoothing(robot, 4000000000U, NULL, &memory, NULL) == KSMTH_NO_MATCH);
  text.calls_left = 0;
  CHECK(ksmth_model_write(robot, 1, NULL, &memory, NULL) == KSMTH_WRITE_FAILED);
  ksmth_model_close(again);
  ksmth_model_close(robot);
}

int main(int argc, char** argv) {
  char path[1000];
  KSmthDocument* robot = NULL;
  KSmthDocument* copy = NULL;
  if (argc != 3) return 2;
  snprintf(path, sizeof path, "%s/robot.obj", argv[1]);
  CHECK(ksmth_error_text(NULL, 0) == 0);
  begin(&other);
  other.size = load(path, other.bytes, sizeof other.bytes);
  CHECK(ksmth_document_open(path, NULL, NULL, &robot) == KSMTH_OK);
  CHECK(ksmth_document_open_memory(other.bytes, other.size, argv[1], NULL, NULL, &copy) == KSMTH_OK);
  memset(&other, 0, sizeof other);
  test_lists(robot);
  test_lists(copy);
  test_writing(copy, argv[2]);
  test_failures(argv[1]);
  test_model(path, argv[1]);
  ksmth_document_close(copy);
  ksmth_document_close(robot);
  return failures != 0;
}
