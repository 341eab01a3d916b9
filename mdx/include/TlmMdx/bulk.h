/* Many records at once. The conventions are those of TlmMdx/mdx.h. */
#ifndef TLMMDX_BULK_H
#define TLMMDX_BULK_H

#include <TlmMdx/mdx.h>

#if defined(__cplusplus)
extern "C" {
#endif

/*
 * Posts a copy of each of `count` records of another table, in the order given: what MDARecNew, MDRSetVal for
 * each field by its number, MDRSetFlags and MDARecPost do, at less cost. A value that does not fit its field is
 * null there, as is a field that the other table lacks. The copies carry no changed marks, and the kind of
 * change `change` (MDX_REC_*). Returns `count`. The records must be posted ones (MDX_E_STATE) of one table other
 * than `array` (MDX_E_FOREIGN); on failure none is added.
 */
MDX_API int MDXRecsAdd(MDArray* array, MDRData* const* records, int count, int change);

/*
 * The same, but leaves out each record whose values in the first key another posted record has, one that was added
 * before it among them; null in a key of one field is no value. Returns how many were added.
 */
MDX_API int MDXRecsAddNew(MDArray* array, MDRData* const* records, int count, int change);

/*
 * Looks for `count` values in a key of one field (MDX_E_KEY for another): found[i] is what MDARecSeekV gives for
 * values[i], or null. In a large table it costs less than as many calls, since the values wait for memory together.
 */
MDX_API int MDXRecsSeek(const MDArray* array, int key, const MDRVar* values, int count, MDRData** found);

/*
 * Asks for the memory of a field's value ahead of its use, without a look at the record. Nothing for null pointers.
 * The record is one of the table of the field.
 */
MDX_API void MDXRecFetch(const MDRField* field, const MDRData* record);

/* What a run of seeks remembers; zeros to begin with. Good until the table changes. */
typedef struct MDXNear {
  MDRData* last;   /* found before */
  const char* end; /* of the records around it */
} MDXNear;

/*
 * What MDARecSeekV without a position gives for a value in a key of one field (null for another). With an index of
 * whole texts it costs next to nothing where the record arrived in the table right after the one found before.
 */
MDX_API MDRData* MDXRecSeekNear(const MDArray* array, int key, const MDRVar* value, MDXNear* near);

/*
 * Keeps an index of whole texts beside a key over one text of 32 characters that tells rows apart (MDX_E_KEY for
 * another). MDXRecsSeek, and MDARecSeekV that asks for no position, find such texts with a look at two places of
 * memory then; answers stay the same. It costs 24 to 48 bytes a record and some time at each change of the key,
 * and is given up when two records come to hold the same text. Not to be called while others read the table.
 */
MDX_API int MDXKeyExact(MDArray* array, int key);

#if defined(__cplusplus)
} /* extern "C" */
#endif

#endif
