// The subcommands.  Each returns the process exit code (cli/reporter.h) and
// throws std::invalid_argument for a bad option value and other exceptions
// for files that cannot be read or written.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ctgtool {

struct GlobalArguments {
    std::string logDirectory;  // "" = current folder
    bool verbose = false;
};

// Options every analyzing command understands.
struct AnalysisArguments {
    int rate = 4;
    std::string method = "all";
    std::string parameters;  // "" = library defaults
    std::string fhrChannel = "1";
};

struct AnalyzeArguments {
    std::vector<std::string> files;
    AnalysisArguments analysis;
    std::string format = "table";
    bool baselineCurve = false;
};

struct PlotArguments {
    std::string file;
    std::string output;
    AnalysisArguments analysis;
    std::optional<double> fromMinute;
    std::optional<double> toMinute;
};

struct ReportArguments {
    std::vector<std::string> files;
    std::string directory;
    AnalysisArguments analysis;
};

struct SimulateArguments {
    int minutes = 40;
    int rate = 4;
    std::uint64_t seed = 1;
    std::string output;  // "" = standard output
};

struct BatchArguments {
    std::string directory;
    std::string output;
    int jobs = 1;
    bool resume = false;
    AnalysisArguments analysis;
};

int runAnalyzeCommand(const AnalyzeArguments& arguments, const GlobalArguments& global);
int runPlotCommand(const PlotArguments& arguments, const GlobalArguments& global);
int runReportCommand(const ReportArguments& arguments, const GlobalArguments& global);
int runSimulateCommand(const SimulateArguments& arguments);
int runBatchCommand(const BatchArguments& arguments, const GlobalArguments& global);

}  // namespace ctgtool
