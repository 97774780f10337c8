// Runs the library's rating methods on a recording and collects everything the
// public interface offers about each run.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "analysis/method_facts.h"
#include "ctgscore.h"
#include "recordings/recording.h"

namespace ctgtool {

const std::vector<Method>& allMethods();

// "krebs", "fischer", "acog", "uc" or "all"; throws std::invalid_argument.
std::vector<Method> parseMethods(const std::string& text);

constexpr int kParameterCount = 17;
using Parameters = std::array<int, kParameterCount>;

// 17 comma-separated integers; throws std::invalid_argument.
Parameters parseParameters(const std::string& text);

// An acceleration or deceleration: first and last sample.
struct Event {
    int start = 0;
    int end = 0;
};

struct MethodResult {
    Method method = Method::Krebs;
    bool ok = false;
    std::string error;       // why the library did not score, when !ok
    QK4_FhrResult record{};  // the 54 result words
    std::vector<Event> accelerations;
    std::vector<Event> decelerations;
    std::vector<double> baseline;  // heart-rate baseline curve, one value a sample
    std::vector<std::string> log;  // the library's log lines of this run
};

struct AnalysisOptions {
    std::vector<Method> methods = allMethods();
    std::optional<Parameters> parameters;
    bool echoLog = false;      // copy the library's log lines to stderr
    std::string logDirectory;  // where the library's log file goes; "" = here
};

// Runs the chosen methods in order.  Results keep the order of options.methods.
std::vector<MethodResult> analyze(const Recording& recording, const AnalysisOptions& options);

// Names of the 17 tuning parameters, in record order.
const std::array<const char*, kParameterCount>& parameterNames();

// The int word the result's method fills under that name.
int wordNamed(const MethodResult& result, const std::string& name);

}  // namespace ctgtool
