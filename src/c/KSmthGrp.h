#ifndef KSMTH_GRP_H
#define KSMTH_GRP_H

// clang-format off
/**
 * @file
 * Wavefront OBJ files for programs of any language: documents as their authors wrote them, and models as the
 * host reads them. C11; also for C++. The plug-in calls are elsewhere (KOBJRev01.h).
 *
 *     KSmthDocument* robot = NULL;
 *     if (ksmth_document_open("robot.obj", NULL, NULL, &robot) != KSMTH_OK) ...
 *     size_t count = 0;
 *     const KSmthName* groups = ksmth_document_names(robot, KSMTH_GROUPS, &count);
 *     for (size_t i = 0; i < count; ++i) printf("%s\n", groups[i].text);
 *     ksmth_document_close(robot);
 *
 * What holds for all functions:
 *
 * - Results: Functions that can fail answer a KSmthStatus; what they were to fill in is then as it was, or
 *   NULL or 0 where that is said. `ksmth_error_text` has the reason. No function throws, ends the process or
 *   writes to standard output or error, also when memory runs out.
 * - Handles: Made by an open function, closed by the close function of their kind, once. Closing NULL is
 *   allowed.
 * - Lists: Pointers that a handle gives stay valid, with what they point at, until the handle is closed;
 *   nothing of them is to be written or freed. A list of none may be NULL.
 * - Texts: Paths and names are bytes that end with a NUL, in whatever encoding the system and the file have.
 * - Indices: Count from 0; -1 stands for none. Lines and columns of files count from 1, 0 stands for none.
 * - Null: A null pointer is KSMTH_BAD_ARGUMENT unless the function says what it stands for; a null handle has
 *   nothing: counts are 0 and lists NULL.
 * - Options: Structs that begin with `size`, which is to be sizeof the struct; all else may be 0, which is
 *   the advice: `KSmthWriteOptions options = {.size = sizeof options};`. Later versions add fields at the
 *   end. A null pointer stands for all 0. A flag that is not known is KSMTH_BAD_ARGUMENT.
 * - Threads: Any number of threads may use one handle at the same time, but for closing it. What is made when
 *   it is first asked for may be made by several at once; all get the same.
 * - Callbacks: Are called on the thread that called the function, before it answers. They may use the
 *   handles, but not close them, and may not leave by longjmp or an exception.
 */
// clang-format on

// As C has it.
// NOLINTBEGIN(modernize-deprecated-headers,modernize-use-using)

#include <stddef.h>
#include <stdint.h>

#include "KSmthExport.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- results ---- */

typedef enum KSmthStatus {
  KSMTH_OK = 0,
  KSMTH_CANNOT_OPEN = 1,   /**< the file is not there or may not be opened */
  KSMTH_READ_FAILED = 2,   /**< the system could not read */
  KSMTH_CHANGED = 3,       /**< the file is not the one any more that was opened */
  KSMTH_NOT_TEXT = 4,      /**< UTF-16, or bytes that are no text */
  KSMTH_TOO_LARGE = 5,     /**< past a limit: 2^31 - 1 lines of a kind, 2^32 - 1 corners, 1 GiB a line */
  KSMTH_OUT_OF_MEMORY = 6, /**< also more than 2^20 materials of a model */
  KSMTH_CANCELLED = 7,     /**< a progress callback answered other than 0 */
  KSMTH_WRITE_FAILED = 8,  /**< the system could not write, or a write callback answered other than 0 */
  KSMTH_BAD_ARGUMENT = 9,  /**< null, out of range, or options of a version that is not known */
  KSMTH_NO_MATCH = 10,     /**< a selection names what is not there or chooses no element; an empty part */
  KSMTH_MISMATCH = 11,     /**< two documents, or a document and an array, do not fit each other */
  KSMTH_BAD_MODEL = 12,    /**< the host's reader ends at a line of the file; the text is its message */
  KSMTH_HOST_LIMIT = 13,   /**< where the host's process would end: see `ksmth_model_open` */
  KSMTH_FAILED = 14        /**< none of the above */
} KSmthStatus;

/**
 * The reason of the last failure of a function of this interface on the calling thread, in one line for
 * people. Writes at most `size` bytes to `text`, a NUL included, cut at a character of UTF-8, and answers the
 * bytes that the whole needs without the NUL: with an answer of `size` or more it was cut. `text` may be NULL
 * where `size` is 0. A reason has 1,023 bytes at most. Functions that succeed leave it as it is; before the
 * first failure it is empty.
 */
