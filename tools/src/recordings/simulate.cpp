#include "recordings/simulate.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace ctgtool {

namespace {

enum class SimulatedKind {
    Contraction,
    Acceleration,
    EarlyDeceleration,
    LateDeceleration,
    Movement,
    SignalLoss
};

// An event placed by the generator; times in seconds from the start.
struct SimulatedEvent {
    SimulatedKind kind;
    double start;
    double peak;
    double end;
    double size;  // bpm above/below the baseline, or toco units above the tone
};

// splitmix64: small, fast and fully specified, so the sequence never depends on
// the standard library.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }

    // Uniform in [0, 1) with 53 random bits.
    double uniform() { return static_cast<double>(next() >> 11) * (1.0 / 9007199254740992.0); }
    double uniform(double low, double high) { return low + (high - low) * uniform(); }

    // Approximately standard normal: the sum of twelve uniforms has variance 1.
    double normal() {
        double sum = 0.0;
        for (int i = 0; i < 12; ++i) sum += uniform();
        return sum - 6.0;
    }

private:
    std::uint64_t state_;
};

// A first-order autoregressive process with a time constant and a stationary
// standard deviation, stepped once per sample.
class SlowNoise {
public:
    SlowNoise(double timeConstantSeconds, double deviation, int rate)
        : keep_(1.0 - 1.0 / (timeConstantSeconds * rate)),
          innovation_(deviation * std::sqrt(1.0 - keep_ * keep_)) {}

    double step(Random& random) {
        value_ = keep_ * value_ + innovation_ * random.normal();
        return value_;
    }

private:
    double keep_;
    double innovation_;
    double value_ = 0.0;
};

// Smooth bell on [0, 1]: 0 at both ends, 1 in the middle.
double bell(double x) {
    if (x <= 0.0 || x >= 1.0) return 0.0;
    const double y = 4.0 * x * (1.0 - x);
    return y * y;
}

// Flat-topped bump on [0, 1] with smooth flanks over the first and last 30 %.
double plateau(double x) {
    if (x <= 0.0 || x >= 1.0) return 0.0;
    const double edge = std::min(x, 1.0 - x) / 0.3;
    if (edge >= 1.0) return 1.0;
    return edge * edge * (3.0 - 2.0 * edge);
}

bool overlaps(const SimulatedEvent& event, double start, double end, double margin) {
    return start < event.end + margin && event.start < end + margin;
}

bool isHeartRateEvent(const SimulatedEvent& event) {
    return event.kind == SimulatedKind::Acceleration ||
           event.kind == SimulatedKind::EarlyDeceleration ||
           event.kind == SimulatedKind::LateDeceleration || event.kind == SimulatedKind::SignalLoss;
}

bool clashes(const std::vector<SimulatedEvent>& events, double start, double end, double margin) {
    return std::any_of(events.begin(), events.end(), [&](const SimulatedEvent& event) {
        return isHeartRateEvent(event) && overlaps(event, start, end, margin);
    });
}

// Contractions every 2.5 to 5 minutes, each with an early, a late or no
// deceleration.  A deceleration is a dip of 30 to 48 s centred on the
// contraction peak (early) or 20 to 35 s after it (late).
void planContractions(Random& random, double total, std::vector<SimulatedEvent>& events) {
    for (double start = random.uniform(60.0, 150.0);;) {
        const double length = random.uniform(60.0, 100.0);
        if (start + length > total - 30.0) break;
        const double peak = start + length / 2;
        events.push_back(
            {SimulatedKind::Contraction, start, peak, start + length, random.uniform(25.0, 65.0)});
        const double choice = random.uniform();
        const double dip = random.uniform(30.0, 48.0);
        const double depth = random.uniform(22.0, 32.0);
        if (choice < 0.3) {
            events.push_back(
                {SimulatedKind::EarlyDeceleration, peak - dip / 2, peak, peak + dip / 2, depth});
        } else if (choice < 0.5) {
            const double nadir = peak + random.uniform(20.0, 35.0);
            if (nadir + dip / 2 < total - 15.0) {
                events.push_back({SimulatedKind::LateDeceleration, nadir - dip / 2, nadir,
                                  nadir + dip / 2, depth});
            }
        }
        start += length + random.uniform(90.0, 200.0);
    }
}

// Accelerations 2 to 5 minutes apart, clear of the decelerations; most come
// with a movement mark.
void planAccelerations(Random& random, double total, std::vector<SimulatedEvent>& events) {
    for (double start = random.uniform(150.0, 240.0);;) {
        const double length = random.uniform(25.0, 45.0);
        if (start + length > total - 60.0) break;
        if (clashes(events, start, start + length, 30.0)) {
            start += 20.0;
            continue;
        }
        events.push_back({SimulatedKind::Acceleration, start, start + length / 2, start + length,
                          random.uniform(20.0, 32.0)});
        if (random.uniform() < 0.7) {
            const double mark = start + 0.3 * length;
            events.push_back({SimulatedKind::Movement, mark, mark, mark + 1.0, 0.0});
        }
        start += length + random.uniform(120.0, 300.0);
    }
}

