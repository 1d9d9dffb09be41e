#ifndef KSMTH_CALL_LIMITS_H
#define KSMTH_CALL_LIMITS_H

/*
 * What a program may ask of the plug-in calls beyond their contract with the host. For C11 and C++; the calls
 * themselves are in KOBJRev01.h. Like them it is for one thread at a time.
 */

#include <stddef.h>  // NOLINT(modernize-deprecated-headers): this is C

#include "KSmthExport.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Sets how many bytes of the text buffer (`block1`) the calls may write, the NUL included: a longer answer is
 * cut, at a character of UTF-8. 0, the default, stands for no limit, as the host's contract has it. The limit
 * holds for all calls until it is set again. Answers the limit before.
 */
KSMTH_API size_t KSmthGrpImpt_SetTextLimit(size_t bytes);

/**
 * Not 0: a call that fails an assertion (an 89th corner, a numbered "s" line after 256 smoothing groups, an
 * index past an array's blocks, an output file that cannot be opened) answers -1, with the reason in the text
 * buffer where the call got one. The current model is given up and its memory freed, as after a failed
 * `LoadOBJFile`. Nothing is logged, and no handler of `OBJSetAssertionHandler` is called. An output file has
 * the lines before the failure. 0, the default: the process ends, as the host's contract has it. Answers what
 * was set before, 0 or 1.
 */
KSMTH_API int KSmthGrpImpt_SetAssertionAnswers(int answers);

/**
 * Sets on how many threads, the calling one included, the library works at most where it uses several: for
 * `LoadOBJFile`, `ReplaceOBJVertices` and `OBJModel::read`, from 1 MB of text, and for documents
 * (OBJDocument.h) of files from 16 MB. Results, messages and failures do not depend on it, but for want of
 * memory, and no thread is left when a call answers. 0, the default, stands for the number in the
 * environment's KSMTH_THREADS, or without one for one thread, and for documents for one for each processor,
 * up to 8. More than 64 are 64. Answers what was set before. May be called by several threads at once; work
 * that has begun keeps its number.
 */
KSMTH_API unsigned KSmthGrpImpt_SetThreads(unsigned threads);

#ifdef __cplusplus
}
#endif

#endif /* KSMTH_CALL_LIMITS_H */