KSMTH_API size_t ksmth_error_text(char* text, size_t size);

/** What a status says, in a few words; never NULL, valid for ever. */
KSMTH_API const char* ksmth_status_text(KSmthStatus status);

/**
 * Sets on how many threads, the calling one included, documents of large files (from 16 MB) are read and
 * their numbers parsed at most, and models (from 1 MB) read; for the whole process. 0, the default, stands
 * for the number in the environment's KSMTH_THREADS, or without one, for documents, for one thread for
 * each processor, up to 8, and for models for one. More than 64 are 64. Lists do not depend on it, and no
 * thread is left when a function answers. Answers what was set before.
 */
KSMTH_API uint32_t ksmth_set_threads(uint32_t threads);

/* ---- what the caller is told meanwhile ---- */

typedef enum KSmthSeverity {
  KSMTH_ERROR = 0,   /**< something in the file was left out */
  KSMTH_WARNING = 1, /**< some program will read it otherwise */
  KSMTH_NOTE = 2     /**< worth knowing */
} KSmthSeverity;

/** Callbacks of one call; each may be NULL. A null KSmthCallbacks stands for none. */
typedef struct KSmthCallbacks {
  size_t size; /**< sizeof(KSmthCallbacks) */
  /**
   * Called now and then with the part that is done, 0 to 1. Other than 0 stops the work, which answers
   * KSMTH_CANCELLED: there is no handle then, and an output path is as it was. Called at the begin of a read
   * or write at least, unless that is of nothing.
   */
  int (*progress)(double done, void* user);
  /**
   * Called for what was doubted, left out or changed: a stable word for programs, the line of the file (0 for
   * none) and a line of text. Both texts are valid during the call alone.
   */
  void (*log)(KSmthSeverity severity, const char* code, uint64_t line, const char* text, void* user);
  void* user; /**< handed to both */
} KSmthCallbacks;

/** Where something is written to: either `path` or `write` is not NULL. */
typedef struct KSmthTarget {
  size_t size; /**< sizeof(KSmthTarget) */
  /**
   * A file, also of the name "-". It is written beside its place and renamed when all is done: a failure
   * leaves the old one. Pipes, devices and the file that standard output goes to are written directly.
   */
  const char* path;
  /** Gets the bytes piece by piece, in order. Other than 0 stops the work, which answers KSMTH_WRITE_FAILED.
   */
  int (*write)(const void* bytes, size_t count, void* user);
  void* user; /**< handed to `write` */
} KSmthTarget;

/** How a file is read. */
typedef struct KSmthReadOptions {
  size_t size; /**< sizeof(KSmthReadOptions) */
  /** Stands in messages for bytes in memory, behind the folder; NULL for "memory". Passed over with a path.
   */
  const char* name;
  uint32_t places_per_kind; /**< places of each kind of finding that are kept; 0 for 100. Documents alone. */
  int strict;               /**< of a model: end at what the host passes over (unknown lines and the like) */
} KSmthReadOptions;

/* ---- documents ---- */

/**
 * An OBJ file as its author wrote it: vertex lines, faces, lines and points with the groups, smoothing group,
 * material and object in force. Writing keeps the digits of the file.
 */
typedef struct KSmthDocument KSmthDocument;

typedef enum KSmthVectorKind {
  KSMTH_POSITIONS = 0, /**< "v" */
  KSMTH_TEXTURES = 1,  /**< "vt" */
  KSMTH_NORMALS = 2,   /**< "vn" */
  KSMTH_PARAMETERS = 3 /**< "vp"; models have none */
} KSmthVectorKind;

typedef enum KSmthElementKind {
  KSMTH_FACES = 0, /**< "f" */
  KSMTH_LINES = 1, /**< "l" */
  KSMTH_POINTS = 2 /**< "p" */
} KSmthElementKind;

/** What parts the elements of a document. */
typedef enum KSmthDivision {
  KSMTH_GROUPS = 0,    /**< "g"; an element may be in several, and is in one at least */
  KSMTH_SMOOTHING = 1, /**< "s" */
  KSMTH_MATERIALS = 2, /**< "usemtl" */
  KSMTH_OBJECTS = 3    /**< "o" */
} KSmthDivision;

