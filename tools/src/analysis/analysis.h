// Runs the library's rating methods on a recording and collects everything the
// public interface offers about each run.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "ctgscore.h"
#include "recording.h"

namespace ctgtool {

// The rating methods in the fixed order in which "all" runs them.  The order
// matters: the library's contraction filter keeps state from one call to the
// next within a process.
enum class Method { Krebs, Fischer, Acog, Uc };

const std::vector<Method>& allMethods();
std::string methodName(Method method);   // "krebs", "fischer", "acog", "uc"
std::string methodTitle(Method method);  // "Krebs", "Fischer", "ACOG", "Contraction"

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

// The result word at index (0..53) as an int.
int word(const QK4_FhrResult& record, int index);
// The double stored in words index and index + 1.
double wordAsDouble(const QK4_FhrResult& record, int index);

}  // namespace ctgtool
