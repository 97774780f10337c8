/* The contraction method's view of the result record: the same 54 words as
 * QK4_FhrResult, with its named words where the method writes them. */
#include <stddef.h>

#include "ctgscore.h"

#define WORD(n) ((n) * sizeof(int))

_Static_assert(sizeof(QK4_UcResult) == sizeof(QK4_FhrResult), "54 words");
_Static_assert(offsetof(QK4_UcResult, intensityRating) == WORD(0), "word 0");
_Static_assert(offsetof(QK4_UcResult, lastEndMinusLastPeak) == WORD(1), "word 1");
_Static_assert(offsetof(QK4_UcResult, lastPeakMinusPreviousEnd) == WORD(2), "word 2");
_Static_assert(offsetof(QK4_UcResult, baselineFhrCopy) == WORD(3), "word 3");
_Static_assert(offsetof(QK4_UcResult, lastContractionEnd) == WORD(4), "word 4");
_Static_assert(offsetof(QK4_UcResult, lastContractionPeak) == WORD(5), "word 5");
_Static_assert(offsetof(QK4_UcResult, previousContractionEnd) == WORD(6), "word 6");
_Static_assert(offsetof(QK4_UcResult, peakContraction) == WORD(7), "word 7");
_Static_assert(offsetof(QK4_UcResult, baselineFhr) == offsetof(QK4_FhrResult, baselineFhr),
               "word 35");
_Static_assert(offsetof(QK4_UcResult, movementCount) == offsetof(QK4_FhrResult, movementCount),
               "word 51");
