// Figures for whole four-method runs and for the two baseline stages, at every
// dispatch level this CPU runs, on synthetic recordings of 20, 60 and 180
// minutes.  Every iteration analyzes a recording made for it (outside the
// timing), so no curve kept from an earlier call can answer it: the figures
// are what a host sees for a recording new to the process.  Run from any
// directory: the daily log goes to a temporary directory and the log echo on
// standard output is discarded; the figures are printed on standard error.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <random>
#include <string>

#include "algorithm.h"
#include "dispatch.h"
#include "facade.h"

namespace {

constexpr int kRate = 4;

struct Recording {
    std::vector<int> fhr, uc, fm;
};

// A wandering baseline with variability, periodic contractions with a
// deceleration after each, and an acceleration every few minutes.
Recording synthetic(int minutes, unsigned seed) {
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

// A recording no earlier iteration has seen, made while the clock is stopped.
Recording newRecording(benchmark::State& state, unsigned& seed) {
    state.PauseTiming();
    Recording rec = synthetic(static_cast<int>(state.range(0)), ++seed);
    state.ResumeTiming();
    return rec;
}

// Krebs, Fischer, ACOG and the contraction method in a row, through the facade
// the exported functions call.
void allFourMethods(benchmark::State& state) {
    QK4_CFhr& facade = *QK4_CFhr::instance();
    unsigned seed = 0;
    for (auto _ : state) {
        const Recording rec = newRecording(state, seed);
        const int n = static_cast<int>(rec.fhr.size());
        benchmark::DoNotOptimize(facade.calFhrKrebs(rec.fhr.data(), rec.fm.data(), n, kRate));
        benchmark::DoNotOptimize(
            facade.calFhrFischer2(rec.fhr.data(), rec.uc.data(), rec.fm.data(), n, kRate));
        benchmark::DoNotOptimize(
            facade.calFhrAcog(rec.fhr.data(), rec.uc.data(), rec.fm.data(), n, kRate));
        benchmark::DoNotOptimize(
            facade.calFhrUC(rec.fhr.data(), rec.uc.data(), rec.fm.data(), n, kRate));
    }
}

using BaselineForm = std::vector<double> (*)(const std::vector<int>&, int, int,
                                             const BaselineShape&);

// One baseline stage on the heart-rate or the toco trace of new recordings.
void baselineStage(benchmark::State& state, BaselineForm form, bool toco) {
    const BaselineShape shape = toco ? BaselineShape{20, 100, 300} : BaselineShape{10, 300, 300};
    unsigned seed = 0;
    for (auto _ : state) {
        const Recording rec = newRecording(state, seed);
        const std::vector<int>& trace = toco ? rec.uc : rec.fhr;
        benchmark::DoNotOptimize(form(trace, static_cast<int>(trace.size()) / kRate, kRate, shape));
    }
}

// Registers `run` at the given level (forced before every run) for 20, 60 and
// 180 minutes.
void add(const std::string& name, DispatchLevel level, std::function<void(benchmark::State&)> run) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [level, run](benchmark::State& state) {
                                     dispatch::force(level);
                                     run(state);
                                     dispatch::useDetected();
                                 })
        ->Arg(20)
        ->Arg(60)
        ->Arg(180)
        ->Unit(benchmark::kMillisecond);
}

void registerAll() {
    const std::vector<DispatchLevel> levels = dispatch::available();
    for (DispatchLevel level : levels) {
        add(std::string("AllFourMethods/") + dispatch::name(level), level, allFourMethods);
    }
    for (bool toco : {false, true}) {
        const std::string stage = toco ? "ContractionBaseline/" : "HeartRateBaseline/";
        for (DispatchLevel level : levels) {
            add(stage + dispatch::name(level), level, [toco](benchmark::State& state) {
                baselineStage(state, weightedModeBaselineLanes, toco);
            });
        }
        add(stage + "written form", dispatch::detected(), [toco](benchmark::State& state) {
            baselineStage(state, weightedModeBaselineReference, toco);
        });
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    registerAll();
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
