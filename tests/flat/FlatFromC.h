/* The part of the flat tests that a C compiler builds. */

#ifndef TESTS_FLAT_FROM_C_H
#define TESTS_FLAT_FROM_C_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Looks up and edits the dictionaries. Returns the line of the first check that fails, or 0. */
int UseDictionariesFromC(void);
/** Walks and searches a tree that it builds. Returns as above. */
int UseTreeFromC(void);
/** Builds a data set, saves it to a file, and loads it again. Returns as above. */
int UseDataSetFromC(const wchar_t *path);

#ifdef __cplusplus
}
#endif

#endif
