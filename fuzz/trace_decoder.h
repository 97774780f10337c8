// Decodes compact fuzzer input into long traces, so that a few bytes describe
// a recording of many minutes and mutations change its shape, not just noise.
//
// A trace section is one count byte N followed by N segments of three bytes:
//   value code   mapped by the trace's ValueMap to a sample value
//   run          < 128: 1 + run samples; otherwise (run - 127) * 32 samples
//   shape        bit 7: ramp from the previous value to this one over the run;
//                bits 0-2: jitter amplitude, bits 3-6: jitter half-period - 1
// When the segments do not fill the trace, what they produced is repeated; a
// section without segments gives a constant trace of the map's resting value.
#pragma once

#include <climits>
#include <cstdint>
#include <vector>

#include "byte_reader.h"

struct ValueMap {
    int (*value)(uint8_t code, ByteReader& in);
    int resting;
};

namespace trace_values {

// Heart rate: 50..249 bpm (both invalid margins included) or a special value.
inline int heartRate(uint8_t code, ByteReader& in) {
    if (code < 200) return 50 + code;
    static const int kSpecial[] = {0, -1, 59, 60, 210, 211, 300, INT_MIN, INT_MAX, 1000};
    const unsigned index = code - 200u;
    if (index < sizeof kSpecial / sizeof kSpecial[0]) return kSpecial[index];
    return in.i32();
}

// Toco: 0..179 or one of the values the contraction baseline treats specially.
inline int toco(uint8_t code, ByteReader& in) {
    if (code < 180) return code;
    static const int kSpecial[] = {0,   -1,  -50,     99,      100,  101, 299,
                                   300, 301, INT_MIN, INT_MAX, 1000, 20000};
    const unsigned index = code - 180u;
    if (index < sizeof kSpecial / sizeof kSpecial[0]) return kSpecial[index];
    return in.i32();
}

// Movement words: every value 0..15, the two mark bits alone, and odd words.
inline int movement(uint8_t code, ByteReader& in) {
    if (code < 16) return code;
    if (code < 128) return 0;
    static const int kSpecial[] = {4, 8, 12, -1, INT_MIN, INT_MAX, 0x7FFFFFF4, 0x104, 0x108};
    const unsigned index = code - 128u;
    if (index < sizeof kSpecial / sizeof kSpecial[0]) return kSpecial[index];
    return in.i32();
}

}  // namespace trace_values

inline const ValueMap kHeartRateMap{trace_values::heartRate, 140};
inline const ValueMap kTocoMap{trace_values::toco, 10};
inline const ValueMap kMovementMap{trace_values::movement, 0};

// Appends one segment of `run` samples that ends at `target`.
inline void appendSegment(std::vector<int>& trace, size_t length, int target, size_t run,
                          uint8_t shape) {
    const int64_t from = trace.empty() ? target : trace.back();
    const bool ramp = (shape & 0x80) != 0;
    const int jitter = shape & 7;
    const size_t halfPeriod = 1 + ((shape >> 3) & 15);
    for (size_t k = 0; k < run && trace.size() < length; ++k) {
        int64_t value = target;
        if (ramp) value = from + (static_cast<int64_t>(target) - from) * int64_t(k + 1) / int64_t(run);
        if (jitter != 0) value += (k / halfPeriod) % 2 == 0 ? jitter : -jitter;
        if (value > INT_MAX) value = INT_MAX;
        if (value < INT_MIN) value = INT_MIN;
        trace.push_back(static_cast<int>(value));
    }
}

inline std::vector<int> decodeTrace(ByteReader& in, size_t length, const ValueMap& map) {
    std::vector<int> trace;
    trace.reserve(length);
    const int segments = in.byte();
    for (int s = 0; s < segments; ++s) {
        const uint8_t code = in.byte();
        const int target = map.value(code, in);
        const uint8_t runCode = in.byte();
        const size_t run = runCode < 128 ? 1u + runCode : (runCode - 127u) * 32u;
        appendSegment(trace, length, target, run, in.byte());
    }
    if (trace.empty()) return std::vector<int>(length, map.resting);
    for (size_t k = 0; trace.size() < length; ++k) trace.push_back(trace[k]);
    return trace;
}
