/**
 * @file ctgscore.h
 * @brief ctgscore: cardiotocography (CTG) analysis library.
 *
 * A host hands over the fetal heart rate trace (bpm), the contraction (toco)
 * trace and the fetal movement marks as int arrays.  The library finds the
 * heart-rate baseline, accelerations, decelerations, contractions and
 * movements, measures the short-term variability and rates the recording by
 * one of four methods: the Krebs score, a modified Fischer score, ACOG
 * guideline flags and a contraction method.
 *
 * Ownership: everything the library returns is owned by the library; the
 * host never frees it.  Lifetime: the result record and the parameter record
 * are overwritten by later calls; arrays handed out by the location and
 * baseline getters stay valid for the life of the process.
 *
 * One thread at a time: all functions work on one process-wide analyzer,
 * created by the first call and never destroyed, and share its results and
 * the contraction filter state (which carries over from call to call).  Calls
 * must not overlap; a host that calls from several threads serialises every
 * call, getters included.
 *
 * Failure shows only in the result record (see ::QK4_FhrResult) and in the
 * daily run log "FhrScore_<year>_<month>_<day>.log" that every run appends to
 * in the working directory, its lines also echoed to standard output.
 *
 * Standard output: every log line is also written to file descriptor 1 and
 * flushed.  A host whose own standard output carries data (a filter in a
 * pipe, a program printing results) keeps the echo out of it by pointing
 * descriptor 1 elsewhere around each call: fflush(stdout), save descriptor 1
 * with dup(1), dup2() an open descriptor of /dev/null (or of a log file) onto
 * 1, call the library, fflush(stdout), then dup2() the saved descriptor back
 * and close it.  No other thread may write to standard output meanwhile.  A
 * host that cannot do that runs the analysis in a child process whose
 * standard output goes elsewhere.  The daily file keeps every line either way.
 *
 * This header compiles as C (C99 or later) and as C++.  The three ACOG
 * functions are exported under their C++ (mangled) names; C hosts reach them
 * through the same declarations, bound to those names (see
 * ::CTGSCORE_CXX_SYMBOL).
 */
#ifndef CTGSCORE_H
#define CTGSCORE_H

/* The library's version: the build takes it from here for the shared object
 * name (libctgscore.so.MAJOR) and the pkg-config and CMake package versions. */
#define CTGSCORE_VERSION_MAJOR 1 /**< Major version: changes with an incompatible interface. */
#define CTGSCORE_VERSION_MINOR 0 /**< Minor version: compatible additions. */
#define CTGSCORE_VERSION_PATCH 0 /**< Patch version: fixes only. */

/** Marks the exported functions (default symbol visibility). */
#if defined(__GNUC__)
#define CTGSCORE_API __attribute__((visibility("default")))
#else
#define CTGSCORE_API
#endif

/**
 * @brief Binds a C declaration to a function that the library exports under
 *        its C++ (mangled) name.
 *
 * For C++ it expands to nothing: the compiler mangles the name itself.  For C
 * compiled by GCC or Clang it is the assembler-label extension,
 * `__asm__("_Z14QK4_calFhrAcogPKiS0_S0_ii")`, so that a C call of
 * QK4_calFhrAcog() links to that symbol.  Other C compilers see the plain
 * names, which the library does not export: their hosts cannot use the three
 * ACOG functions.
 */
#if defined(__GNUC__) && !defined(__cplusplus)
#define CTGSCORE_CXX_SYMBOL(mangled) __asm__(mangled)
#else
#define CTGSCORE_CXX_SYMBOL(mangled)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @brief Tuning of event detection: 17 ints, in this order.
 *
 * Times are in seconds, amplitudes in bpm.  Each run uses a field's default
 * in place of a value outside its range (the record itself keeps the value
 * given); -1 means "not set".
 */
