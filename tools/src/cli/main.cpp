// ctgscore: command-line front end of the CTG analysis library.
#include <CLI/CLI.hpp>
#include <functional>
#include <memory>

#include "cli/commands.h"
#include "cli/reporter.h"

namespace {

using namespace ctgtool;

// A subcommand and the work it starts once the command line is parsed.
struct Command {
    CLI::App* app;
    std::function<int()> run;
};

void addGlobalOptions(CLI::App& app, GlobalArguments& global) {
    app.add_option("--log-dir", global.logDirectory,
                   "folder for the library's daily log file (default: current folder)")
        ->check(CLI::ExistingDirectory);
    app.add_flag("-v,--verbose", global.verbose, "copy the library's log lines to stderr");
}

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

Command analyzeCommand(CLI::App& app, const GlobalArguments& global) {
    auto arguments = std::make_shared<AnalyzeArguments>();
    CLI::App* command = app.add_subcommand("analyze", "score recordings");
    command->add_option("files", arguments->files, "recordings (.csv, .fhr, .hea)")->required();
    addAnalysisOptions(*command, arguments->analysis);
    command->add_option("--format", arguments->format, "json or table")
        ->check(CLI::IsMember({"json", "table"}))
        ->capture_default_str();
    command->add_flag("--baseline", arguments->baselineCurve, "include the baseline curve (JSON)");
    return {command, [arguments, &global] { return runAnalyzeCommand(*arguments, global); }};
}

Command plotCommand(CLI::App& app, const GlobalArguments& global) {
    auto arguments = std::make_shared<PlotArguments>();
    CLI::App* command = app.add_subcommand("plot", "draw a CTG strip chart as SVG");
    command->add_option("file", arguments->file, "recording")->required();
    command->add_option("--out", arguments->output, "SVG file to write")->required();
    addAnalysisOptions(*command, arguments->analysis);
    command->add_option("--from", arguments->fromMinute, "first minute shown");
    command->add_option("--to", arguments->toMinute, "last minute shown");
    return {command, [arguments, &global] { return runPlotCommand(*arguments, global); }};
}

Command reportCommand(CLI::App& app, const GlobalArguments& global) {
    auto arguments = std::make_shared<ReportArguments>();
    CLI::App* command =
        app.add_subcommand("report", "write a review page per recording and an index page");
    command->add_option("files", arguments->files, "recordings (.csv, .fhr, .hea)")->required();
    command->add_option("--out", arguments->directory, "folder for the pages")->required();
    addAnalysisOptions(*command, arguments->analysis);
    return {command, [arguments, &global] { return runReportCommand(*arguments, global); }};
}

Command simulateCommand(CLI::App& app) {
    auto arguments = std::make_shared<SimulateArguments>();
    CLI::App* command = app.add_subcommand("simulate", "write a synthetic recording as CSV");
    command->add_option("--minutes", arguments->minutes, "length")
        ->check(CLI::Range(1, 24 * 60))
        ->capture_default_str();
    command->add_option("--rate", arguments->rate, "samples per second")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    command->add_option("--seed", arguments->seed, "random seed")->capture_default_str();
    command->add_option("--out", arguments->output, "CSV file (default: standard output)");
    return {command, [arguments] { return runSimulateCommand(*arguments); }};
}

Command batchCommand(CLI::App& app, const GlobalArguments& global) {
    auto arguments = std::make_shared<BatchArguments>();
    CLI::App* command = app.add_subcommand("batch", "score every recording of a folder");
    command->add_option("directory", arguments->directory, "folder of recordings")->required();
    command->add_option("--out", arguments->output, "JSON-lines file to write")->required();
    command->add_option("--jobs", arguments->jobs, "analysis processes at a time")
        ->check(CLI::Range(1, 256))
        ->capture_default_str();
    command->add_flag("--resume", arguments->resume,
                      "keep the complete lines of an existing --out file and analyze "
                      "only the recordings not in it");
    addAnalysisOptions(*command, arguments->analysis);
    return {command, [arguments, &global] { return runBatchCommand(*arguments, global); }};
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"ctgscore: cardiotocography analysis (Krebs, Fischer, ACOG, contraction method)"};
    app.require_subcommand(1);
    GlobalArguments global;
    addGlobalOptions(app, global);
    const Command commands[] = {analyzeCommand(app, global), plotCommand(app, global),
                                reportCommand(app, global), simulateCommand(app),
                                batchCommand(app, global)};
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kExitOk : kExitUsage;
    }
    for (const Command& command : commands) {
        if (command.app->parsed()) return runReporting(command.run);
    }
    return kExitUsage;
}