/**
 * Opens the OBJ file `path` and reads it once. `*document` becomes the handle, or NULL on failure. A regular
 * file stays open and is read again when values are asked for and when it is written: on a change of it such
 * functions answer KSMTH_CHANGED. What is doubted about the file is logged and kept, see
 * `ksmth_document_findings`.
 */
KSMTH_API KSmthStatus ksmth_document_open(const char* path, const KSmthReadOptions* options,
                                          const KSmthCallbacks* callbacks, KSmthDocument** document);

/**
 * The same for `size` bytes, of which the handle takes a copy. Libraries are looked for in `folder`; NULL or
 * "" is the current one. `bytes` may be NULL where `size` is 0.
 */
KSMTH_API KSmthStatus ksmth_document_open_memory(const void* bytes, size_t size, const char* folder,
                                                 const KSmthReadOptions* options,
                                                 const KSmthCallbacks* callbacks, KSmthDocument** document);

KSMTH_API void ksmth_document_close(KSmthDocument* document);

/** The number of vertex lines of a kind. */
KSMTH_API uint32_t ksmth_document_vector_count(const KSmthDocument* document, KSmthVectorKind kind);

/**
 * The first `width` numbers (1 to 8) of each vertex line of a kind, line after line, correctly rounded:
 * positions and normals have 3, texture coordinates 1 to 3. Missing ones are 0, ones past the type's range
 * infinite. Made when first asked for; `*values` is NULL on failure, and may be where there are none.
 */
KSMTH_API KSmthStatus ksmth_document_doubles(const KSmthDocument* document, KSmthVectorKind kind,
                                             uint32_t width, const double** values);
KSMTH_API KSmthStatus ksmth_document_floats(const KSmthDocument* document, KSmthVectorKind kind,
                                            uint32_t width, const float** values);

/**
 * Red, green and blue of each position, as "v" lines of six numbers and more have them; 1 for others. `*rgb`
 * is NULL where no line has any, and on failure.
 */
KSMTH_API KSmthStatus ksmth_document_colours(const KSmthDocument* document, const float** rgb);

/** Elements of one kind as compressed rows, in the order of the file. */
typedef struct KSmthElements {
  uint32_t count;
  uint32_t corner_count;
  const uint32_t* starts;  /**< count + 1: element i has the corners starts[i] up to starts[i + 1] */
  const int32_t* vertices; /**< of each corner, below the count of positions */
  const int32_t* textures; /**< likewise, -1 for none; NULL where no element has any */
  const int32_t* normals;  /**< likewise */
} KSmthElements;

/** The elements of a kind. NULL for a null handle and for a kind that is none. */
KSMTH_API const KSmthElements* ksmth_document_elements(const KSmthDocument* document, KSmthElementKind kind);

/** The line of the file that element `index` stands in. */
KSMTH_API KSmthStatus ksmth_document_element_line(const KSmthDocument* document, KSmthElementKind kind,
                                                  uint32_t index, uint64_t* line);

/** A row of a division. */
typedef struct KSmthName {
  const char* text; /**< the name; of a smoothing group "off" or the number */
  size_t length;    /**< bytes of `text` */
  uint64_t number;  /**< of a smoothing group, 0 for "off"; 0 otherwise */
} KSmthName;

/**
 * The groups, smoothing groups, materials or objects in the order in which elements first had them. Faces of
 * no "g" line are in the group "default". `*count` becomes their number; 0, with NULL, for a null handle and
 * for a division that is none.
 */
KSMTH_API const KSmthName* ksmth_document_names(const KSmthDocument* document, KSmthDivision division,
                                                size_t* count);

/** The elements of each row of a division, ascending. */
typedef struct KSmthMembers {
  size_t rows;              /**< those of `ksmth_document_names`, and a last one for the elements of none */
  const uint64_t* starts;   /**< rows + 1: row i has the elements starts[i] up to starts[i + 1] */
  const uint32_t* elements; /**< indices of elements */
} KSmthMembers;

/** The members of a division. Made when first asked for, in time linear in the elements. */
KSMTH_API KSmthStatus ksmth_document_members(const KSmthDocument* document, KSmthDivision division,
                                             KSmthElementKind kind, const KSmthMembers** members);

