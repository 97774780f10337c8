// The vector kernels of the hot loops, one set per dispatch level.  Each lane
// or output keeps its own sum and adds its terms in the written order, so the
// levels differ only in how many sums advance per instruction.
#pragma once

// Output samples formed at once by the baseline lanes.
constexpr int kLanes = 32;

// The samples of one value still to be added to its lane sums: positions
// [next, end) ascending, and the kLanes sums of its histogram row, which the
// first kernel call starts from +0.0 while `fresh` is set.
struct RowRun {
    const int* next;
    const int* end;
    double* sums;
    bool fresh;
};

// For every run, adds each position p below `limit`, in order, to the run's
// sums: weights[p + s] to sums[s] for each lane s in 0 .. kLanes - 1, and
// moves `next` past them.  Each lane's sum stays in a register between the
// first load and the last store of its row.
using BlockKernel = void (*)(RowRun* runs, int count, int limit, const double* weights);
// The block kernel of the active dispatch level.
BlockKernel blockKernel();

// The band search of every lane of a lane histogram (row r holds the kLanes
// sums of bin r): over the listed bands (first bins, ascending), per lane the
// first band with the largest total, and estimates[s] = its moment over its
// total (0.0 when no band holds weight), every sum in the written order.
using BandKernel = void (*)(const double* histogram, const int* bands, int count, int bandWidth,
                            double* estimates);
// The band kernel of the active dispatch level.
BandKernel bandKernel();

// out[i - first] = the sum over taps k = 0 .. taps - 1, in tap order, of
// coefficients[k] * in[i - k], for every i in [first, n).
void firOutputs(const double* coefficients, int taps, const double* in, int first, int n,
                double* out);
