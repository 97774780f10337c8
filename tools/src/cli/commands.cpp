#include "commands.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "batch.h"
#include "review_run.h"
#include "file_analysis.h"
#include "simulate.h"
#include "svg_plot.h"
#include "table_output.h"

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
        std::cerr << "ctgscore: " << recording["error"].get<std::string>() << '\n';
        return kExitInputError;
    }
    return anyNotScored(recording) && exitCode == kExitOk ? kExitNotScored : exitCode;
}

int usageError(const std::exception& error) {
    std::cerr << "ctgscore: " << error.what() << '\n';
    return kExitUsage;
}

int inputError(const std::exception& error) {
    std::cerr << "ctgscore: " << error.what() << '\n';
    return kExitInputError;
}

}  // namespace

int runAnalyzeCommand(const AnalyzeArguments& arguments, const GlobalArguments& global) {
    FileAnalysisOptions options;
    try {
        options = fileAnalysisOptions(arguments.analysis, global);
    } catch (const std::invalid_argument& error) {
        return usageError(error);
    }
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
    FileAnalysisOptions options;
    try {
        options = fileAnalysisOptions(arguments.analysis, global);
    } catch (const std::invalid_argument& error) {
        return usageError(error);
    }
    try {
        const Recording recording = readRecording(arguments.file, options.read);
        const std::vector<MethodResult> results = analyze(recording, options.analysis);
        std::ofstream out(arguments.output);
        if (!out) throw InputError(arguments.output, "cannot write");
        writeStripSvg(out, recording, results, {arguments.fromMinute, arguments.toMinute});
        out.close();
        if (!out) throw InputError(arguments.output, "write error");
    } catch (const InputError& error) {
        return inputError(error);
    } catch (const std::invalid_argument& error) {
        return usageError(error);
    }
    return kExitOk;
}

int runReportCommand(const ReportArguments& arguments, const GlobalArguments& global) {
    ReviewOptions options;
    try {
        options.analysis = fileAnalysisOptions(arguments.analysis, global);
    } catch (const std::invalid_argument& error) {
        return usageError(error);
    }
    options.files = arguments.files;
    options.directory = arguments.directory;
    std::vector<IndexEntry> entries;
    try {
        entries = writeReview(options);
    } catch (const InputError& error) {
        return inputError(error);
    }
    int exitCode = kExitOk;
    std::size_t pages = 0;
    for (const IndexEntry& entry : entries) {
        pages += entry.page.empty() ? 0 : 1;
        exitCode = noteOutcome(entry.description, exitCode);
    }
    std::cerr << "ctgscore: " << pages << " of " << entries.size() << " recordings have a page; open "
              << (std::filesystem::path(arguments.directory) / "index.html").string() << '\n';
    return exitCode;
}

int runSimulateCommand(const SimulateArguments& arguments) {
    Recording recording;
    try {
        recording = simulate({arguments.minutes, arguments.rate, arguments.seed});
    } catch (const std::invalid_argument& error) {
        return usageError(error);
    }
    if (arguments.output.empty()) {
        writeRecordingCsv(std::cout, recording);
        return std::cout ? kExitOk : kExitInputError;
    }
    std::ofstream out(arguments.output);
    writeRecordingCsv(out, recording);
    out.close();
    if (!out) return inputError(InputError(arguments.output, "cannot write"));
    return kExitOk;
}

int runBatchCommand(const BatchArguments& arguments, const GlobalArguments& global) {
    BatchOptions options;
    try {
        options.analysis = fileAnalysisOptions(arguments.analysis, global);
    } catch (const std::invalid_argument& error) {
        return usageError(error);
    }
    options.directory = arguments.directory;
    options.output = arguments.output;
    options.jobs = arguments.jobs;
    options.resume = arguments.resume;
    try {
        const BatchSummary summary = runBatch(options);
        std::cerr << "ctgscore: " << summary.files << " recordings";
        if (arguments.resume) std::cerr << " (" << summary.resumed << " from the earlier run)";
        std::cerr << ", " << summary.failed << " not read; results in " << arguments.output
                  << '\n';
    } catch (const InputError& error) {
        return inputError(error);
    }
    return kExitOk;
}

}  // namespace ctgtool
