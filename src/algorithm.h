// The analyzer: parameters, working state and results of one analysis run,
// with every analysis stage as a member function.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ctgscore.h"

static_assert(sizeof(QK4_FhrParameter) == 17 * 4, "parameter record is 17 ints");
static_assert(sizeof(QK4_FhrResult) == 54 * 4, "result record is 54 words");
static_assert(offsetof(QK4_FhrResult, strongContractionFlag) == 23 * 4, "word 23");
static_assert(offsetof(QK4_FhrResult, baselineFhr) == 35 * 4, "word 35");
static_assert(offsetof(QK4_FhrResult, variabilityAmplitude) == 36 * 4, "words 36-37");
static_assert(offsetof(QK4_FhrResult, oscillationFrequency) == 38 * 4, "words 38-39");
static_assert(offsetof(QK4_FhrResult, decelerationExtra) == 46 * 4, "word 46");
static_assert(offsetof(QK4_FhrResult, movementCount) == 51 * 4, "word 51");
static_assert(offsetof(QK4_FhrResult, reserved53) == 53 * 4, "word 53");

// The four event-location lists of a run, in export order.
struct LocationLists {
    std::vector<int> accLocationA;
    std::vector<int> accLocationB;
    std::vector<int> decLocationA;
    std::vector<int> decLocationB;
};

// Outputs of detect_acc / detect_dec.
struct EventLists {
    std::vector<int> triggers;
    std::vector<int> values;
    std::vector<int> starts;
    std::vector<int> ends;
};

// Outputs of dec_type, in the order the drivers store them.
struct DecelerationTypes {
    std::vector<int> types;
    std::vector<int> typeHistogram;
    int maxType = 0;
    int earlyCount = 0;
    int lateOrLowCount = 0;
    int delayedCount = 0;
    int otherCount = 0;
};

// Outputs of uc_detect.
struct Contractions {
    std::vector<int> peaks;
    std::vector<int> starts;
    std::vector<int> ends;
    std::vector<double> filtered;
};

class QK4_CFhrAlgorithm {
public:
    QK4_CFhrAlgorithm();
    virtual ~QK4_CFhrAlgorithm() = default;

    // --- state, reset and export ---
    void clearMem();
    int setParameter(QK4_FhrParameter const& parameters);
    QK4_FhrParameter getParameter() const;
    LocationLists getLocation() const;
    std::vector<double> getBaseline() const;

    // --- trace preparation ---
    int extremePointFilter(std::vector<int>& trace) const;
    std::vector<int> update_fhr(std::vector<int> trace, int fs, const std::vector<int>& movements,
                                int div) const;
    void thresholdFilter(std::vector<int>& trace) const;

    // --- heart-rate baseline ---
    int basal_fhr(const std::vector<int>& trace) const;
    std::vector<double> fhr_baseline(const std::vector<int>& trace, int seconds);
    std::vector<double> fhr_basalline(int value) const;

    // --- events ---
    void detect_acc(const std::vector<int>& fhr, const std::vector<double>& base,
                    std::vector<int>& triggers, std::vector<int>& values, std::vector<int>& starts,
                    std::vector<int>& ends, int& count) const;
    void detect_dec(const std::vector<int>& fhr, const std::vector<double>& base,
                    std::vector<int>& triggers, std::vector<int>& values, std::vector<int>& starts,
                    std::vector<int>& ends, int& count, int& deepCount) const;
    void dec_type(std::vector<int>& types, int& maxType, std::vector<int>& typeHistogram,
                  int& earlyCount, int& lateOrLowCount, int& delayedCount, int& otherCount,
                  const std::vector<int>& A, const std::vector<int>& B, const std::vector<int>& C,
                  const std::vector<int>& D, const std::vector<int>& E) const;

    // --- baseline segments between events ---
    void fhrBas1(std::vector<int> starts1, const std::vector<int>& ends1,
                 const std::vector<int>& starts2, const std::vector<int>& ends2, int length,
                 std::vector<int>& segStarts, std::vector<int>& segEnds) const;
    void fhrBas2(const std::vector<int>& starts, const std::vector<int>& ends, int length,
                 std::vector<int>& segStarts, std::vector<int>& segEnds) const;
    void fhrBas3(const std::vector<int>& starts, const std::vector<int>& ends, int length,
                 std::vector<int>& segStarts, std::vector<int>& segEnds) const;

    // --- variability ---
    void cal_bpm_var(const std::vector<int>& fhr, int sampleRate, const std::vector<int>& segStart,
                     const std::vector<int>& segEnd, double& amplitude, double& frequency) const;

    // --- contractions ---
    std::vector<double> uc_baseline(const std::vector<int>& uc, int windowSeconds);
    std::vector<double> lowpass_filter(const std::vector<int>& x) const;
    std::vector<double> conv(const std::vector<double>& a, const std::vector<double>& b) const;
    void uc_detect(std::vector<int>& peaks, std::vector<int>& starts, std::vector<int>& ends,
                   std::vector<double>& filtered, const std::vector<int>& uc,
                   const std::vector<double>& baseline) const;

