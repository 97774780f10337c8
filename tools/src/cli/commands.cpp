#include "cli/commands.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "analysis/file_analysis.h"
#include "cli/reporter.h"
#include "output/svg_plot.h"
#include "output/text_format.h"
#include "output/text_table.h"
#include "recordings/simulate.h"
#include "review/report.h"
#include "runs/batch.h"

namespace ctgtool {

namespace {

FhrChannel parseChannel(const std::string& text) {
    if (text == "1") return FhrChannel::First;
    if (text == "2") return FhrChannel::Second;
    if (text == "max") return FhrChannel::Maximum;
    throw std::invalid_argument("--fhr-channel must be 1, 2 or max");
}

// Throws std::invalid_argument for a bad method, parameter list or channel.
FileAnalysisOptions fileAnalysisOptions(const AnalysisArguments& arguments,
                                        const GlobalArguments& global) {
    FileAnalysisOptions options;
    options.read.csvRate = arguments.rate;
    options.read.fhrChannel = parseChannel(arguments.fhrChannel);
    options.analysis.methods = parseMethods(arguments.method);
    if (!arguments.parameters.empty())
        options.analysis.parameters = parseParameters(arguments.parameters);
    options.analysis.echoLog = global.verbose;
    options.analysis.logDirectory = global.logDirectory;
    return options;
}

nlohmann::ordered_json parametersDoc(const AnalysisOptions& options) {
    if (!options.parameters) return "library defaults";
    nlohmann::ordered_json doc = nlohmann::ordered_json::object();
    for (int i = 0; i < kParameterCount; ++i) doc[parameterNames()[i]] = (*options.parameters)[i];
    return doc;
}

bool anyNotScored(const nlohmann::ordered_json& recording) {
    if (!recording.contains("results")) return false;
    for (const auto& result : recording["results"]) {
        if (!result["ok"].get<bool>()) return true;
    }
    return false;
}

// Names a file that could not be read; returns the exit code that the
// recordings so far call for.
int noteOutcome(const nlohmann::ordered_json& recording, int exitCode) {
    if (!recording["ok"].get<bool>()) {
        tell(text(recording["error"]));
        return kExitInputError;
    }
    return anyNotScored(recording) && exitCode == kExitOk ? kExitNotScored : exitCode;
}

// Writes the file through `write`; throws InputError when it cannot.
void writeFile(const std::string& path, const std::function<void(std::ostream&)>& write) {
    std::ofstream out(path);
    if (!out) throw InputError(path, "cannot write");
    write(out);
    out.close();
    if (!out) throw InputError(path, "write error");
}

}  // namespace

int runAnalyzeCommand(const AnalyzeArguments& arguments, const GlobalArguments& global) {
    FileAnalysisOptions options = fileAnalysisOptions(arguments.analysis, global);
    options.report.includeBaselineCurve = arguments.baselineCurve;
    nlohmann::ordered_json recordings = nlohmann::ordered_json::array();
    int exitCode = kExitOk;
    for (const std::string& file : arguments.files) {
        nlohmann::ordered_json recording = analyzeFile(file, options);
        exitCode = noteOutcome(recording, exitCode);
        recordings.push_back(std::move(recording));
    }
    if (arguments.format == "json") {
        const nlohmann::ordered_json doc = {{"tool", "ctgscore"},
                                            {"methods", arguments.analysis.method},
                                            {"parameters", parametersDoc(options.analysis)},
                                            {"recordings", recordings}};
        std::cout << dumpJson(doc, 2) << '\n';
    } else {
        writeTable(std::cout, recordings);
    }
    return exitCode;
}

int runPlotCommand(const PlotArguments& arguments, const GlobalArguments& global) {
    const FileAnalysisOptions options = fileAnalysisOptions(arguments.analysis, global);
    const Recording recording = readRecording(arguments.file, options.read);
    const std::vector<MethodResult> results = analyze(recording, options.analysis);
    std::ostringstream svg;
    writeStripSvg(svg, recording, results, {arguments.fromMinute, arguments.toMinute});
    writeFile(arguments.output, [&svg](std::ostream& out) { out << svg.str(); });
    return kExitOk;
}

int runReportCommand(const ReportArguments& arguments, const GlobalArguments& global) {
    const std::vector<IndexEntry> entries = writeReview(
        {arguments.files, arguments.directory, fileAnalysisOptions(arguments.analysis, global)});
    int exitCode = kExitOk;
    std::size_t pages = 0;
    for (const IndexEntry& entry : entries) {
        pages += entry.page.empty() ? 0 : 1;
        exitCode = noteOutcome(entry.description, exitCode);
    }
    tell(std::to_string(pages) + " of " + std::to_string(entries.size()) +
         " recordings have a page; open " +
         (std::filesystem::path(arguments.directory) / "index.html").string());
    return exitCode;
}

int runSimulateCommand(const SimulateArguments& arguments) {
    const Recording recording = simulate({arguments.minutes, arguments.rate, arguments.seed});
    if (arguments.output.empty()) {
        writeRecordingCsv(std::cout, recording);
        return std::cout ? kExitOk : kExitInputError;
    }
    writeFile(arguments.output,
              [&recording](std::ostream& out) { writeRecordingCsv(out, recording); });
    return kExitOk;
}

int runBatchCommand(const BatchArguments& arguments, const GlobalArguments& global) {
    const BatchSummary summary =
        runBatch({arguments.directory, arguments.output, arguments.jobs, arguments.resume,
                  fileAnalysisOptions(arguments.analysis, global)});
    const std::string resumed =
        arguments.resume ? " (" + std::to_string(summary.resumed) + " from the earlier run)" : "";
    tell(std::to_string(summary.files) + " recordings" + resumed + ", " +
         std::to_string(summary.failed) + " not read; results in " + arguments.output);
    return kExitOk;
}

}  // namespace ctgtool