/** A material library that a document names. */
typedef struct KSmthLibrary {
  const char* name; /**< as the "mtllib" line has it; a file's name with blanks is several names */
  /**
   * Where it lies, be it there or not: in the document's folder unless the name is an absolute path. Of a
   * file's name with blanks the first name has it, and the others have "".
   */
  const char* path;
  uint64_t line; /**< of the file */
} KSmthLibrary;

/**
 * The libraries, in the order of the file, repeats included. Made when first asked for, with a look at what
 * files there are. `*libraries` and `*count` become NULL and 0 on failure.
 */
KSMTH_API KSmthStatus ksmth_document_libraries(const KSmthDocument* document, const KSmthLibrary** libraries,
                                               size_t* count);

/** One place where something is doubted about a file. docs/findings.md lists all kinds. */
typedef struct KSmthFinding {
  const char* code;    /**< stable name of the kind */
  const char* meaning; /**< what the kind says, for people */
  const char* text;    /**< what stands there, or how many; may be empty */
  uint64_t line;       /**< 0 for the whole file */
  uint64_t column;     /**< in bytes; 0 for the whole line */
  uint64_t count;      /**< of this kind in all, places that are not kept included */
  KSmthSeverity severity;
  int host_only; /**< 1: matters only to who brings the file into the host */
} KSmthFinding;

/** What `ksmth_document_findings` looks at besides what the read has seen. */
enum {
  KSMTH_LINT_NUMBERS = 1,  /**< every number of the vertex lines */
  KSMTH_LINT_GEOMETRY = 2, /**< duplicate faces, unused and coincident vertices */
  KSMTH_LINT_MATERIALS = 4 /**< the libraries beside the file, and materials in them */
};

/**
 * What is doubted about the file, by place. `flags` 0 gives what the read has seen. Other lists are made when
 * first asked for with these flags, reading the file again. `*findings` and `*count` become NULL and 0 on
 * failure.
 */
KSMTH_API KSmthStatus ksmth_document_findings(const KSmthDocument* document, uint32_t flags,
                                              const KSmthCallbacks* callbacks, const KSmthFinding** findings,
                                              size_t* count);

/* ---- writing documents ---- */

/**
 * Which elements are wanted. A division of which nothing is listed does not choose. Of one that chooses an
 * element needs one of what is listed, by word or by index; it has to satisfy every one that chooses.
 *
 * A word for groups, materials or objects is a name, or a shell pattern ("arm_*", "?", "[lr]_hand"); ""
 * stands for the elements without material or object. For groups it may also be an index from 1 or a range of
 * them ("2-5", "7-"). A word for smoothing groups is a number, a range of numbers or "off".
 */
typedef struct KSmthSelection {
  size_t size; /**< sizeof(KSmthSelection) */
  const char* const* groups;
  size_t group_count;
  const char* const* smoothing;
  size_t smoothing_count;
  const char* const* materials;
  size_t material_count;
  const char* const* objects;
  size_t object_count;
  const int32_t* group_indices; /**< into `ksmth_document_names`, from 0 */
  size_t group_index_count;
  const uint64_t* smoothing_numbers; /**< 0 for what is in no smoothing group */
  size_t smoothing_number_count;
  const int32_t* material_indices; /**< -1 for elements without */
  size_t material_index_count;
  const int32_t* object_indices; /**< -1 for elements without */
  size_t object_index_count;
} KSmthSelection;

/** Flags of `KSmthWriteOptions`; each function says which it takes. */
enum {
  KSMTH_KEEP_ORDER = 0x1,     /**< write every vertex line, so that indices stay */
  KSMTH_NO_SMOOTHING = 0x2,   /**< no "s" lines */
  KSMTH_NO_MATERIALS = 0x4,   /**< no "mtllib" and "usemtl" lines */
  KSMTH_NO_OBJECTS = 0x8,     /**< no "o" lines */
  KSMTH_NO_STATEMENTS = 0x10, /**< no free-form and other statements and no "vp" lines */
  KSMTH_NO_COMMENTS = 0x20,   /**< no comments of the file's head */
  KSMTH_FORCE = 0x40,         /**< in spite of another topology */
  KSMTH_OBJECT_GROUPS = 0x80, /**< put faces of an object into a group of its name as well */
  KSMTH_ONE_NAME = 0x100,     /**< make one name of the names on a "g" line: "left_ear" of "left ear" */
  KSMTH_CONCATENATE = 0x200,  /**< pass over what files say of being parts */
  KSMTH_WELD = 0x400          /**< make vertex lines of different files with the same words one */
};