typedef struct QK4_FhrParameter {
    int varAmplitudeMin; /**< 0: swing counted for the variability amplitude, bpm; 2..10, default 4 */
    int varCycleMin;     /**< 1: swing counted for the oscillation frequency, bpm; 1..5, default 3 */
    int accMinDuration;  /**< 2: shortest acceleration, s; 15..20, default 17 */
    int accMinAmplitude; /**< 3: least rise above the baseline, bpm; 15..20, default 17 */
    int accMinSpacing;   /**< 4: spacing of accelerations, s; 30..600, default 120 */
    int decMinDuration;  /**< 5: shortest deceleration, s; 10..20, default 18 */
    int decMinAmplitude; /**< 6: least fall below the baseline, bpm; 10..20, default 18 */
    int decMinSpacing;   /**< 7: spacing of decelerations, s; 30..600, default 120 */
    int auxPeakA;        /**< 8: Fischer heart-rate peak height; 5..15, default 6 */
    int auxPeakB;        /**< 9: Fischer heart-rate peak prominence; 5..15, default 6 */
    int auxPeakSpan;     /**< 10: Fischer heart-rate peak spacing, samples; 20..600, default 24 */
    int auxPeakD;        /**< 11: Fischer heart-rate peak width, samples; 10..35, default 15 */
    int ucPeakA;         /**< 12: contraction peak height; 5..15, default 10 */
    int ucPeakB;         /**< 13: contraction peak prominence; 5..15, default 10 */
    int ucPeakSpan;      /**< 14: contraction peak spacing, s; 20..600, default 60 */
    int fmMode;          /**< 15: movement bit: 0 bit 8, 1 bit 4, 2 either; default 1 */
    int reserved16;      /**< 16: checked and logged, not used; 300..1800, default 300 */
} QK4_FhrParameter;

/**
 * @brief The result of a run: 54 consecutive 32-bit words.
 *
 * Every word is -1 after a failed run, and every word a method does not fill
 * stays -1.  The doubles take two words each.  The contraction method gives
 * words 0..7 meanings of its own: read its result through ::QK4_UcResult.
 *
 * The ACOG method writes every slot of its seven flag groups, each 0 or 1.
 * Within a group the rules are tried in slot order below and the first that
 * holds sets its slot (two slots where noted); when none holds the group is
 * all 0.  The rules read the baseline B (word 35), the variability amplitude
 * A (words 36..37; NaN matches no amplitude rule), the acceleration count
 * (word 40), all decelerations X (word 46) and the decelerations by type
 * (words 44, 45, 47).  Which ACOG category the flags add up to is the
 * host's decision.
 */
