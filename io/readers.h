// The readers behind ctgscore_io.h.  Every reader throws InputError with a
// message naming the file and the problem; the C functions turn it into a
// ctgio_error.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ctgscore_io.h"

namespace ctgio {

// A recording as read, one value per sample in each trace.
struct Recording {
    ctgio_format format = CTGIO_FORMAT_UNKNOWN;
    std::string name;  // file name without folder and extension
    std::string path;  // the file read (for WFDB the .hea header)
    int rate = 4;      // samples per second
    std::vector<int> fhr, uc, fm;
    std::optional<std::int64_t> startTime;  // Unix seconds, when the file tells
};

// A file that cannot be read; the message is "<file>: <problem>".
class InputError : public std::runtime_error {
public:
    InputError(const std::string& path, const std::string& problem,
               ctgio_status status = CTGIO_ERROR_FORMAT)
        : std::runtime_error(path + ": " + problem), status_(status), fileLength_(path.size()) {}
    ctgio_status status() const { return status_; }
    std::size_t fileLength() const { return fileLength_; }

private:
    ctgio_status status_;
    std::size_t fileLength_;
};

// Rounds to the nearest integer, halves away from zero; values beyond +-1e9
// are clamped first and NaN gives 0, so odd input never overflows an int.
int roundToInt(double value);

// CSV with a header line naming the columns fhr, uc and (optionally) fm.
Recording readCsv(const std::string& path, int rate);

// True for a CSV header line: one of its comma-separated names is fhr (any case).
bool namesFhrColumn(const std::string& line);

// FHRMA binary .fhr file: 4 Hz, two heart-rate channels in quarter beats, toco in half units.
Recording readFhrma(const std::string& path, ctgio_channel channel);

// PhysioNet WFDB record: the .hea header and its format-16 signal file(s); the
// heart-rate and contraction signals are the ones described as FHR and UC.
Recording readWfdb(const std::string& headerPath);

// True for a WFDB record line: a name, then a whole signal count of 1 to 10000.
bool isWfdbRecordLine(const std::string& line);

// The format by extension, else by the file's first bytes; UNKNOWN when
// neither tells.  Throws InputError only when the content must be looked at
// and the file cannot be opened.
ctgio_format detectFormat(const std::string& path);

// Reads the file in the format detectFormat chooses (a .dat names its .hea).
Recording readRecording(const std::string& path, const ctgio_options& options);

}  // namespace ctgio
