#include "dispatch.h"

namespace dispatch {

namespace {

DispatchLevel detectLevel() {
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f")) return DispatchLevel::Avx512;
    if (__builtin_cpu_supports("avx2")) return DispatchLevel::Avx2;
    return DispatchLevel::Baseline;
}

DispatchLevel& chosen() {
    static DispatchLevel level = detected();
    return level;
}

}  // namespace

DispatchLevel detected() {
    static const DispatchLevel level = detectLevel();
    return level;
}

std::vector<DispatchLevel> available() {
    std::vector<DispatchLevel> levels;
    for (DispatchLevel level :
         {DispatchLevel::Avx512, DispatchLevel::Avx2, DispatchLevel::Baseline}) {
        if (static_cast<int>(level) <= static_cast<int>(detected())) levels.push_back(level);
    }
    return levels;
}

DispatchLevel active() { return chosen(); }

bool force(DispatchLevel level) {
    if (static_cast<int>(level) > static_cast<int>(detected())) return false;
    chosen() = level;
    return true;
}

void useDetected() { chosen() = detected(); }

const char* name(DispatchLevel level) {
    switch (level) {
        case DispatchLevel::Avx512:
            return "AVX-512";
        case DispatchLevel::Avx2:
            return "AVX2";
        case DispatchLevel::Baseline:
            break;
    }
    return "x86-64 baseline";
}

}  // namespace dispatch
