// A C++ host built against the installed library: reaches the four methods and
// their getters, the ACOG ones through their C++ names (what they find is the
// library tests' business).
#include <ctgscore.h>

#include <cstdio>
#include <vector>

int main() {
    constexpr int rate = 4, samples = 10 * 60 * rate;
    const std::vector<int> fhr(samples, 140), toco(samples, 10), marks(samples / rate, 0);
    const bool reached =
        QK4_calFhrAcog(fhr.data(), toco.data(), marks.data(), samples, rate)[35] == 140 &&
        QK4_getAcogBaseline()->count == samples &&
        QK4_getAcogLocation()->accelerationStarts.count == 0 &&
        QK4_calFhrKrebs(fhr.data(), marks.data(), samples, rate)[0] != -1 &&
        QK4_calFhrFischer2(fhr.data(), toco.data(), marks.data(), samples, rate)[0] != -1 &&
        QK4_calFhrUC(fhr.data(), toco.data(), marks.data(), samples, rate)[3] == 140 &&
        QK4_getParameter()->accMinSpacing == 120;
    std::puts(reached ? "consumer: all checks passed" : "consumer: FAILED: a run or getter");
    return reached ? 0 : 1;
}