    // --- fetal movement ---
    void cal_fm(int sampleRate, std::vector<int> marks, int marksPerSecond,
                std::vector<int>& movementPositions, int& movementCount,
                std::vector<int>& clearedList, int& movementTotal) const;

protected:
    // The run skeleton shared by the four drivers (see analysis_run.cpp).
    struct RunSetup {
        const char* typeName;        // "Krebs", "UC", ...
        int minimumMinutes;          // 1, or 5 for Fischer
        const char* parameterLine2;  // format of the second parameter line
        bool needsUc;                // three-array methods read the contraction trace
    };
    // Reset, type line, rate check, parameter lines, length and null checks.
    // Returns false (after logging the error) when the run must stop.
    bool beginRun(const RunSetup& setup, int const* fhr, int const* uc, int length, int rate);

    // Heart-rate preparation: range filter, movements, movement bridging, the two
    // basal rates, the baseline curve and the threshold filter.
    struct PreparedTrace {
        std::vector<int> working;  // after extremePointFilter (and thresholdFilter)
        int basalRateTwo = 0;      // the run's baseline bpm
    };
    bool prepareHeartRate(std::vector<int> trace, int const* fm, PreparedTrace& prepared);

    // Accelerations, decelerations and the variability between them.
    struct HeartRateEvents {
        EventLists acc;
        EventLists dec;
        int accCount = 0;
        int decCount = 0;
        int deepCount = 0;
        double amplitude = 0.0;
        double frequency = 0.0;
    };
    HeartRateEvents analyseEvents(const std::vector<int>& working, const char* variabilityBegin,
                                  const char* variabilityEnd);
    // Logs "auto_score begin" and copies the heart-rate results into the record.
    void storeHeartRate(int basalRate, const HeartRateEvents& events, int decelerationWord);

    // Contraction baseline and detection on a contraction trace.
    Contractions detectContractions(const std::vector<int>& uc, std::vector<double>& ucBase);
    // Types the decelerations against the contractions when word 41 is above 0
    // and stores the five outputs (all 0 when it is not).
    void storeDecelerationTypes(const std::vector<int>& working, const EventLists& dec,
                                const std::vector<int>& contractionPeaks);
    // "auto_score end", "Score finished" and, when asked, the score line.
    void finishRun(bool withScoreLine) const;

    // Word access for the methods that reuse slots under other meanings.
    void setWord(int index, int value);
    int word(int index) const;

    QK4_FhrResult result;
    QK4_FhrParameter params;
    int fhrValidMin;
    int fhrValidMax;
    std::vector<int> accLocationA;
    std::vector<int> accLocationB;
    std::vector<int> decLocationA;
    std::vector<int> decLocationB;
    std::vector<double> fhrBaseline;
    int durationSeconds = 0;
    int samplesPerMinute = 0;
    int sampleRate = 0;
    double samplePeriod = 0.0;
    int thresholdMinStep;
    int thresholdMaxAboveBaseline;
    QK4_FhrParameter defaults;

public:
    // Test access to the run's working fields.
    void setSampleRate(int rate) { sampleRate = rate; }
    int getSampleRate() const { return sampleRate; }
    double getSamplePeriod() const { return samplePeriod; }
    void setDurationSeconds(int seconds) { durationSeconds = seconds; }
    int getDurationSeconds() const { return durationSeconds; }
    int getSamplesPerMinute() const { return samplesPerMinute; }
    void setFhrBaseline(std::vector<double> curve) { fhrBaseline = std::move(curve); }
    QK4_FhrResult& resultRecord() { return result; }
};

// The filter step of the contraction low-pass: one biquad step in single precision.
float filter(const float* coef, float* state);
extern const float lpf004_coef[5];

// Weighted-mode baseline shared by the heart-rate and contraction baselines:
// around every sample, the densest band of a weighted histogram of the
// neighbouring samples and the weighted mean value inside it.
struct BaselineShape {
    int bandWidth;  // bins per band: 10 (heart rate) or 20 (contractions)
    int edgeBins;   // histogram size in the start and middle regions
    int tailBins;   // histogram size in the end region
};

// The samples feeding one output sample: trace[first..last], the first of them
// weighted by weights[weight0], the next by weights[weight0 + 1], and so on.
struct WindowSpan {
    int first;
    int last;
    int weight0;
    bool tail;  // end region: the tail histogram size applies
};

// Half-widths and weight profile of the baseline window for a trace length.
struct BaselineWindow {
    int ahead = 0;                // look-ahead samples
    int behind = 0;               // look-back samples
    int middleEnd = 0;            // first output sample of the end region
    int risingCount = 0;          // weights of the look-back (rising) part
    std::vector<double> weights;  // empty: the curve is all zeros
    WindowSpan span(int i, int length) const;
};
BaselineWindow baselineWindow(int length, int seconds, int sampleRate);

// Weighted mean value of the first band (of bandWidth bins) with the largest
// total weight; 0.0 when no band holds weight.
double bandEstimate(const double* histogram, int bins, int bandWidth);

// The written form: a fresh histogram for every output sample.
std::vector<double> weightedModeBaselineReference(const std::vector<int>& trace, int seconds,
                                                  int sampleRate, const BaselineShape& shape);
// The same curve, bit for bit, computed for many output samples at once.
std::vector<double> weightedModeBaselineLanes(const std::vector<int>& trace, int seconds,
                                              int sampleRate, const BaselineShape& shape);
// The lane form, handing out a recent curve again for an identical request.
std::vector<double> weightedModeBaseline(const std::vector<int>& trace, int seconds, int sampleRate,
                                         const BaselineShape& shape);
