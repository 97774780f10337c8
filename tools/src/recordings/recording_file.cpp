#include "recordings/recording_file.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>

#include "output/text_format.h"

namespace ctgtool {

Recording readRecording(const std::string& path, const ReadOptions& options) {
    const ctgio_options chosen{options.csvRate, static_cast<int>(options.fhrChannel)};
    ctgio_error error{};
    const std::unique_ptr<ctgio_recording, decltype(&ctgio_free)> read(
        ctgio_read(path.c_str(), &chosen, &error), &ctgio_free);
    if (!read) throw InputError(error.message);
    Recording recording;
    recording.name = read->name;
    recording.rate = read->rate;
    recording.fhr.assign(read->fhr, read->fhr + read->samples);
    recording.uc.assign(read->uc, read->uc + read->samples);
    recording.fm.assign(read->fm, read->fm + read->samples);
    if (read->has_start_time) recording.startTime = read->start_time;
    return recording;
}

bool isRecordingFile(const std::string& path) {
    const std::string extension = lowerCase(std::filesystem::path(path).extension().string());
    return extension == ".csv" || extension == ".fhr" || extension == ".hea";
}

}  // namespace ctgtool