typedef struct QK4_FhrResult {
    int totalScore;               /**< 0: total score (Krebs 0..12, Fischer 0..10); ACOG leaves it -1 */
    int baselineScore;            /**< 1: baseline item, points */
    int amplitudeScore;           /**< 2: variability amplitude item, points */
    int frequencyScore;           /**< 3: oscillation frequency item, points */
    int accelerationScore;        /**< 4: accelerations item, points */
    int decelerationScore;        /**< 5: decelerations item, points */
    int movementScore;            /**< 6: fetal movements item (Krebs), points */
    /**
     * 7..10: ACOG baseline.  [0] normal: 110 <= B <= 160; [1] tachycardia:
     * B > 160; [2] bradycardia with variability: B <= 109 and A > 0;
     * [3] bradycardia without variability: B <= 109 and A = 0.
     */
    int acogBaselineFlags[4];
    /**
     * 11..15: ACOG variability.  [0] moderate: 5 <= A <= 25; [1] absent,
     * without recurrent delayed decelerations: A = 0 and at most two of type 3;
     * [2] minimal: 0 < A < 5; [3] marked: A > 25; [4] absent with recurrent
     * decelerations or bradycardia: A < 0.1 and (B <= 109, more than two of
     * type 2 or any of type 3), which in practice means A = 0 with more than
     * two of type 3.
     */
    int acogVariabilityFlags[5];
    /**
     * 16..19: ACOG accelerations.  [0] present: at least one; [1] and [3]
     * both set: none; [2] never set.
     */
    int acogAccelerationFlags[4];
    /**
     * 20..22: ACOG early decelerations (type 1).  [0] present: at least one;
     * [1] and [2] both set: none.
     */
    int acogDecFlagsA[3];
    int strongContractionFlag; /**< 23: Fischer: 1 when strong contractions were found */
    /**
     * 24..28: ACOG late or low decelerations (type 2).  [0] none of type 2;
     * [1] recurrent with variability: more than two and 0 < A <= 25;
     * [2] type 2 present otherwise: the rule is X >= 1, which holds whenever
     * there are any; [3] set from word 49, which the method always sets to 0,
     * so never; [4] recurrent without variability: more than two and
     * A < 0.1, never reached in practice, since rule [2] holds first.
     */
    int acogDecFlagsB[5];
    /**
     * 29..31: ACOG delayed decelerations (type 3).  [0] none of type 3;
     * [1] recurrent with moderate variability: more than two and
     * 5 <= A <= 25; [2] recurrent without variability: more than two and
     * A < 0.1.  One or two of type 3, or other amplitudes, set no slot.
     */
    int acogDecFlagsC[3];
    /**
     * 32..34: ACOG pattern, from word 50, which the method always sets to 0:
     * [0] and [1] are always set, [2] never.
     */
    int acogPatternFlags[3];
    int baselineFhr;              /**< 35: baseline heart rate, bpm (-1: ACOG run failed) */
    double variabilityAmplitude;  /**< 36..37: mean swing, bpm; not a number without swings */
    double oscillationFrequency;  /**< 38..39: most swings within 60 samples */
    int accelerationCount;        /**< 40: accelerations found */
    int decelerationCount;        /**< 41: Krebs: decelerations; Fischer and ACOG: deep ones */
    int decelerationPattern;      /**< 42: Fischer and ACOG: highest deceleration type found, 0 none */
    int reserved43;               /**< 43: not used */
    int decTypeCount1;            /**< 44: decelerations of type 1 (early) */
    int decTypeCount2;            /**< 45: decelerations of type 2 (late or low) */
    int decelerationExtra;        /**< 46: Fischer and ACOG: all decelerations */
    int decTypeCount3;            /**< 47: decelerations of type 3 (delayed) */
    int decTypeCount4;            /**< 48: decelerations of other types */
    int acogReservedE;            /**< 49: ACOG sets it to 0 */
    int acogReservedF;            /**< 50: ACOG sets it to 0 */
    int movementCount;            /**< 51: fetal movements found */
    int reserved52;               /**< 52: the contraction method sets it to 0 */
    int reserved53;               /**< 53: not used */
} QK4_FhrResult;

/**
 * @brief The result of a contraction-method run (QK4_calFhrUC()): the same
 *        54 words as ::QK4_FhrResult, with words 0..7 named for what this
 *        method puts in them.
 *
 * Cast the returned pointer: `const QK4_UcResult* r = (const QK4_UcResult*)
 * QK4_calFhrUC(...)`.  Positions are sample indices into the traces.  With
 * fewer than two contractions found, words 0, 2 and 4..7 are 0 and word 1
 * stays -1.  Every word is -1 after a failed run.
 */
typedef struct QK4_UcResult {
    int intensityRating;          /**< 0: 2 when peakContraction > 90, 1 when > 30, else 0 */
    int lastEndMinusLastPeak;     /**< 1: lastContractionEnd - lastContractionPeak, samples */
    int lastPeakMinusPreviousEnd; /**< 2: lastContractionPeak - previousContractionEnd, samples */
    int baselineFhrCopy;          /**< 3: baseline heart rate, bpm (as word 35) */
    int lastContractionEnd;       /**< 4: end of the last contraction */
    int lastContractionPeak;      /**< 5: peak of the last contraction */
    int previousContractionEnd;   /**< 6: end of the contraction before the last */
    int peakContraction;          /**< 7: highest toco value of the first five minutes */
    int notWritten8[27];          /**< 8..34: not written, -1 */
    int baselineFhr;              /**< 35: baseline heart rate, bpm */
    int zeroed36[6];              /**< 36..41: 0 (the variability doubles and the event counts) */
    int notWritten42[2];          /**< 42..43: not written, -1 */
    int zeroed44[5];              /**< 44..48: 0 (the deceleration counts) */
    int notWritten49[2];          /**< 49..50: not written, -1 */
    int movementCount;            /**< 51: fetal movements found */
    int zeroed52;                 /**< 52: 0 */
    int notWritten53;             /**< 53: not written, -1 */
} QK4_UcResult;

/** @brief One exported list: a library-owned array and its length. */
typedef struct QK4_FhrList {
    int* data; /**< the values; valid for the life of the process */
    int count; /**< number of values */
} QK4_FhrList;

