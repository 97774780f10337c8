// Figures for the analysis runs and the baseline stages on synthetic recordings
// of several lengths.  Run from any directory: the daily log goes to a
// temporary directory and the log echo on standard output is discarded; the
// figures are printed on standard error.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>

#include "algorithm.h"
#include "methods.h"

namespace {

constexpr int kRate = 4;

struct Recording {
    std::vector<int> fhr, uc, fm;
};

// A wandering baseline with variability, periodic contractions with a
// deceleration after each, and an acceleration every few minutes.
Recording synthetic(int minutes, int seed) {
    std::mt19937 rng(seed);
    std::normal_distribution<double> jitter(0.0, 2.0);
    const int n = minutes * 60 * kRate;
    Recording rec{std::vector<int>(n), std::vector<int>(n), std::vector<int>(n / kRate, 0)};
    double base = 140.0;
    for (int i = 0; i < n; ++i) {
        base += 0.01 * (140.0 - base) + jitter(rng) * 0.05;
        const double t = static_cast<double>(i % (180 * kRate)) / kRate;  // 3-minute cycle
        const double contraction = t < 60.0 ? 60.0 * std::sin(M_PI * t / 60.0) : 0.0;
        const double deceleration =
            (t > 30.0 && t < 75.0) ? -25.0 * std::sin(M_PI * (t - 30.0) / 45.0) : 0.0;
        const double acceleration = (i % (420 * kRate) < 25 * kRate) ? 22.0 : 0.0;
        rec.fhr[i] =
            static_cast<int>(std::lround(base + jitter(rng) + deceleration + acceleration));
        rec.uc[i] = static_cast<int>(std::lround(12.0 + contraction + jitter(rng)));
        if (i % (600 * kRate) == 0) rec.fm[i / kRate] = 4;
    }
    return rec;
}

// Recordings by length; `variant` gives another recording of the same length.
const Recording& recording(int minutes, int variant = 0) {
    static std::map<std::pair<int, int>, Recording> made;
    const auto key = std::make_pair(minutes, variant);
    auto it = made.find(key);
    if (it == made.end())
        it = made.emplace(key, synthetic(minutes, minutes + 1000 * variant)).first;
    return it->second;
}

// The runs take turns among more recordings of the same length than the
// library keeps recent baseline curves, so that no curve is handed out again.
const Recording& inTurn(benchmark::State& state, int& turn) {
    return recording(static_cast<int>(state.range(0)), turn++ % 5);
}

void Krebs(benchmark::State& state) {
    QK4_CFhrKrebs method;
    int turn = 0;
    for (auto _ : state) {
        const Recording& rec = inTurn(state, turn);
        benchmark::DoNotOptimize(method.calFhrScore(rec.fhr.data(), rec.fm.data(),
                                                    static_cast<int>(rec.fhr.size()), kRate));
    }
}

template <class Method>
void ThreeTraceRun(benchmark::State& state) {
    Method method;
    int turn = 0;
    for (auto _ : state) {
        const Recording& rec = inTurn(state, turn);
        benchmark::DoNotOptimize(method.calFhrScore(rec.fhr.data(), rec.uc.data(), rec.fm.data(),
                                                    static_cast<int>(rec.fhr.size()), kRate));
    }
}

void AllFourMethods(benchmark::State& state) {
    QK4_CFhrKrebs krebs;
    QK4_CFhrFischer2 fischer;
    QK4_CFhrAcog acog;
    QK4_CFhrUC uc;
    int turn = 0;
    for (auto _ : state) {
        const Recording& rec = inTurn(state, turn);
        const int n = static_cast<int>(rec.fhr.size());
        benchmark::DoNotOptimize(krebs.calFhrScore(rec.fhr.data(), rec.fm.data(), n, kRate));
        benchmark::DoNotOptimize(
            fischer.calFhrScore(rec.fhr.data(), rec.uc.data(), rec.fm.data(), n, kRate));
        benchmark::DoNotOptimize(
            acog.calFhrScore(rec.fhr.data(), rec.uc.data(), rec.fm.data(), n, kRate));
        benchmark::DoNotOptimize(
            uc.calFhrScore(rec.fhr.data(), rec.uc.data(), rec.fm.data(), n, kRate));
    }
}

template <bool fast>
void HeartRateBaseline(benchmark::State& state) {
    const Recording& rec = recording(static_cast<int>(state.range(0)));
    const int seconds = static_cast<int>(rec.fhr.size()) / kRate;
    const BaselineShape shape{10, 300, 300};
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            fast ? weightedModeBaselineLanes(rec.fhr, seconds, kRate, shape)
                 : weightedModeBaselineReference(rec.fhr, seconds, kRate, shape));
    }
}

template <bool fast>
void ContractionBaseline(benchmark::State& state) {
    const Recording& rec = recording(static_cast<int>(state.range(0)));
    const int seconds = static_cast<int>(rec.uc.size()) / kRate;
    const BaselineShape shape{20, 100, 300};
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            fast ? weightedModeBaselineLanes(rec.uc, seconds, kRate, shape)
                 : weightedModeBaselineReference(rec.uc, seconds, kRate, shape));
    }
}

void lengths(benchmark::internal::Benchmark* b) {
    b->Arg(20)->Arg(60)->Arg(120)->Arg(180)->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(Krebs)->Apply(lengths);
BENCHMARK(ThreeTraceRun<QK4_CFhrFischer2>)->Name("Fischer")->Apply(lengths);
BENCHMARK(ThreeTraceRun<QK4_CFhrAcog>)->Name("Acog")->Apply(lengths);
BENCHMARK(ThreeTraceRun<QK4_CFhrUC>)->Name("UC")->Apply(lengths);
BENCHMARK(AllFourMethods)->Apply(lengths);
BENCHMARK(HeartRateBaseline<true>)->Name("HeartRateBaselineFast")->Apply(lengths);
BENCHMARK(HeartRateBaseline<false>)->Name("HeartRateBaselinePlain")->Apply(lengths);
BENCHMARK(ContractionBaseline<true>)->Name("ContractionBaselineFast")->Apply(lengths);
BENCHMARK(ContractionBaseline<false>)->Name("ContractionBaselinePlain")->Apply(lengths);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "ctgscore-bench";
    std::filesystem::create_directories(dir);
    if (chdir(dir.c_str()) != 0) return 2;
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return 2;
    benchmark::ConsoleReporter reporter;
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    std::filesystem::remove_all(dir);
    return 0;
}
