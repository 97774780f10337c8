// A C++ host built against the installed library: reaches all four methods,
// the ACOG ones through their C++ names.
#include <ctgscore.h>

#include <cstdio>
#include <vector>

int main() {
    constexpr int rate = 4, samples = 10 * 60 * rate;
    const std::vector<int> fhr(samples, 140), toco(samples, 10), marks(samples / rate, 0);
    int failures = 0;
    auto check = [&failures](bool condition, const char* what) {
        if (!condition) std::fprintf(stderr, "consumer: FAILED: %s\n", what);
        failures += condition ? 0 : 1;
    };

    const int* words = QK4_calFhrAcog(fhr.data(), toco.data(), marks.data(), samples, rate);
    check(words[35] == 140 && words[32] == 1 && words[33] == 1 && words[34] == 0, "ACOG run");
    check(QK4_getAcogBaseline()->count == samples, "ACOG baseline curve");
    check(QK4_getAcogLocation()->accelerationStarts.count == 0, "ACOG finds no acceleration");
    words = QK4_calFhrKrebs(fhr.data(), marks.data(), samples, rate);
    check(words[0] != -1 && words[35] == 140, "Krebs run");
    words = QK4_calFhrFischer2(fhr.data(), toco.data(), marks.data(), samples, rate);
    check(words[0] != -1 && words[6] == -1, "Fischer run");
    words = QK4_calFhrUC(fhr.data(), toco.data(), marks.data(), samples, rate);
    check(words[3] == 140, "contraction method run");
    check(QK4_getParameter()->accMinSpacing == 120, "default parameters");

    if (failures == 0) std::printf("consumer: all checks passed\n");
    return failures == 0 ? 0 : 1;
}
