// Readers of the recording formats the tool understands.  Every reader throws
// InputError with a message naming the file and the problem.
#pragma once

#include <string>

#include "recording.h"

namespace ctgtool {

// Which heart-rate channel of a two-channel FHRMA file to use.
enum class FhrChannel { First, Second, Maximum };

struct ReadOptions {
    int csvRate = 4;  // CSV files carry no rate of their own
    FhrChannel fhrChannel = FhrChannel::First;
};

// CSV with a header line naming the columns fhr, uc and (optionally) fm.
Recording readCsv(const std::string& path, int rate);

// FHRMA binary .fhr file: 4 Hz, two heart-rate channels in quarter beats, toco in half units.
Recording readFhrma(const std::string& path, FhrChannel channel);

// PhysioNet WFDB record: the .hea header and its format-16 signal file(s); the
// heart-rate and contraction signals are the ones described as FHR and UC.
Recording readWfdb(const std::string& headerPath);

// Chooses the reader by the file extension (.csv, .fhr, .hea; a .dat names its .hea).
Recording readRecording(const std::string& path, const ReadOptions& options);

// True for the file types readRecording accepts as a recording of its own.
bool isRecordingFile(const std::string& path);

}  // namespace ctgtool
