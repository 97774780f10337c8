#include "analysis/analysis.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "analysis/library_output.h"

namespace ctgtool {

namespace {

struct LibraryCall {
    int* words;
    QK4_FhrLocation* location;
    QK4_FhrBaseline* baseline;
};

LibraryCall callLibrary(Method method, const Recording& recording, const std::vector<int>& fm) {
    const int* fhr = recording.fhr.data();
    const int* uc = recording.uc.data();
    const int length = recording.samples();
    const int rate = recording.rate;
    switch (method) {
        case Method::Krebs: {
            int* words = QK4_calFhrKrebs(fhr, fm.data(), length, rate);
            return {words, QK4_getKrebsLocation(), QK4_getKrebsBaseline()};
        }
        case Method::Fischer: {
            int* words = QK4_calFhrFischer2(fhr, uc, fm.data(), length, rate);
            return {words, QK4_getFischer2Location(), QK4_getFischer2Baseline()};
        }
        case Method::Acog: {
            int* words = QK4_calFhrAcog(fhr, uc, fm.data(), length, rate);
            return {words, QK4_getAcogLocation(), QK4_getAcogBaseline()};
        }
        case Method::Uc: {
            int* words = QK4_calFhrUC(fhr, uc, fm.data(), length, rate);
            return {words, QK4_getUCLocation(), QK4_getUCBaseline()};
        }
    }
    throw std::logic_error("unknown method");
}

std::vector<Event> pairUp(const QK4_FhrList& starts, const QK4_FhrList& ends) {
    std::vector<Event> events;
    const int count = std::min(starts.count, ends.count);
    for (int i = 0; i < count; ++i) events.push_back({starts.data[i], ends.data[i]});
    return events;
}

// The library tells why it refused a recording only in its log ("Error : ...").
std::string errorFromLog(const std::vector<std::string>& log) {
    static const std::string marker = "Error : ";
    for (const std::string& line : log) {
        if (const auto at = line.find(marker); at != std::string::npos) {
            return line.substr(at + marker.size());
        }
    }
    return "the library returned no result (no reason in its log)";
}

MethodResult runMethod(Method method, const Recording& recording, const std::vector<int>& fm,
                       const AnalysisOptions& options) {
    MethodResult result;
    result.method = method;
    WorkingDirectoryScope logPlace(options.logDirectory);
    LibraryOutputCapture capture;
    const LibraryCall call = callLibrary(method, recording, fm);
    result.log = capture.finish();
    logPlace.restore();
    if (options.echoLog) {
        for (const std::string& line : result.log) std::cerr << line << '\n';
    }
    std::memcpy(&result.record, call.words, sizeof result.record);
    result.ok = word(result.record, factsOf(method).successWord) != -1;
    if (!result.ok) result.error = errorFromLog(result.log);
    result.accelerations =
        pairUp(call.location->accelerationStarts, call.location->accelerationEnds);
    result.decelerations =
        pairUp(call.location->decelerationStarts, call.location->decelerationEnds);
    result.baseline.assign(call.baseline->data, call.baseline->data + call.baseline->count);
    return result;
}

}  // namespace

const std::vector<Method>& allMethods() {
    static const std::vector<Method> methods = [] {
        std::vector<Method> all;
        for (const MethodFacts& facts : methodFacts()) all.push_back(facts.method);
        return all;
    }();
    return methods;
}

std::vector<Method> parseMethods(const std::string& text) {
    if (text == "all") return allMethods();
    for (const MethodFacts& candidate : methodFacts()) {
        if (text == candidate.name) return {candidate.method};
    }
    throw std::invalid_argument("unknown method '" + text +
                                "' (expected krebs, fischer, acog, uc or all)");
}

Parameters parseParameters(const std::string& text) {
    Parameters parameters{};
    std::istringstream in(text);
    std::string field;
    std::size_t count = 0;
    while (std::getline(in, field, ',')) {
        std::size_t used = 0;
        int value = 0;
        try {
            value = std::stoi(field, &used);
        } catch (const std::exception&) {
            used = 0;
        }
        if (used == 0 || field.find_first_not_of(" \t", used) != std::string::npos) {
            throw std::invalid_argument("parameter " + std::to_string(count) + " '" + field +
                                        "' is not an integer");
        }
        if (count < parameters.size()) parameters[count] = value;
        ++count;
    }
    if (count != parameters.size()) {
        throw std::invalid_argument("expected 17 comma-separated parameters, got " +
                                    std::to_string(count));
    }
    return parameters;
}

const std::array<const char*, kParameterCount>& parameterNames() {
    static const std::array<const char*, kParameterCount> names = {
        "varAmplitudeMin", "varCycleMin",     "accMinDuration", "accMinAmplitude", "accMinSpacing",
        "decMinDuration",  "decMinAmplitude", "decMinSpacing",  "auxPeakA",        "auxPeakB",
        "auxPeakSpan",     "auxPeakD",        "ucPeakA",        "ucPeakB",         "ucPeakSpan",
        "fmMode",          "reserved16"};
    return names;
}

int wordNamed(const MethodResult& result, const std::string& name) {
    return word(result.record, resultWord(result.method, name).index);
}

std::vector<MethodResult> analyze(const Recording& recording, const AnalysisOptions& options) {
    if (options.parameters) {
        QK4_FhrParameter parameters{};
        static_assert(sizeof parameters == sizeof(Parameters));
        std::memcpy(&parameters, options.parameters->data(), sizeof parameters);
        QK4_setParameter(&parameters);
    }
    const std::vector<int> fm = movementWordsPerSecond(recording);
    std::vector<MethodResult> results;
    for (Method method : options.methods) {
        results.push_back(runMethod(method, recording, fm, options));
    }
    return results;
}

}  // namespace ctgtool
