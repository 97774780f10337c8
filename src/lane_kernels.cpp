#include "lane_kernels.h"

#include <algorithm>

#include "dispatch.h"

namespace {

// Native vectors of each level.
typedef double Vec2 __attribute__((vector_size(16)));
typedef double Vec4 __attribute__((vector_size(32)));
typedef double Vec8 __attribute__((vector_size(64)));

// Unaligned loads and stores (the weights and rows are only double-aligned);
// vectors pass by reference, never by value, across these helpers.
template <class Vec>
inline __attribute__((always_inline)) void loadVec(Vec& to, const double* from) {
    __builtin_memcpy(&to, from, sizeof(Vec));
}

template <class Vec>
inline __attribute__((always_inline)) void storeVec(double* to, const Vec& from) {
    __builtin_memcpy(to, &from, sizeof(Vec));
}

// The first position of a run at or above limit (positions are distinct and
// ascending, so it lies within limit - *next places).
inline const int* runEnd(const RowRun& run, int limit) {
    if (run.next == run.end || *run.next >= limit) return run.next;
    const long within = static_cast<long>(limit) - *run.next;
    const int* bound = run.end - run.next < within ? run.end : run.next + within;
    return std::lower_bound(run.next, bound, limit);
}

// kCount vectors of Vec cover `kCount * width` lanes; the compiler keeps them
// in registers (the loops over c have constant bounds and are unrolled).
template <class Vec, int kCount>
struct LaneSums {
    static constexpr int kWidth = sizeof(Vec) / sizeof(double);
    Vec sum[kCount];

