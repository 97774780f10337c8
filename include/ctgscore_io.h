/**
 * @file ctgscore_io.h
 * @brief Reading CTG recording files: CSV, FHRMA `.fhr` and PhysioNet WFDB.
 *
 * The readers' library `libctgscore-io` turns a recording file into the
 * traces that the scoring library (ctgscore.h) takes: heart rate, toco and
 * movement marks as `int` arrays, with the sampling rate and what the file
 * says about the recording.  The command-line tool and the Python package
 * both read through it, so a file gives the same recording, or the same
 * error, everywhere.
 *
 * The interface is plain C.  Everything it returns is owned by the caller
 * and released with ctgio_free().  The functions keep no state and may be
 * called from several threads at once.
 */
#ifndef CTGSCORE_IO_H
#define CTGSCORE_IO_H

/** Marks the exported functions (default symbol visibility). */
#if defined(__GNUC__)
#define CTGIO_API __attribute__((visibility("default")))
#else
#define CTGIO_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** File formats the readers know. */
typedef enum ctgio_format {
    CTGIO_FORMAT_UNKNOWN = 0, /**< none of the formats below */
    CTGIO_FORMAT_CSV = 1,     /**< text: a header line naming fhr, uc (and fm), then a line per sample */
    CTGIO_FORMAT_FHRMA = 2,   /**< FHRMA binary `.fhr`: 4 Hz, two heart-rate channels */
    CTGIO_FORMAT_WFDB = 3     /**< PhysioNet WFDB: a `.hea` header and its signal file */
} ctgio_format;

/** Heart-rate channel of two-channel formats (FHRMA `.fhr`). */
typedef enum ctgio_channel {
    CTGIO_CHANNEL_FIRST = 1,  /**< channel 1 */
    CTGIO_CHANNEL_SECOND = 2, /**< channel 2 */
    CTGIO_CHANNEL_MAXIMUM = 3 /**< the sample-wise maximum of both channels */
} ctgio_channel;

/** Error codes of ctgio_read(). */
typedef enum ctgio_status {
    CTGIO_OK = 0,              /**< the recording was read */
    CTGIO_ERROR_NOT_FOUND = 1, /**< the file, or a file it names, does not exist */
    CTGIO_ERROR_UNREADABLE = 2,/**< the file exists but cannot be read (a folder, no permission, I/O error) */
    CTGIO_ERROR_FORMAT = 3,    /**< the content is not a recording of the format chosen */
    CTGIO_ERROR_ARGUMENT = 4,  /**< a null path or options out of range */
    CTGIO_ERROR_NO_MEMORY = 5  /**< memory ran out */
} ctgio_status;

/** How to read a file; ctgio_default_options() fills the defaults. */
typedef struct ctgio_options {
    int csv_rate;    /**< samples per second of CSV files, which carry none (default 4; 1 or more) */
    int fhr_channel; /**< a ::ctgio_channel (default ::CTGIO_CHANNEL_FIRST) */
} ctgio_options;

/** A recording as read from its file. */
typedef struct ctgio_recording {
    int format;              /**< the ::ctgio_format the file was read as */
    int rate;                /**< samples per second */
    int samples;             /**< values in each of fhr, uc and fm */
    int* fhr;                /**< heart rate in bpm, one value per sample; 0 = signal loss */
    int* uc;                 /**< toco trace, one value per sample */
    int* fm;                 /**< movement mark word per sample, 0 = none */
    int seconds;             /**< samples / rate: the number of movement_words */
    int* movement_words;     /**< one word per whole second, the bitwise OR of that second's fm
                                  (what the scoring library reads); a trailing partial second is dropped */
    int has_start_time;      /**< 1 when the file gives the start of the recording */
    long long start_time;    /**< the start as Unix seconds (UTC), when has_start_time */
    char* name;              /**< the file name without folder and extension */
    char* path;              /**< the file read (for WFDB, the `.hea` header) */
} ctgio_recording;

/** Why a file could not be read. */
typedef struct ctgio_error {
    int code;           /**< a ::ctgio_status */
    int file_length;    /**< the first file_length bytes of message name the file concerned
                             (the one given, or a file its header names); ": " and the problem follow */
    char message[1024]; /**< "<file>: <problem>", cut short (never mid-character) if longer */
} ctgio_error;

/**
 * @brief The default options: CSV at 4 samples per second, heart-rate channel 1.
 * @return the options.
 */
CTGIO_API ctgio_options ctgio_default_options(void);

/**
 * @brief The format a file is read as.
 *
 * The extension decides when it is one the readers know (`.csv`, `.fhr`,
 * `.hea`, and `.dat` for the WFDB signal file whose `.hea` lies beside it),
 * in any case; any other file is recognised from its first bytes: CSV when
 * the first non-blank line names an `fhr` column, WFDB when the first line
 * that is neither blank nor a `#` comment is a name and a whole signal count
 * of 1 to 10000, FHRMA when the bytes hold a NUL or are not UTF-8 text.
 * @param path the file.
 * @return a ::ctgio_format; ::CTGIO_FORMAT_UNKNOWN when neither tells (also
 *         for a NULL path, or a file without a known extension that cannot be
 *         opened).
 */
CTGIO_API int ctgio_detect(const char* path);

/**
 * @brief Reads a recording file.
 *
 * The file is read in the format ctgio_detect() gives; an unknown format is
 * a ::CTGIO_ERROR_FORMAT.  The options are checked whatever the format.
 * @param path the file (for WFDB the `.hea` header or its `.dat` signal file).
 * @param options how to read it; NULL for ctgio_default_options().
 * @param error filled with the reason when the file cannot be read, and with
 *        ::CTGIO_OK and an empty message when it can (may be NULL).
 * @return the recording, to be released with ctgio_free(); NULL when the file
 *         cannot be read.
 */
CTGIO_API ctgio_recording* ctgio_read(const char* path, const ctgio_options* options,
                                      ctgio_error* error);

/**
 * @brief Releases a recording returned by ctgio_read().
 * @param recording the recording; NULL is ignored.
 */
CTGIO_API void ctgio_free(ctgio_recording* recording);

/**
 * @brief The movement words the scoring library reads, from marks per sample.
 *
 * One word per whole second, the bitwise OR of that second's marks; a
 * trailing partial second is dropped, as the scoring library never reads it.
 * ctgio_read() fills ctgio_recording::movement_words this way.
 * @param fm the marks, one per sample.
 * @param samples the number of marks.
 * @param rate samples per second.
 * @param words receives samples / rate words.
 * @return the number of words written; -1 when a pointer is NULL, samples is
 *         negative or rate is below 1.
 */
CTGIO_API int ctgio_movement_words(const int* fm, int samples, int rate, int* words);

#ifdef __cplusplus
}
#endif

#endif /* CTGSCORE_IO_H */