/** How a document is written. */
typedef struct KSmthWriteOptions {
  size_t size; /**< sizeof(KSmthWriteOptions) */
  uint32_t flags;
  /**
   * The folder that the file is to lie in, so that its libraries are named from there. NULL stands for that
   * of the target's path; the names of the document stay where it has none.
   */
  const char* folder;
} KSmthWriteOptions;

/** What was written. */
typedef struct KSmthWriteCounts {
  size_t size;          /**< sizeof(KSmthWriteCounts), set by the caller */
  uint32_t vectors[4];  /**< by KSmthVectorKind */
  uint32_t elements[3]; /**< by KSmthElementKind */
  uint64_t bytes;
} KSmthWriteCounts;

/**
 * Writes a document, or the elements of it that `selection` chooses (NULL for all) with the vertex lines that
 * they use. The order of vertex lines and elements stays. Flags: KSMTH_KEEP_ORDER up to KSMTH_NO_COMMENTS.
 * `counts` may be NULL. KSMTH_NO_MATCH for a word or index that chooses nothing, and where no element is in
 * all that was asked for. Libraries that are not where they should be are logged.
 */
KSMTH_API KSmthStatus ksmth_document_write(const KSmthDocument* document, const KSmthSelection* selection,
                                           const KSmthWriteOptions* options, const KSmthTarget* target,
                                           const KSmthCallbacks* callbacks, KSmthWriteCounts* counts);

/** What a fix did. */
typedef struct KSmthFixCounts {
  size_t size;        /**< sizeof(KSmthFixCounts), set by the caller */
  uint64_t rewritten; /**< says the same, in another way */
  uint64_t left_out;  /**< is not in the fixed file any more */
  uint64_t unsaid;    /**< stays; there is no way to tell the host */
} KSmthFixCounts;

/**
 * Writes the same model in a form that every reader and the host read alike; each kind of change is logged
 * with its number. Flags: KSMTH_OBJECT_GROUPS, KSMTH_ONE_NAME. `counts` may be NULL.
 */
KSMTH_API KSmthStatus ksmth_document_fix(const KSmthDocument* document, const KSmthWriteOptions* options,
                                         const KSmthTarget* target, const KSmthCallbacks* callbacks,
                                         KSmthFixCounts* counts);

/**
 * Writes `document` with the positions of `positions`, digit by digit. KSMTH_MISMATCH, saying where they
 * first differ, for documents of another topology; with KSMTH_FORCE vertices that the second does not have
 * keep their places. Other flags as for `ksmth_document_write`. `counts` may be NULL.
 */
KSMTH_API KSmthStatus ksmth_document_replace(const KSmthDocument* document, const KSmthDocument* positions,
                                             const KSmthWriteOptions* options, const KSmthTarget* target,
                                             const KSmthCallbacks* callbacks, KSmthWriteCounts* counts);

/**
 * The same with the positions of an array: x, y and z of each vertex, written with as many digits as it takes
 * to read the very numbers again. `vertices` is the number of rows: KSMTH_MISMATCH where it is not the
 * document's. KSMTH_BAD_ARGUMENT for a number that is not finite.
 */
KSMTH_API KSmthStatus ksmth_document_replace_doubles(const KSmthDocument* document, const double* xyz,
                                                     size_t vertices, const KSmthWriteOptions* options,
                                                     const KSmthTarget* target,
                                                     const KSmthCallbacks* callbacks,
                                                     KSmthWriteCounts* counts);
KSMTH_API KSmthStatus ksmth_document_replace_floats(const KSmthDocument* document, const float* xyz,
                                                    size_t vertices, const KSmthWriteOptions* options,
                                                    const KSmthTarget* target,
                                                    const KSmthCallbacks* callbacks,
                                                    KSmthWriteCounts* counts);

/** What a merge did. */
typedef struct KSmthMergeCounts {
  size_t size;        /**< sizeof(KSmthMergeCounts), set by the caller */
  uint64_t documents; /**< that were put together from parts */
  uint64_t missing;   /**< lines of those that no part has */
  uint64_t differing; /**< vertex lines that are not alike in all parts; the first file's holds */
  uint64_t welded;    /**< vertex lines left out for others with the same words */
  uint64_t bytes;
} KSmthMergeCounts;