/**
 * @brief Event locations of a method's last run, as sample positions.
 *
 * The n-th start and the n-th end bound the n-th event.  The contraction
 * method finds no events: its lists are empty.
 */
typedef struct QK4_FhrLocation {
    QK4_FhrList accelerationStarts; /**< first sample of each acceleration */
    QK4_FhrList accelerationEnds;   /**< last sample of each acceleration */
    QK4_FhrList decelerationStarts; /**< first sample of each deceleration */
    QK4_FhrList decelerationEnds;   /**< last sample of each deceleration */
} QK4_FhrLocation;

/** @brief The heart-rate baseline curve of a method's last run. */
typedef struct QK4_FhrBaseline {
    double* data; /**< one value per sample, bpm; valid for the life of the process */
    int count;    /**< number of values: one per sample analyzed, 0 after a failed run */
} QK4_FhrBaseline;

/** Number of 32-bit words in ::QK4_FhrResult. */
#define CTGSCORE_RESULT_WORDS 54

/**
 * @brief Stores the parameter record that every later run uses.
 *
 * The 17 fields are copied as given, without checks; each run replaces a
 * field outside its range by its default.  Until the first call every field
 * is "not set" (-1), so runs use the defaults.
 *
 * @param parameters the record to copy; NULL is ignored.  The library keeps
 *                   no pointer to it.
 */
CTGSCORE_API void QK4_setParameter(QK4_FhrParameter* parameters);

/**
 * @brief The stored parameter record.
 *
 * When any of fields 0..7, 15 or 16 is -1 ("not set"), the stored record is
 * first replaced by the 17 defaults; -1 in fields 8..14 only is shown as given.
 *
 * @return the library's record; valid for the life of the process, changed by
 *         the next QK4_setParameter() or QK4_getParameter().  Never NULL.
 */
CTGSCORE_API QK4_FhrParameter* QK4_getParameter(void);

/**
 * @brief Rates a recording by the Krebs score (total 0..12, six items of 0..2).
 *
 * @param fhr    heart rate, bpm, one value per sample (0 = signal loss; values
 *               outside 60..210 are replaced by the last valid one); at least
 *               `length` values.
 * @param fm     movement marks, one word per second (`length / rate` words);
 *               bit 4 or 8 marks a movement (see QK4_FhrParameter::fmMode).
 *               NULL: no marks.
 * @param length samples in each trace; at least one minute (60 * `rate`).
 * @param rate   samples per second, at least 1.
 * @return the shared result record (::QK4_FhrResult, CTGSCORE_RESULT_WORDS
 *         words), overwritten by the next run of any method.  Never NULL.  On
 *         failure (rate below 1, less than a minute, `fhr` NULL, no heart-rate
 *         sample in 60..210) every word is -1 and the log names the reason.
 */
CTGSCORE_API int* QK4_calFhrKrebs(int const* fhr, int const* fm, int length, int rate);

/**
 * @brief Accelerations and decelerations of the last Krebs run.
 *
 * Every call allocates four new arrays (the lists' lengths) and keeps the
 * earlier ones, so a host that calls it for ever grows by that much a call.
 *
 * @return the shared location record, refilled by every location getter;
 *         the arrays it points to stay valid for the life of the process.
 *         Never NULL; before any run the lists are empty.
 */
CTGSCORE_API QK4_FhrLocation* QK4_getKrebsLocation(void);

/**
 * @brief The heart-rate baseline curve of the last Krebs run.
 *
 * Every call allocates a new array of the curve's length and keeps the
 * earlier ones.
 *
 * @return the shared baseline record, refilled by every baseline getter; the
 *         array it points to stays valid for the life of the process.  Never
 *         NULL; before any run the curve is empty.
 */
CTGSCORE_API QK4_FhrBaseline* QK4_getKrebsBaseline(void);

