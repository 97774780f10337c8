// Recordings read from files, through the readers' library (ctgscore_io.h),
// which the Python package reads through too.
#pragma once

#include <string>

#include "ctgscore_io.h"
#include "recordings/recording.h"

namespace ctgtool {

// Which heart-rate channel of a two-channel FHRMA file to use.
enum class FhrChannel { First = CTGIO_CHANNEL_FIRST, Second = CTGIO_CHANNEL_SECOND, Maximum = CTGIO_CHANNEL_MAXIMUM };

struct ReadOptions {
    int csvRate = 4;  // CSV files carry no rate of their own
    FhrChannel fhrChannel = FhrChannel::First;
};

// The recording in a .csv, .fhr or WFDB (.hea or .dat) file, or one of another
// name recognised from its content; throws InputError naming file and problem.
Recording readRecording(const std::string& path, const ReadOptions& options);

// True for the file types a folder's batch takes as recordings of their own.
bool isRecordingFile(const std::string& path);

}  // namespace ctgtool