void planMovements(Random& random, double total, std::vector<SimulatedEvent>& events) {
    for (double mark = random.uniform(60.0, 400.0); mark < total - 1.0;
         mark += random.uniform(200.0, 600.0)) {
        events.push_back({SimulatedKind::Movement, mark, mark, mark + 1.0, 0.0});
    }
}

// About one stretch of signal loss per quarter of an hour, away from the events.
void planSignalLoss(Random& random, double total, std::vector<SimulatedEvent>& events) {
    const int stretches = std::max(1, static_cast<int>(total / 900.0));
    for (int placed = 0, attempt = 0; placed < stretches && attempt < 50 * stretches; ++attempt) {
        const double start = random.uniform(30.0, total - 60.0);
        const double end = start + random.uniform(5.0, 30.0);
        if (clashes(events, start, end, 20.0)) continue;
        events.push_back({SimulatedKind::SignalLoss, start, start, end, 0.0});
        ++placed;
    }
}

std::vector<SimulatedEvent> planEvents(Random& random, double total) {
    std::vector<SimulatedEvent> events;
    planContractions(random, total, events);
    planAccelerations(random, total, events);
    planMovements(random, total, events);
    planSignalLoss(random, total, events);
    std::stable_sort(
        events.begin(), events.end(),
        [](const SimulatedEvent& a, const SimulatedEvent& b) { return a.start < b.start; });
    return events;
}

// Adds the shape of every event to the traces, in samples.
void drawEvents(const std::vector<SimulatedEvent>& events, int rate, std::vector<double>& fhr,
                std::vector<double>& toco, std::vector<int>& fm, std::vector<bool>& lost) {
    const int samples = static_cast<int>(fhr.size());
    for (const SimulatedEvent& event : events) {
        const int first = std::max(0, static_cast<int>(event.start * rate));
        const int last = std::min(samples - 1, static_cast<int>(event.end * rate));
        const double span = event.end - event.start;
        for (int i = first; i <= last; ++i) {
            const double x = (static_cast<double>(i) / rate - event.start) / span;
            switch (event.kind) {
                case SimulatedKind::Contraction:
                    toco[i] += event.size * bell(x);
                    break;
                case SimulatedKind::Acceleration:
                    fhr[i] += event.size * plateau(x);
                    break;
                case SimulatedKind::EarlyDeceleration:
                case SimulatedKind::LateDeceleration:
                    fhr[i] -= event.size * bell(x);
                    break;
                case SimulatedKind::Movement:
                    fm[i] = 4;
                    break;  // the library's movement bit
                case SimulatedKind::SignalLoss:
                    lost[i] = true;
                    break;
            }
        }
    }
}

int clampRound(double value, int low, int high) { return std::clamp(roundToInt(value), low, high); }

}  // namespace

Recording simulate(const SimulationOptions& options) {
    if (options.minutes < 1) throw std::invalid_argument("minutes must be at least 1");
    if (options.rate < 1) throw std::invalid_argument("rate must be at least 1");
    const int rate = options.rate;
    const int samples = options.minutes * 60 * rate;
    Random planner(options.seed);
    Random noise(options.seed ^ 0x5DEECE66DULL);

    const std::vector<SimulatedEvent> events = planEvents(planner, options.minutes * 60.0);
    const double baseline = planner.uniform(125.0, 150.0);
    const double tone = planner.uniform(8.0, 16.0);

    std::vector<double> fhr(samples, 0.0), toco(samples, 0.0);
    std::vector<int> fm(samples, 0);
    std::vector<bool> lost(samples, false);
    drawEvents(events, rate, fhr, toco, fm, lost);

    SlowNoise wander(300.0, 2.5, rate), variability(5.0, 4.0, rate), tocoWander(120.0, 2.0, rate);
    Recording recording;
    recording.name = "simulated-seed" + std::to_string(options.seed);
    recording.rate = rate;
    recording.fm = fm;
    for (int i = 0; i < samples; ++i) {
        const double heartRate =
            baseline + wander.step(noise) + variability.step(noise) + 0.2 * noise.normal() + fhr[i];
        const double contraction = tone + tocoWander.step(noise) + 0.5 * noise.normal() + toco[i];
        recording.fhr.push_back(lost[i] ? 0 : clampRound(heartRate, 50, 230));
        recording.uc.push_back(clampRound(contraction, 0, 100));
    }
    return recording;
}

void writeRecordingCsv(std::ostream& out, const Recording& recording) {
    out << "fhr,uc,fm\n";
    for (int i = 0; i < recording.samples(); ++i) {
        out << recording.fhr[i] << ',' << recording.uc[i] << ',' << recording.fm[i] << '\n';
    }
}

}  // namespace ctgtool