/**
 * @brief Rates the contractions of a recording (intensity rating 0..2).
 *
 * Words 0..7 of the result take the contraction method's own meanings: read
 * the record through ::QK4_UcResult.  Toco samples of 0 count as 1.  The
 * contraction filter state carries over from earlier runs in the process.
 *
 * @param fhr    heart rate, bpm, one value per sample (see QK4_calFhrKrebs()).
 * @param uc     toco trace, device units, one value per sample; `length` values.
 * @param fm     movement marks, one word per second, or NULL.
 * @param length samples in each trace; at least one minute (60 * `rate`).
 * @param rate   samples per second, at least 1.
 * @return the shared result record, as for QK4_calFhrKrebs(); on failure
 *         (also with `uc` NULL) every word is -1.
 */
CTGSCORE_API int* QK4_calFhrUC(int const* fhr, int const* uc, int const* fm, int length, int rate);

/**
 * @brief Event locations of the last contraction-method run: always empty lists.
 * @return as for QK4_getKrebsLocation().
 */
CTGSCORE_API QK4_FhrLocation* QK4_getUCLocation(void);

/**
 * @brief The heart-rate baseline curve of the last contraction-method run.
 * @return as for QK4_getKrebsBaseline().
 */
CTGSCORE_API QK4_FhrBaseline* QK4_getUCBaseline(void);

/**
 * @brief Rates a recording by the modified Fischer score (total 0..10).
 *
 * The heart rate is smoothed over 15 samples before its range is checked.
 * The deceleration types (words 42, 44..48) and the strong-contraction flag
 * (word 23) depend on the contractions found, and so on the contraction filter
 * state left by earlier runs in the process.
 *
 * @param fhr    heart rate, bpm, one value per sample (see QK4_calFhrKrebs()).
 * @param uc     toco trace, device units, one value per sample.
 * @param fm     movement marks, one word per second, or NULL.
 * @param length samples in each trace; at least five minutes (300 * `rate`).
 * @param rate   samples per second, at least 1.
 * @return the shared result record, as for QK4_calFhrKrebs(); on failure
 *         (also with `uc` NULL or under five minutes) every word is -1.
 */
CTGSCORE_API int* QK4_calFhrFischer2(int const* fhr, int const* uc, int const* fm, int length,
                                     int rate);

/**
 * @brief Accelerations and decelerations of the last Fischer run.
 * @return as for QK4_getKrebsLocation().
 */
CTGSCORE_API QK4_FhrLocation* QK4_getFischer2Location(void);

/**
 * @brief The heart-rate baseline curve of the last Fischer run.
 * @return as for QK4_getKrebsBaseline().
 */
CTGSCORE_API QK4_FhrBaseline* QK4_getFischer2Baseline(void);

#ifdef __cplusplus
} /* extern "C": the ACOG functions below have C++ linkage */
#endif

/**
 * @brief Classifies a recording by the ACOG guideline: one-hot flags in words
 *        7..34 (the meaning of each slot is given at ::QK4_FhrResult).
 *
 * Exported under its C++ (mangled) name.  Word 0 is never written: a failed
 * run shows as word 35 (the baseline heart rate) staying -1.
 *
 * @param fhr    heart rate, bpm, one value per sample (see QK4_calFhrKrebs()).
 * @param uc     toco trace, device units, one value per sample.
 * @param fm     movement marks, one word per second, or NULL.
 * @param length samples in each trace; at least one minute (60 * `rate`).
 * @param rate   samples per second, at least 1.
 * @return the shared result record, as for QK4_calFhrKrebs(); on failure
 *         (also with `uc` NULL) every word is -1.
 */
CTGSCORE_API int* QK4_calFhrAcog(int const* fhr, int const* uc, int const* fm, int length,
                                 int rate) CTGSCORE_CXX_SYMBOL("_Z14QK4_calFhrAcogPKiS0_S0_ii");

/**
 * @brief Accelerations and decelerations of the last ACOG run (C++ linkage).
 * @return as for QK4_getKrebsLocation().
 */
CTGSCORE_API QK4_FhrLocation* QK4_getAcogLocation(void)
    CTGSCORE_CXX_SYMBOL("_Z19QK4_getAcogLocationv");

/**
 * @brief The heart-rate baseline curve of the last ACOG run (C++ linkage).
 * @return as for QK4_getKrebsBaseline().
 */
CTGSCORE_API QK4_FhrBaseline* QK4_getAcogBaseline(void)
    CTGSCORE_CXX_SYMBOL("_Z19QK4_getAcogBaselinev");

#endif /* CTGSCORE_H */
