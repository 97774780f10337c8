// Free helpers shared by the analysis stages: numeric helpers, histogram,
// the two peak finders and the run log.
#pragma once

#include <string>
#include <vector>

namespace utils {

// --- numeric helpers -------------------------------------------------------

// Rounds half away from zero.
int round_double(double x);

// Truncates toward zero like the x86-64 conversion instruction: values that
// do not fit an int (and NaN) give INT_MIN instead of undefined behaviour.
int truncate_to_int(double x);

// Plain left-to-right sum starting from 0.0.
double sum(const std::vector<double>& values);

// Stepped range from start that always finishes with end; see numeric.cpp.
std::vector<double> linspace(double start, double end, int count);

// first, first + step, ... up to last; first is always present.
std::vector<int> makeRange(int first, int step, int last);

// Trailing 15-sample average; the first window - 1 samples pass unchanged.
void moving_average(int window, const std::vector<int>& in, std::vector<int>& out);

// 253-tap FIR low-pass with the group delay removed; empty output below 254 samples.
void filterlp(const std::vector<double>& in, std::vector<double>& out);

// qsort comparator for ints, ascending.
int cmp(const void* a, const void* b);

// Counts the data into bins centred on the edges; one count per bin is appended.
void hist(std::vector<int> data, const std::vector<int>& edges, std::vector<int>& counts);

// --- peak finders ------------------------------------------------------------

// Strict local maxima of an int signal; plateaus are reported at their first
// sample, the first and last samples never.  Appends to pks and locs.
void findPeaks(const std::vector<int>& x, std::vector<int>& pks, std::vector<int>& locs);

// Peaks of a double signal filtered by height, prominence and spacing, with
// their widths at half prominence.  The three outputs are replaced.
void findPeaks(const std::vector<double>& signal, int minPeakHeight, int minPeakProminence,
               int minPeakDistance, std::vector<double>& peakValues,
               std::vector<int>& peakLocations, std::vector<double>& peakWidths);

// Region-finding variant: also reports the lowest samples around each peak and
// drops peaks narrower than minWidth.  Outputs are appended to.
void findPeaksU(const std::vector<double>& y, int minPeakHeight, int minPeakProminence,
                int minPeakDistance, std::vector<double>& pks, std::vector<int>& locs,
                std::vector<int>& starts, std::vector<int>& ends, std::vector<double>& widths,
                int minWidth);

// Keeps the entries whose width reaches minWidth (all of them when minWidth is 0).
void removePeaksOutsideWidth(std::vector<int>& locs, std::vector<double>& other,
                             std::vector<double>& widths, int minWidth);

// Sign-change points (valleys and maxima alternate) of the bookended, run-compressed
// signal, as signal indices, and the maxima among them.
struct Extrema {
    std::vector<int> maxima;
    std::vector<int> inflections;
};
Extrema findExtrema(const std::vector<double>& signal);

// Base of each peak: the valley immediately before it in the inflection list
// (index 0 and height DBL_MAX when there is none).
void getLeftBase(const std::vector<double>& signal, const std::vector<int>& peaks,
                 const std::vector<int>& inflections, std::vector<int>& baseIndex,
                 std::vector<double>& baseHeight);

// Left and right base index of each peak and the larger of the two base heights.
void getPeakBase(const std::vector<double>& signal, const std::vector<int>& peaks,
                 const std::vector<int>& inflections, std::vector<double>& baseHeight,
                 std::vector<int>& leftBase, std::vector<int>& rightBase);

// Keeps the peaks whose prominence reaches the minimum, with their bases.
void removeMinPeakProminence(const std::vector<double>& signal, std::vector<int>& peaks,
                             std::vector<double>& baseHeight, std::vector<int>& leftBase,
                             std::vector<int>& rightBase, int minPeakProminence);

// Width of each peak at half prominence.
std::vector<double> getHalfMaxBounds(const std::vector<double>& signal,
                                     const std::vector<int>& peaks,
                                     const std::vector<double>& baseHeight,
                                     const std::vector<int>& leftBase,
                                     const std::vector<int>& rightBase);

int findLeftIntercept(const std::vector<double>& signal, int peak, int leftBase, double ref);
int findRightIntercept(const std::vector<double>& signal, int peak, int rightBase, double ref);
double linterp(double xa, double xb, double ya, double yb, double yc, double bc);

// Quicksort of values[lo..hi] carrying an index array (may be null).
void ucqSort(double* values, int lo, int hi, int* carried, short ascending);
// Sorts the carried indices ascending within every run of equal values.
void idxSort(double* values, int* carried, int count);

// --- run log -------------------------------------------------------------------

// Appends "[stamp]  message" to FhrScore_<date>.log in the working directory
// and echoes it to standard output.
void log(bool enabled, std::string message);

// printf-style formatting into a std::string.
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

}  // namespace utils

// Lowest samples within span of loc on either side (-1 where none qualifies).
void chick_Start_End(const std::vector<double>& y, int loc, int span, int& start, int& end);
