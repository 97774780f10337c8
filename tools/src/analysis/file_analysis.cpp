#include "file_analysis.h"

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

std::string dumpJson(const nlohmann::ordered_json& doc, int indent) {
    return doc.dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace ctgtool
