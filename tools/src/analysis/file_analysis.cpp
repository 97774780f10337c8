#include "analysis/file_analysis.h"

namespace ctgtool {

nlohmann::ordered_json analyzeFile(const std::string& path, const FileAnalysisOptions& options) {
    Recording recording;
    try {
        recording = readRecording(path, options.read);
    } catch (const InputError& error) {
        return describeFileFailure(path, error.what());
    }
    const std::vector<MethodResult> results = analyze(recording, options.analysis);
    return describeRecording(path, recording, results, options.report);
}

}  // namespace ctgtool
