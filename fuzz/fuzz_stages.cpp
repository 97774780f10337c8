// Drives the analysis stages and the shared helpers directly with arbitrary
// vectors, sample rates and ints, beyond anything a run hands them, and checks
// the shape of every answer.  The first byte picks the stage.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "algorithm.h"
#include "byte_reader.h"
#include "dispatch.h"
#include "trace_decoder.h"
#include "utils.h"

namespace {

// The baselines are quadratic in the trace length.
constexpr size_t kMaxSamples = 4096;
constexpr size_t kMaxBaselineSamples = 640;

void check(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz_stages: %s\n", what);
    std::abort();
}

bool sameDoubles(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

// Runs `body` at every dispatch level this CPU supports.
template <class Body>
void forEachLevel(Body body) {
    for (DispatchLevel level : dispatch::available()) {
        dispatch::force(level);
        body();
    }
    dispatch::useDetected();
}

namespace values {

int anyInt(uint8_t code, ByteReader& in) {
    if (code < 224) return code - 16;
    static const int kSpecial[] = {INT_MIN, INT_MAX, INT_MIN + 1, INT_MAX - 1, 60, 210, 300, 301};
    const unsigned index = code - 224u;
    if (index < sizeof kSpecial / sizeof kSpecial[0]) return kSpecial[index];
    return in.i32();
}

}  // namespace values

const ValueMap kAnyIntMap{values::anyInt, 140};

// A trace: either segments (long, shaped) or a short list of raw values.
// Mostly short, so that the fuzzer spends its time on shapes, not on length.
size_t traceLength(ByteReader& in, size_t maxLength) {
    const uint8_t code = in.byte();
    const size_t length = code < 224 ? code : in.u16();
    return std::min(length, maxLength);
}

std::vector<int> intTrace(ByteReader& in, size_t maxLength) {
    const uint8_t mode = in.byte();
    if (mode < 96) return decodeTrace(in, traceLength(in, maxLength), kAnyIntMap);
    if (mode < 160) return decodeTrace(in, traceLength(in, maxLength), kHeartRateMap);
    if (mode < 200) return decodeTrace(in, traceLength(in, maxLength), kTocoMap);
    std::vector<int> trace(in.byte() % 64);
    for (int& v : trace) v = in.intAround(-5, 250);
    return trace;
}

std::vector<double> doubleTrace(ByteReader& in, size_t maxLength) {
    const uint8_t mode = in.byte();
    if (mode < 192) {
        const std::vector<int> ints = intTrace(in, maxLength);
        std::vector<double> trace(ints.begin(), ints.end());
        // A few samples get fractions, so plateaus and exact ties are not the only case.
        const int nudges = in.byte() % 8;
        for (int k = 0; k < nudges && !trace.empty(); ++k) {
            const size_t at = in.u16() % trace.size();
            trace[at] += (in.byte() - 128) / 64.0;
        }
        return trace;
    }
    std::vector<double> trace(in.byte() % 64);
    for (double& v : trace) v = in.byte() < 224 ? in.intAround(-50, 50) * 0.5 : in.f64();
    return trace;
}

// Positions into a trace of n samples: mostly inside it, sometimes far off.
std::vector<int> positions(ByteReader& in, size_t n) {
    std::vector<int> list(in.byte() % 24);
    for (int& p : list) p = in.intAround(-2, static_cast<int>(n) + 2);
    return list;
}

// Stage parameters: always stored through the validating setter, as the
// facade does, so they are in range; the sample rate is set raw.
void configure(QK4_CFhrAlgorithm& analyzer, ByteReader& in) {
    static const int kRanges[17][2] = {
        {2, 10}, {1, 5},    {15, 20}, {15, 20}, {30, 600}, {10, 20},  {10, 20}, {30, 600},  {5, 15},
        {5, 15}, {20, 600}, {10, 35}, {5, 15},  {5, 15},   {20, 600}, {0, 2},   {300, 1800}};
    int fields[17];
    for (int f = 0; f < 17; ++f) fields[f] = in.intAround(kRanges[f][0], kRanges[f][1]);
    QK4_FhrParameter record;
    std::memcpy(&record, fields, sizeof record);
    analyzer.setParameter(record);
    analyzer.setSampleRate(in.intAround(1, 8));
}

bool inside(int position, size_t n) { return position >= 0 && static_cast<size_t>(position) < n; }

void intPeaks(ByteReader& in) {
    const std::vector<int> x = intTrace(in, kMaxSamples);
    std::vector<int> pks{7}, locs{3};  // appended to
    utils::findPeaks(x, pks, locs);
    check(pks.size() == locs.size(), "findPeaks(int): outputs differ in size");
    for (size_t k = 1; k < locs.size(); ++k) {
        // The 32-bit slope lets a negative last sample rise "into" the padding.
        check(inside(locs[k], x.size()), "peak outside the trace");
        check(pks[k] == x[locs[k]], "peak value is not the sample");
        check(k == 1 || locs[k] > locs[k - 1], "peaks out of order");
    }
}

void doublePeaks(ByteReader& in) {
    const std::vector<double> signal = doubleTrace(in, kMaxSamples);
    const int height = in.intAround(-5, 20), prominence = in.intAround(0, 20),
              distance = in.intAround(0, 200);
    std::vector<double> values{1.0}, widths{1.0};
    std::vector<int> locations{1};  // replaced
    utils::findPeaks(signal, height, prominence, distance, values, locations, widths);
    check(values.size() == locations.size() && widths.size() == locations.size(),
          "findPeaks: outputs differ in size");
    for (size_t k = 0; k < locations.size(); ++k) {
        check(inside(locations[k], signal.size()), "findPeaks: location outside the signal");
        check(std::memcmp(&values[k], &signal[locations[k]], sizeof(double)) == 0,
              "findPeaks: value is not the sample");
        check(k == 0 || locations[k] > locations[k - 1], "findPeaks: locations out of order");
    }
}

void regionPeaks(ByteReader& in) {
    const std::vector<double> y = doubleTrace(in, kMaxSamples);
    const int height = in.intAround(-5, 20), prominence = in.intAround(0, 20),
              distance = in.intAround(0, 200), minWidth = in.intAround(0, 40);
    std::vector<double> pks, widths;
    std::vector<int> locs, starts, ends;
    utils::findPeaksU(y, height, prominence, distance, pks, locs, starts, ends, widths, minWidth);
    check(pks.size() == locs.size() && starts.size() == locs.size() && ends.size() == locs.size() &&
              widths.size() == locs.size(),
          "findPeaksU: outputs differ in size");
    for (size_t k = 0; k < locs.size(); ++k) {
        check(inside(locs[k], y.size()), "findPeaksU: location outside the signal");
        check(starts[k] == -1 || inside(starts[k], y.size()), "findPeaksU: start outside");
        check(ends[k] == -1 || inside(ends[k], y.size()), "findPeaksU: end outside");
    }
}

void startEnd(ByteReader& in) {
    const std::vector<double> y = doubleTrace(in, kMaxSamples);
    const int loc = in.intAround(-2, static_cast<int>(y.size()) + 2);
    // The scan costs span steps whatever the signal; keep it near the signal's size.
    int span = in.intAround(0, 64);
    const int64_t limit = 4 * static_cast<int64_t>(y.size()) + 64;
    if (span > limit) span = static_cast<int>(limit);
    int start = 5, end = 5;
    chick_Start_End(y, loc, span, start, end);
    check(start == -1 || (start > 0 && inside(start, y.size())), "chick_Start_End: start");
    check(end == -1 || (end >= 0 && static_cast<size_t>(end) + 1 < y.size()),
          "chick_Start_End: end");
}

void ranges(ByteReader& in) {
    // linspace: magnitudes and counts as the baselines use them, and far beyond.
    const double scale = in.byte() < 240 ? 0.125 : 1e18;
    const double start = in.intAround(-1000, 1000) * scale;
    const double end = in.intAround(-1000, 1000) * scale;
    const int count = in.intAround(-2, 5000);
    if (count <= 100000) {
        const std::vector<double> points = utils::linspace(start, end, count);
        check(points.empty() || points.back() == end, "linspace: does not finish with end");
        check(points.size() <= static_cast<size_t>(std::max(count, 0)) + 2,
              "linspace: more points than asked for");
    }
    const int first = in.intAround(-100, 300), step = in.intAround(-2, 20),
              last = in.intAround(-100, 300);
    const int64_t expected =
        step < 1 || last < first ? 1 : 1 + (static_cast<int64_t>(last) - first) / step;
    if (expected > 100000) return;
    const std::vector<int> range = utils::makeRange(first, step, last);
    check(static_cast<int64_t>(range.size()) == expected, "makeRange: size");
    check(range.front() == first, "makeRange: first");
    for (size_t k = 1; k < range.size(); ++k) {
        check(range[k] - range[k - 1] == step && range[k] <= last, "makeRange: step");
    }
}

void histogram(ByteReader& in) {
    const std::vector<int> data = intTrace(in, kMaxSamples);
    std::vector<int> edges = positions(in, 200);
    if (in.byte() & 1) std::sort(edges.begin(), edges.end());
    std::vector<int> counts;
    utils::hist(data, edges, counts);
    check(counts.size() == (edges.empty() ? 0 : edges.size() - 1), "hist: bin count");
    int64_t total = 0;
    for (int c : counts) {
        check(c >= 0, "hist: negative count");
        total += c;
    }
    check(total <= static_cast<int64_t>(data.size()), "hist: counted more than the data");
}

void smoothing(ByteReader& in) {
    const std::vector<int> x = intTrace(in, kMaxSamples);
    std::vector<int> out{1, 2, 3};
    utils::moving_average(in.intAround(0, 30), x, out);
    check(out.size() == x.size(), "moving_average: size");

    const std::vector<double> signal = doubleTrace(in, kMaxSamples);
    std::vector<double> filtered{1.0};
    utils::filterlp(signal, filtered);
    check(filtered.size() == (signal.size() < 254 ? 0 : signal.size()), "filterlp: size");
    forEachLevel([&] {
        std::vector<double> again;
        utils::filterlp(signal, again);
        check(sameDoubles(again, filtered), "filterlp: levels differ");
    });
}

void movements(ByteReader& in) {
    QK4_CFhrAlgorithm analyzer;
    configure(analyzer, in);
    const std::vector<int> marks = decodeTrace(in, traceLength(in, 2048), kMovementMap);
    std::vector<int> found{9}, cleared{9};
    int count = -5, total = -5;
    analyzer.cal_fm(analyzer.getSampleRate(), marks, in.intAround(1, 2), found, count, cleared,
                    total);
    check(count >= 0 && static_cast<size_t>(count) == found.size(), "cal_fm: count");
    check(count <= 1 + static_cast<int>(marks.size()), "cal_fm: more movements than words");
}

void preparation(ByteReader& in) {
    QK4_CFhrAlgorithm analyzer;
    configure(analyzer, in);
    std::vector<int> trace = intTrace(in, kMaxSamples);
    const std::vector<int> before = trace;
    const int status = analyzer.extremePointFilter(trace);
    check(trace.size() == before.size(), "extremePointFilter: size");
    if (status < 0) {
        check(trace == before, "extremePointFilter: refused trace was changed");
    } else {
        for (int v : trace) check(v >= 60 && v <= 210, "extremePointFilter: value left outside");
    }

    const std::vector<int> moves = positions(in, trace.size());
    const int div = in.intAround(1, 2);
    const std::vector<int> updated =
        analyzer.update_fhr(trace, analyzer.getSampleRate(), moves, div);
    check(updated.size() == trace.size(), "update_fhr: size");

    std::vector<double> base = doubleTrace(in, kMaxSamples);  // any length
    analyzer.setFhrBaseline(base);
    analyzer.thresholdFilter(trace);
    check(trace.size() == before.size(), "thresholdFilter: size");

    const int basal = analyzer.basal_fhr(intTrace(in, kMaxSamples));
    check(basal >= 60 && basal <= 210 && basal % 5 == 0, "basal_fhr: off the grid");
}

void checkEvents(const std::vector<int>& triggers, const std::vector<int>& values,
                 const std::vector<int>& starts, const std::vector<int>& ends, int count) {
    check(count >= 0 && static_cast<size_t>(count) == triggers.size(), "event count");
    check(values.size() == triggers.size() && starts.size() == triggers.size() &&
              ends.size() == triggers.size(),
          "event lists differ in size");
}

void events(ByteReader& in) {
    QK4_CFhrAlgorithm analyzer;
    configure(analyzer, in);
    const std::vector<int> fhr = intTrace(in, kMaxSamples);
    std::vector<double> base = doubleTrace(in, kMaxSamples);
    if (in.byte() < 160) {  // usually a curve of the same length near the trace
        base.assign(fhr.begin(), fhr.end());
        const int shift = in.intAround(-40, 40);
        for (double& b : base) b -= shift;
    }
    std::vector<int> triggers, values, starts, ends;
    int count = 0, deep = 0;
    analyzer.detect_acc(fhr, base, triggers, values, starts, ends, count);
    checkEvents(triggers, values, starts, ends, count);
    std::vector<int> decTriggers, decValues, decStarts, decEnds;
    int decCount = 0;
    analyzer.detect_dec(fhr, base, decTriggers, decValues, decStarts, decEnds, decCount, deep);
    checkEvents(decTriggers, decValues, decStarts, decEnds, decCount);
    check(deep >= 0 && deep <= decCount, "detect_dec: deep count");

    // Typing against contraction peaks, first with the detector's own lists.
    for (int pass = 0; pass < 2; ++pass) {
        const bool own = pass == 0;
        const std::vector<int> a = own ? fhr : intTrace(in, 512);
        const std::vector<int> b = own ? decTriggers : positions(in, a.size());
        const std::vector<int> c = own ? decStarts : positions(in, a.size());
        const std::vector<int> d = own ? decEnds : positions(in, a.size());
        const std::vector<int> e = positions(in, a.size());
        DecelerationTypes t;
        analyzer.dec_type(t.types, t.maxType, t.typeHistogram, t.earlyCount, t.lateOrLowCount,
                          t.delayedCount, t.otherCount, a, b, c, d, e);
        check(t.types.size() == b.size(), "dec_type: one type per deceleration");
        check(t.typeHistogram.size() == 4, "dec_type: histogram size");
        const int64_t counted =
            int64_t(t.earlyCount) + t.lateOrLowCount + t.delayedCount + t.otherCount;
        check(counted == (e.empty() ? 0 : static_cast<int64_t>(b.size())), "dec_type: counts");
    }
}

void variability(ByteReader& in) {
    QK4_CFhrAlgorithm analyzer;
    configure(analyzer, in);
    const std::vector<int> fhr = intTrace(in, kMaxSamples);
    const int length = in.byte() < 200 ? static_cast<int>(fhr.size()) : in.intAround(0, 5000);
    std::vector<int> segStarts, segEnds;
    const std::vector<int> s1 = positions(in, fhr.size()), e1 = positions(in, fhr.size());
    switch (in.byte() % 3) {
        case 0:
            analyzer.fhrBas1(s1, e1, positions(in, fhr.size()), positions(in, fhr.size()), length,
                             segStarts, segEnds);
            break;
        case 1:
            analyzer.fhrBas2(s1, e1, length, segStarts, segEnds);
            break;
        default:
            analyzer.fhrBas3(s1, e1, length, segStarts, segEnds);
            break;
    }
    check(segStarts.size() == segEnds.size() && !segStarts.empty(), "fhrBas: segment lists");
    if (in.byte() & 1) {  // arbitrary segments as well
        segStarts = positions(in, fhr.size());
        segEnds = positions(in, fhr.size());
    }
    double amplitude = 0.0, frequency = 0.0;
    analyzer.cal_bpm_var(fhr, analyzer.getSampleRate(), segStarts, segEnds, amplitude, frequency);
    check(std::isnan(amplitude) || amplitude >= 0.0, "cal_bpm_var: negative amplitude");
    check(frequency >= 0.0, "cal_bpm_var: negative frequency");
}

void contractions(ByteReader& in) {
    QK4_CFhrAlgorithm analyzer;
    configure(analyzer, in);
    const std::vector<int> uc = intTrace(in, kMaxSamples);
    std::vector<double> base;
    if (in.byte() < 128) {
        base = analyzer.uc_baseline(
            uc, static_cast<int>(uc.size()) / std::max(analyzer.getSampleRate(), 1));
    } else {
        base = doubleTrace(in, kMaxSamples);
    }
    Contractions found;
    analyzer.uc_detect(found.peaks, found.starts, found.ends, found.filtered, uc, base);
    check(found.filtered.size() == uc.size(), "uc_detect: filtered size");
    check(found.starts.size() == found.ends.size() && found.starts.size() <= found.peaks.size(),
          "uc_detect: bounds");
    for (int p : found.peaks) check(inside(p, uc.size()), "uc_detect: peak outside the trace");
}

// The lane-parallel baseline at every dispatch level, and computed or handed
// out again, must give exactly the written form's doubles.
void baselines(ByteReader& in) {
    const std::vector<int> trace = intTrace(in, kMaxBaselineSamples);
    const int sampleRate = in.intAround(1, 8);
    const int seconds = in.byte() < 192 ? static_cast<int>(trace.size()) / std::max(sampleRate, 1)
                                        : in.intAround(0, 3000);
    BaselineShape shape{10, 300, 300};
    switch (in.byte() % 4) {
        case 0:
            break;
        case 1:
            shape = {20, 100, 300};
            break;
        default:
            shape = {1 + in.byte() % 40, 1 + in.u16() % 400, 1 + in.u16() % 400};
            break;
    }
    const std::vector<double> reference =
        weightedModeBaselineReference(trace, seconds, sampleRate, shape);
    check(reference.size() == trace.size(), "baseline size");
    forEachLevel([&] {
        check(sameDoubles(weightedModeBaselineLanes(trace, seconds, sampleRate, shape), reference),
              "lane baseline differs from weightedModeBaselineReference");
    });
    // Twice: the second request for the same trace may be served from the kept curves.
    for (int request = 0; request < 2; ++request) {
        check(sameDoubles(weightedModeBaseline(trace, seconds, sampleRate, shape), reference),
              "kept baseline differs from weightedModeBaselineReference");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader in(data, size);
    switch (in.byte() % 13) {
        case 0:
            intPeaks(in);
            break;
        case 1:
            doublePeaks(in);
            break;
        case 2:
            regionPeaks(in);
            break;
        case 3:
            startEnd(in);
            break;
        case 4:
            ranges(in);
            break;
        case 5:
            histogram(in);
            break;
        case 6:
            smoothing(in);
            break;
        case 7:
            movements(in);
            break;
        case 8:
            preparation(in);
            break;
        case 9:
            events(in);
            break;
        case 10:
            variability(in);
            break;
        case 11:
            contractions(in);
            break;
        case 12:
            baselines(in);
            break;
    }
    return 0;
}