/**
 * Writes `count` documents, one at least, as one: parts that the tool's split made become their document
 * again, others follow one another. Flags: KSMTH_CONCATENATE, KSMTH_WELD. `counts` may be NULL. KSMTH_CHANGED
 * where a file says that it is a part but does not hold what it says.
 */
KSMTH_API KSmthStatus ksmth_merge(const KSmthDocument* const* documents, size_t count,
                                  const KSmthWriteOptions* options, const KSmthTarget* target,
                                  const KSmthCallbacks* callbacks, KSmthMergeCounts* counts);

/** A group, smoothing group, material or object that is not alike in two documents. */
typedef struct KSmthMembership {
  KSmthDivision division;
  int present[2];         /**< in which of the documents it is: 0 or 1 */
  const char* name;       /**< the number of a smoothing group; "" for what has no material or object */
  uint64_t faces[2];      /**< that it has in each */
  uint64_t faces_only[2]; /**< that it has there and not in the other */
} KSmthMembership;

/** How two documents differ; [0] is the first, [1] the second. */
typedef struct KSmthDifference {
  uint64_t vectors[2][4];  /**< by KSmthVectorKind */
  uint64_t elements[2][3]; /**< by KSmthElementKind */
  const char* topology;    /**< where it first differs, for people; NULL where it is the same */
  const KSmthMembership* memberships;
  size_t membership_count;
  uint64_t other_textures; /**< faces with other indices of texture coordinates; 0 with another topology */
  uint64_t other_normals;  /**< likewise */
  int positions_compared;  /**< 1 where both have as many; else what follows is 0 */
  uint32_t greatest_vertex;
  uint64_t moved;       /**< vertices */
  double greatest_move; /**< distance, of `greatest_vertex` */
  double mean_move;     /**< of the vertices that moved */
} KSmthDifference;

/**
 * Compares two documents in time linear in both. `*difference` becomes a record of its own, which stays valid
 * without the documents; NULL on failure.
 */
KSMTH_API KSmthStatus ksmth_diff(const KSmthDocument* first, const KSmthDocument* second,
                                 const KSmthCallbacks* callbacks, const KSmthDifference** difference);

/** Frees what `ksmth_diff` made; NULL is allowed. */
KSMTH_API void ksmth_difference_free(const KSmthDifference* difference);

/* ---- models ---- */

/** An OBJ file as the host reads it, with all that this leaves out. What the plug-in calls answer stands
 * here. */
typedef struct KSmthModel KSmthModel;

/**
 * Reads the OBJ file `path`, and the material libraries that it names, as the host's calls do. `*model`
 * becomes the handle, or NULL on failure. Nothing of the file stays open. KSMTH_BAD_MODEL where the read
 * ends, which is at an index of something that is not there; with `strict` at much else. KSMTH_HOST_LIMIT for
 * a face of more than 88 corners and for a numbered "s" line after 256 smoothing groups. What was passed over
 * is logged and kept, see `ksmth_model_notes`.
 */
KSMTH_API KSmthStatus ksmth_model_open(const char* path, const KSmthReadOptions* options,
                                       const KSmthCallbacks* callbacks, KSmthModel** model);

/** The same for bytes, of which nothing is kept. Libraries are looked for in `folder`, see above. */
KSMTH_API KSmthStatus ksmth_model_open_memory(const void* bytes, size_t size, const char* folder,
                                              const KSmthReadOptions* options,
                                              const KSmthCallbacks* callbacks, KSmthModel** model);

KSMTH_API void ksmth_model_close(KSmthModel* model);

/** The number of positions, texture coordinates or normals. */
KSMTH_API uint32_t ksmth_model_vector_count(const KSmthModel* model, KSmthVectorKind kind);

/** All of them: x, y, z and w, which is 1. Made when first asked for; `*xyzw` is NULL on failure. */
KSMTH_API KSmthStatus ksmth_model_vectors(const KSmthModel* model, KSmthVectorKind kind, const float** xyzw);

