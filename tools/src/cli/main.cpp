// ctgscore: command-line front end of the CTG analysis library.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "commands.h"

namespace {

using namespace ctgtool;

void addAnalysisOptions(CLI::App& command, AnalysisArguments& arguments) {
    command.add_option("--rate", arguments.rate, "samples per second of CSV files")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    command.add_option("--method", arguments.method, "krebs, fischer, acog, uc or all")
        ->check(CLI::IsMember({"krebs", "fischer", "acog", "uc", "all"}))
        ->capture_default_str();
    command.add_option("--params", arguments.parameters,
                       "17 comma-separated tuning parameters (-1 = default)");
    command
        .add_option("--fhr-channel", arguments.fhrChannel,
                    "heart-rate channel of .fhr files: 1, 2 or max")
        ->check(CLI::IsMember({"1", "2", "max"}))
        ->capture_default_str();
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"ctgscore: cardiotocography analysis (Krebs, Fischer, ACOG, contraction method)"};
    app.require_subcommand(1);
    GlobalArguments global;
    app.add_option("--log-dir", global.logDirectory,
                   "folder for the library's daily log file (default: current folder)")
        ->check(CLI::ExistingDirectory);
    app.add_flag("-v,--verbose", global.verbose, "copy the library's log lines to stderr");

    AnalyzeArguments analyze;
    CLI::App* analyzeCommand = app.add_subcommand("analyze", "score recordings");
    analyzeCommand->add_option("files", analyze.files, "recordings (.csv, .fhr, .hea)")->required();
    addAnalysisOptions(*analyzeCommand, analyze.analysis);
    analyzeCommand->add_option("--format", analyze.format, "json or table")
        ->check(CLI::IsMember({"json", "table"}))
        ->capture_default_str();
    analyzeCommand->add_flag("--baseline", analyze.baselineCurve,
                             "include the baseline curve (JSON)");

    PlotArguments plot;
    CLI::App* plotCommand = app.add_subcommand("plot", "draw a CTG strip chart as SVG");
    plotCommand->add_option("file", plot.file, "recording")->required();
    plotCommand->add_option("--out", plot.output, "SVG file to write")->required();
    addAnalysisOptions(*plotCommand, plot.analysis);
    plotCommand->add_option("--from", plot.fromMinute, "first minute shown");
    plotCommand->add_option("--to", plot.toMinute, "last minute shown");

    ReportArguments report;
    CLI::App* reportCommand =
        app.add_subcommand("report", "write a review page per recording and an index page");
    reportCommand->add_option("files", report.files, "recordings (.csv, .fhr, .hea)")->required();
    reportCommand->add_option("--out", report.directory, "folder for the pages")->required();
    addAnalysisOptions(*reportCommand, report.analysis);

    SimulateArguments simulateArgs;
    CLI::App* simulateCommand =
        app.add_subcommand("simulate", "write a synthetic recording as CSV");
    simulateCommand->add_option("--minutes", simulateArgs.minutes, "length")
        ->check(CLI::Range(1, 24 * 60))
        ->capture_default_str();
    simulateCommand->add_option("--rate", simulateArgs.rate, "samples per second")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    simulateCommand->add_option("--seed", simulateArgs.seed, "random seed")->capture_default_str();
    simulateCommand->add_option("--out", simulateArgs.output,
                                "CSV file (default: standard output)");

    BatchArguments batch;
    CLI::App* batchCommand = app.add_subcommand("batch", "score every recording of a folder");
    batchCommand->add_option("directory", batch.directory, "folder of recordings")->required();
    batchCommand->add_option("--out", batch.output, "JSON-lines file to write")->required();
    batchCommand->add_option("--jobs", batch.jobs, "analysis processes at a time")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    batchCommand->add_flag("--resume", batch.resume,
                           "keep the complete lines of an existing --out file and analyse "
                           "only the recordings not in it");
    addAnalysisOptions(*batchCommand, batch.analysis);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == 0 ? kExitOk : kExitUsage;
    }
    try {
        if (analyzeCommand->parsed()) return runAnalyzeCommand(analyze, global);
        if (plotCommand->parsed()) return runPlotCommand(plot, global);
        if (reportCommand->parsed()) return runReportCommand(report, global);
        if (simulateCommand->parsed()) return runSimulateCommand(simulateArgs);
        return runBatchCommand(batch, global);
    } catch (const std::exception& error) {
        std::cerr << "ctgscore: " << error.what() << '\n';
        return kExitInputError;
    }
}
