#include <climits>
#include <cmath>
#include <cstdint>

#include "lane_kernels.h"
#include "utils.h"

namespace utils {

namespace {

// The 254 taps of the heart-rate low-pass (symmetric; only the first 253 are used).
const double coeffslp[254] = {
    -0.0001481284525129, -5.16803397164e-05,  -6.048465284867e-05, -7.00751528713e-05,
    -8.050127493669e-05, -9.172247982878e-05, -0.0001038025737556, -0.0001167229147582,
    -0.0001305657170055, -0.0001452779719492, -0.0001608752364139, -0.0001772374755625,
    -0.0001944430473163, -0.0002124617557873, -0.0002313499052967, -0.0002507569725068,
    -0.0002709227796212, -0.0002917916005115, -0.0003130613806344, -0.0003349282249537,
    -0.0003570870290007, -0.0003795812891686, -0.0004022174118166, -0.0004249540386611,
    -0.0004475900018211, -0.0004700327461311, -0.00049210680398,   -0.0005137172583344,
    -0.0005346346209895, -0.0005546981310075, -0.0005737191693221, -0.0005915545603046,
    -0.0006078832149803, -0.0006226132661119, -0.0006354250573421, -0.0006461322296311,
    -0.0006544889186151, -0.0006602500725303, -0.0006631554952431, -0.0006629471538567,
    -0.0006593695737736, -0.0006521609727167, -0.0006410305683929, -0.0006257068395144,
    -0.0006059220705599, -0.0005813982083346, -0.0005518367920537, -0.0005169894000555,
    -0.0004765671880792, -0.0004302885093638, -0.0003779252710138, -0.0003191808494784,
    -0.000253826454913,  -0.0001815990273859, -0.0001022829927987, -1.564090105846e-05,
    7.854000963828e-05,  0.0001804642024978,  0.0002903062576582,  0.0004082504797244,
    0.0005344458704811,  0.0006690281084878,  0.0008121159902506,  0.0009638197644824,
    0.001124191288546,   0.00129331237325,    0.001471206291683,   0.001657884434602,
    0.00185333420213,    0.002057514336506,   0.002270370845426,   0.002491804609779,
    0.002721704613975,   0.002959928093214,   0.00320630699714,    0.003460638630471,
    0.003722709729099,   0.003992262582532,   0.00426901612149,    0.004552669175236,
    0.004842894865452,   0.005139319508766,   0.005441573955034,   0.005749234477892,
    0.006061880209404,   0.006379039805545,   0.006700242244011,   0.007024980192075,
    0.007352732991455,   0.007682954325996,   0.008015093250319,   0.008348563074838,
    0.008682774592482,   0.009017123134438,   0.00935099259408,    0.00968374516252,
    0.01001475274356,    0.01034336493476,    0.01066893442615,    0.01099080753137,
    0.0113083300207,     0.01162085184625,    0.01192771603693,    0.01222828317058,
    0.01252191227736,    0.01280797111179,    0.01308583761197,    0.01335491159888,
    0.01361459181928,    0.01386430477298,    0.01410349063475,    0.01433161370679,
    0.01454815026193,    0.01475261430991,    0.01494453083968,    0.01512346384553,
    0.01528899133461,    0.01544073754381,    0.01557834338402,    0.01570148718582,
    0.01580987980349,    0.01590327115807,    0.01598143340276,    0.01604418705273,
    0.01609138331197,    0.01612290986626,    0.01613869074337,    0.01613869074337,
    0.01612290986626,    0.01609138331197,    0.01604418705273,    0.01598143340276,
    0.01590327115807,    0.01580987980349,    0.01570148718582,    0.01557834338402,
    0.01544073754381,    0.01528899133461,    0.01512346384553,    0.01494453083968,
    0.01475261430991,    0.01454815026193,    0.01433161370679,    0.01410349063475,
    0.01386430477298,    0.01361459181928,    0.01335491159888,    0.01308583761197,
    0.01280797111179,    0.01252191227736,    0.01222828317058,    0.01192771603693,
    0.01162085184625,    0.0113083300207,     0.01099080753137,    0.01066893442615,
    0.01034336493476,    0.01001475274356,    0.00968374516252,    0.00935099259408,
    0.009017123134438,   0.008682774592482,   0.008348563074838,   0.008015093250319,
    0.007682954325996,   0.007352732991455,   0.007024980192075,   0.006700242244011,
    0.006379039805545,   0.006061880209404,   0.005749234477892,   0.005441573955034,
    0.005139319508766,   0.004842894865452,   0.004552669175236,   0.00426901612149,
    0.003992262582532,   0.003722709729099,   0.003460638630471,   0.00320630699714,
    0.002959928093214,   0.002721704613975,   0.002491804609779,   0.002270370845426,
    0.002057514336506,   0.00185333420213,    0.001657884434602,   0.001471206291683,
    0.00129331237325,    0.001124191288546,   0.0009638197644824,  0.0008121159902506,
    0.0006690281084878,  0.0005344458704811,  0.0004082504797244,  0.0002903062576582,
    0.0001804642024978,  7.854000963828e-05,  -1.564090105846e-05, -0.0001022829927987,
    -0.0001815990273859, -0.000253826454913,  -0.0003191808494784, -0.0003779252710138,
    -0.0004302885093638, -0.0004765671880792, -0.0005169894000555, -0.0005518367920537,
    -0.0005813982083346, -0.0006059220705599, -0.0006257068395144, -0.0006410305683929,
    -0.0006521609727167, -0.0006593695737736, -0.0006629471538567, -0.0006631554952431,
    -0.0006602500725303, -0.0006544889186151, -0.0006461322296311, -0.0006354250573421,
    -0.0006226132661119, -0.0006078832149803, -0.0005915545603046, -0.0005737191693221,
    -0.0005546981310075, -0.0005346346209895, -0.0005137172583344, -0.00049210680398,
    -0.0004700327461311, -0.0004475900018211, -0.0004249540386611, -0.0004022174118166,
    -0.0003795812891686, -0.0003570870290007, -0.0003349282249537, -0.0003130613806344,
    -0.0002917916005115, -0.0002709227796212, -0.0002507569725068, -0.0002313499052967,
    -0.0002124617557873, -0.0001944430473163, -0.0001772374755625, -0.0001608752364139,
    -0.0001452779719492, -0.0001305657170055, -0.0001167229147582, -0.0001038025737556,
    -9.172247982878e-05, -8.050127493669e-05, -7.00751528713e-05,  -6.048465284867e-05,
    -5.16803397164e-05,  -0.0001481284525129};

constexpr int kFilterTaps = 253;
constexpr int kFilterDelay = 127;
constexpr int kAverageSpan = 15;

}  // namespace

int truncate_to_int(double x) {
    // Conversion is defined only inside the int range; outside it (and for NaN)
    // the hardware answer INT_MIN is used.
    if (!(x > -2147483649.0 && x < 2147483648.0)) return INT_MIN;
    return static_cast<int>(x);
}

int round_double(double x) {
    if (x > 0.0) return truncate_to_int(std::floor(x + 0.5));
    return truncate_to_int(std::ceil(x - 0.5));
}

double sum(const std::vector<double>& values) {
    double total = 0.0;
    for (double v : values) total = total + v;
    return total;
}

// A stepped range: start, start +- step, ... while within end, then end itself.
// When the accumulated value lands exactly on end, end appears twice.  Spans whose
// integer part is 0 give nothing, and so does a count below 1 (no meaningful step).
// A step too small to move the value stops after count + 1 points.
std::vector<double> linspace(double start, double end, int count) {
    std::vector<double> points;
    const double span = std::fabs(static_cast<double>(truncate_to_int(start - end)));
    if (1e-6 > span || count < 1) return points;
    const double divisor = static_cast<double>(count - 1);
    if (start > end) {
        const double step = (start - end) / divisor;
        double x = start;
        do {
            points.push_back(x);
            x = x - step;
        } while (x >= end && points.size() <= static_cast<size_t>(count));
    } else {
        const double step = (end - start) / divisor;
        double x = start;
        do {
            points.push_back(x);
            x = x + step;
        } while (x <= end && points.size() <= static_cast<size_t>(count));
    }
    points.push_back(end);
    return points;
}

std::vector<int> makeRange(int first, int step, int last) {
    std::vector<int> range{first};
    if (step < 1) return range;
    for (int64_t x = static_cast<int64_t>(first) + step; x <= last; x += step) {
        range.push_back(static_cast<int>(x));
    }
    return range;
}

// Samples before the start of the input (window below 15) count as absent.
void moving_average(int window, const std::vector<int>& in, std::vector<int>& out) {
    out.clear();
    const int64_t n = static_cast<int64_t>(in.size());
    const int64_t head =
        std::min<int64_t>(std::max<int64_t>(static_cast<int64_t>(window) - 1, 0), n);
    out.insert(out.end(), in.begin(), in.begin() + head);
    for (int64_t i = head; i < n; ++i) {
        // 32-bit signed sum with wrap-around, as the trace's int arithmetic gives.
        uint32_t total = 0;
        for (int64_t k = 0; k < kAverageSpan && i - k >= 0; ++k) {
            total += static_cast<uint32_t>(in[i - k]);
        }
        out.push_back(static_cast<int32_t>(total) / kAverageSpan);
    }
}

// Output i sums the taps k < i only (so in[0] enters no output), outputs below
// i = 127 are dropped for the group delay, and the head (i = 127 .. 252, whose
// sums lack taps) is overwritten by output 253; the tail is padded with the
// last output.
void filterlp(const std::vector<double>& in, std::vector<double>& out) {
    out.clear();
    const int n = static_cast<int>(in.size());
    if (n < kFilterTaps + 1) return;
    const int head = kFilterTaps - kFilterDelay;  // index of output 253
    out.resize(n);
    firOutputs(coeffslp, kFilterTaps, in.data(), kFilterTaps, n, out.data() + head);
    std::fill(out.begin(), out.begin() + head, out[head]);
    std::fill(out.end() - kFilterDelay, out.end(), out[n - 1 - kFilterDelay]);
}

int cmp(const void* a, const void* b) {
    const uint32_t x = static_cast<uint32_t>(*static_cast<const int*>(a));
    const uint32_t y = static_cast<uint32_t>(*static_cast<const int*>(b));
    return static_cast<int32_t>(x - y);
}

}  // namespace utils