/** The faces of a model as compressed rows, in the order of the file. */
typedef struct KSmthModelFaces {
  uint32_t count;
  uint32_t corner_count;
  const uint32_t* starts; /**< count + 1: face i has the corners starts[i] up to starts[i + 1] */
  /** Of each corner. May be past the count: the host adds a relative index to it. Nothing is there then. */
  const int32_t* vertices;
  const int32_t* textures;   /**< likewise, -1 for none; NULL where no face has any */
  const int32_t* normals;    /**< likewise */
  const uint32_t* smoothing; /**< of each face: the number of the last "s" line, 0 for none */
  const int32_t* materials;  /**< of each face: into `ksmth_model_materials`, -1 for none */
} KSmthModelFaces;

/** The faces. Made when first asked for; `*faces` is NULL on failure. */
KSMTH_API KSmthStatus ksmth_model_faces(const KSmthModel* model, const KSmthModelFaces** faces);

/** A group or smoothing group of a model. */
typedef struct KSmthModelGroup {
  const char* name;      /**< of a smoothing group its number */
  uint32_t number;       /**< of a smoothing group; 0 otherwise */
  uint32_t vertex_start; /**< the first vertex of the range that the host hands over */
  uint32_t
      vertex_count; /**< up to the last that its faces use; 0 for none, and where that is but one vertex */
  const uint32_t* faces; /**< in order; a face may be there twice, as the host lists it */
  size_t face_count;
} KSmthModelGroup;

/** The named groups, in the order in which they were first used. Made when first asked for. */
KSMTH_API KSmthStatus ksmth_model_groups(const KSmthModel* model, const KSmthModelGroup** groups,
                                         size_t* count);

/** The smoothing groups, in the order in which the file has them. Likewise. */
KSMTH_API KSmthStatus ksmth_model_smoothing(const KSmthModel* model, const KSmthModelGroup** groups,
                                            size_t* count);

/** A material of a library. Colours are red, green and blue, usually 0 to 1. */
typedef struct KSmthMaterial {
  const char* name;
  double diffuse[3];
  double ambient[3];
  double specular[3];
  double exponent;         /**< of the specular colour ("Ns") */
  double opacity;          /**< "d" */
  double refraction;       /**< "Ni" */
  double illumination;     /**< the number of the model ("illum") */
  const char* diffuse_map; /**< texture files with the library's folder in front; "" for none */
  const char* specular_map;
  const char* ambient_map; /**< without the folder, as the host has it */
  const char* bump_map;
  const char* opacity_map;
  const uint32_t* faces; /**< that have it, in order */
  size_t face_count;
} KSmthMaterial;

/** The materials, in the order of the libraries. Made when first asked for. */
KSMTH_API KSmthStatus ksmth_model_materials(const KSmthModel* model, const KSmthMaterial** materials,
                                            size_t* count);

/** What the read passed over. */
typedef struct KSmthNote {
  const char* code;    /**< stable name */
  const char* meaning; /**< for people */
  const char* text;    /**< the line, or the name that is missing */
  uint64_t line;       /**< of the file; of "unknown-material-keyword" of its library */
} KSmthNote;

/** The first 200 notes; `*total`, where it is not NULL, becomes the number of all. */
KSMTH_API const KSmthNote* ksmth_model_notes(const KSmthModel* model, size_t* count, size_t* total);

/**
 * Writes the whole model to the bytes of the host: in face order, or group by group where `by_group` is not
 * 0. `library` is the name of its "mtllib" line; NULL or "" for none. KSMTH_HOST_LIMIT for a model of more
 * normals than texture coordinates, past the end of their block.
 */
KSMTH_API KSmthStatus ksmth_model_write(const KSmthModel* model, int by_group, const char* library,
                                        const KSmthTarget* target, const KSmthCallbacks* callbacks);

/** Writes the vertex range and faces of group `index`. KSMTH_NO_MATCH where it has no vertex range. */
KSMTH_API KSmthStatus ksmth_model_write_group(const KSmthModel* model, uint32_t index, const char* library,
                                              const KSmthTarget* target, const KSmthCallbacks* callbacks);

/**
 * The same for the faces that carry the smoothing group `number`, 0 for those of none. KSMTH_NO_MATCH where
 * there are none.
 */
KSMTH_API KSmthStatus ksmth_model_write_smoothing(const KSmthModel* model, uint32_t number,
                                                  const char* library, const KSmthTarget* target,
                                                  const KSmthCallbacks* callbacks);

#ifdef __cplusplus
}
#endif

// NOLINTEND(modernize-deprecated-headers,modernize-use-using)

#endif /* KSMTH_GRP_H */