    // The sums so far, or +0.0 for a run's first block.
    inline __attribute__((always_inline)) void start(const RowRun& run, const double* from) {
        for (int c = 0; c < kCount; ++c) {
            if (run.fresh) {
                sum[c] = Vec{};
            } else {
                loadVec(sum[c], from + c * kWidth);
            }
        }
    }
    inline __attribute__((always_inline)) void add(const double* weights) {
        for (int c = 0; c < kCount; ++c) {
            Vec term;
            loadVec(term, weights + c * kWidth);
            sum[c] = sum[c] + term;
        }
    }
    inline __attribute__((always_inline)) void store(double* to) const {
        for (int c = 0; c < kCount; ++c) storeVec(to + c * kWidth, sum[c]);
    }
};

// One run's positions up to end, lanes [lane, lane + kCount * width) of weights and sums.
template <class Vec, int kCount>
inline __attribute__((always_inline)) void addRun(const RowRun& run, const int* end, int lane,
                                                  const double* weights) {
    LaneSums<Vec, kCount> lanes;
    lanes.start(run, run.sums + lane);
    for (const int* p = run.next; p < end; ++p) lanes.add(weights + lane + *p);
    lanes.store(run.sums + lane);
}

// A run's positions below limit, all lanes in kParts passes of kCount vectors.
template <class Vec, int kCount, int kParts = 1>
inline __attribute__((always_inline)) void addWholeRun(RowRun& run, int limit,
                                                       const double* weights) {
    const int* end = runEnd(run, limit);
    if (end == run.next) return;
    constexpr int kPart = kLanes / kParts;
    for (int part = 0; part < kParts; ++part) addRun<Vec, kCount>(run, end, part * kPart, weights);
    run.next = end;
    run.fresh = false;
}

// Two runs side by side, so that twice as many independent sums are in flight.
template <class Vec, int kCount>
inline __attribute__((always_inline)) void addTwoRuns(RowRun& a, const int* aEnd, RowRun& b,
                                                      const int* bEnd, const double* weights) {
    LaneSums<Vec, kCount> first, second;
    first.start(a, a.sums);
    second.start(b, b.sums);
    const long common = std::min(aEnd - a.next, bEnd - b.next);
    for (long k = 0; k < common; ++k) {
        first.add(weights + a.next[k]);
        second.add(weights + b.next[k]);
    }
    for (const int* p = a.next + common; p < aEnd; ++p) first.add(weights + *p);
    for (const int* p = b.next + common; p < bEnd; ++p) second.add(weights + *p);
    first.store(a.sums);
    second.store(b.sums);
    a.next = aEnd;
    b.next = bEnd;
    a.fresh = b.fresh = false;
}

__attribute__((target("avx512f"))) void blockAvx512(RowRun* runs, int count, int limit,
                                                    const double* weights) {
    int r = 0;
    for (; r + 1 < count; r += 2) {
        addTwoRuns<Vec8, kLanes / 8>(runs[r], runEnd(runs[r], limit), runs[r + 1],
                                     runEnd(runs[r + 1], limit), weights);
    }
    if (r < count) addWholeRun<Vec8, kLanes / 8>(runs[r], limit, weights);
}

// Two runs would need all sixteen AVX registers for their sums; one run
// already keeps both adders busy.
__attribute__((target("avx2"))) void blockAvx2(RowRun* runs, int count, int limit,
                                               const double* weights) {
    for (int r = 0; r < count; ++r) addWholeRun<Vec4, kLanes / 4>(runs[r], limit, weights);
}

// Sixteen SSE registers cannot hold 32 lane sums and the loaded weights at
// once, so the lanes go in two halves.
void blockBaseline(RowRun* runs, int count, int limit, const double* weights) {
    for (int r = 0; r < count; ++r) addWholeRun<Vec2, kLanes / 4, 2>(runs[r], limit, weights);
}

// The band search of kWidth lanes at a time: totals and moments per lane in
// the written order, the winning band and its total kept per lane.
template <class Vec>
inline __attribute__((always_inline)) void bandLanes(const double* histogram, const int* bands,
                                                     int count, int bandWidth, double* estimates) {
    constexpr int kWidth = sizeof(Vec) / sizeof(double);
    for (int lane = 0; lane < kLanes; lane += kWidth) {
        Vec best = {}, bestBand = Vec{} - 1.0, estimate = {};
        for (int b = 0; b < count; ++b) {
            const double* row = histogram + static_cast<long>(bands[b]) * kLanes + lane;
            Vec total, term;
            loadVec(total, row);
            for (int m = 1; m < bandWidth; ++m) {
                loadVec(term, row + m * kLanes);
                total = total + term;
            }
            const auto better = total > best;
            best = better ? total : best;
            bestBand = better ? Vec{} + bands[b] : bestBand;
        }
        for (int b = 0; b < count; ++b) {
            const auto won = bestBand == bands[b];
            bool anyWon = false;
            for (int k = 0; k < kWidth; ++k) anyWon = anyWon || won[k];
            if (!anyWon) continue;
            const double* row = histogram + static_cast<long>(bands[b]) * kLanes + lane;
            Vec moment = {}, term;
            for (int m = 0; m < bandWidth; ++m) {
                loadVec(term, row + m * kLanes);
                moment = moment + static_cast<double>(bands[b] + 1 + m) * term;
            }
            estimate = won ? moment / best : estimate;
        }
        storeVec(estimates + lane, estimate);
    }
}

__attribute__((target("avx512f"))) void bandsAvx512(const double* histogram, const int* bands,
                                                    int count, int bandWidth, double* estimates) {
    bandLanes<Vec8>(histogram, bands, count, bandWidth, estimates);
}

__attribute__((target("avx2"))) void bandsAvx2(const double* histogram, const int* bands, int count,
                                               int bandWidth, double* estimates) {
    bandLanes<Vec4>(histogram, bands, count, bandWidth, estimates);
}

void bandsBaseline(const double* histogram, const int* bands, int count, int bandWidth,
                   double* estimates) {
    bandLanes<Vec2>(histogram, bands, count, bandWidth, estimates);
}

// kCount * width neighbouring outputs at once.
template <class Vec, int kCount>
inline __attribute__((always_inline)) void firBlocks(const double* coefficients, int taps,
                                                     const double* in, int first, int n,
                                                     double* out) {
    constexpr int kWidth = sizeof(Vec) / sizeof(double);
    constexpr int kBlock = kCount * kWidth;
    int i = first;
    for (; i + kBlock <= n; i += kBlock) {
        Vec acc[kCount] = {};
        for (int k = 0; k < taps; ++k) {
            const double* x = in + i - k;
            for (int c = 0; c < kCount; ++c) {
                Vec tap;
                loadVec(tap, x + c * kWidth);
                acc[c] = acc[c] + coefficients[k] * tap;
            }
        }
        for (int c = 0; c < kCount; ++c) storeVec(out + i - first + c * kWidth, acc[c]);
    }
    for (; i < n; ++i) {
        double acc = 0.0;
        for (int k = 0; k < taps; ++k) acc = acc + coefficients[k] * in[i - k];
        out[i - first] = acc;
    }
}

__attribute__((target("avx512f"))) void firAvx512(const double* coefficients, int taps,
                                                  const double* in, int first, int n, double* out) {
    firBlocks<Vec8, 2>(coefficients, taps, in, first, n, out);
}

__attribute__((target("avx2"))) void firAvx2(const double* coefficients, int taps, const double* in,
                                             int first, int n, double* out) {
    firBlocks<Vec4, 4>(coefficients, taps, in, first, n, out);
}

void firBaseline(const double* coefficients, int taps, const double* in, int first, int n,
                 double* out) {
    firBlocks<Vec2, 4>(coefficients, taps, in, first, n, out);
}

// The kernels of each level, in the order of DispatchLevel.
struct LevelKernels {
    BlockKernel block;
    BandKernel band;
    void (*fir)(const double*, int, const double*, int, int, double*);
};

const LevelKernels& activeKernels() {
    static const LevelKernels kernels[] = {{blockBaseline, bandsBaseline, firBaseline},
                                           {blockAvx2, bandsAvx2, firAvx2},
                                           {blockAvx512, bandsAvx512, firAvx512}};
    return kernels[static_cast<int>(dispatch::active())];
}

}  // namespace

BlockKernel blockKernel() { return activeKernels().block; }

BandKernel bandKernel() { return activeKernels().band; }

void firOutputs(const double* coefficients, int taps, const double* in, int first, int n,
                double* out) {
    activeKernels().fir(coefficients, taps, in, first, n, out);
}
