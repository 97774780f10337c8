#include "readers/readers.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace ctgtool {

namespace {

std::string lowerExtension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

}  // namespace

Recording readRecording(const std::string& path, const ReadOptions& options) {
    const std::string extension = lowerExtension(path);
    if (extension == ".csv") return readCsv(path, options.csvRate);
    if (extension == ".fhr") return readFhrma(path, options.fhrChannel);
    if (extension == ".hea") return readWfdb(path);
    if (extension == ".dat") {
        return readWfdb(std::filesystem::path(path).replace_extension(".hea").string());
    }
    throw InputError(path, "unknown file type (expected .csv, .fhr or .hea)");
}

bool isRecordingFile(const std::string& path) {
    const std::string extension = lowerExtension(path);
    return extension == ".csv" || extension == ".fhr" || extension == ".hea";
}

}  // namespace ctgtool
