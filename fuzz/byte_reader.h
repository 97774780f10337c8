// Reads fuzzer input front to back.  Once the bytes run out every read gives
// 0, so any input decodes to a complete, valid call sequence.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

class ByteReader {
public:
    ByteReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    bool empty() const { return position_ >= size_; }

    uint8_t byte() { return empty() ? 0 : data_[position_++]; }

    uint16_t u16() {
        const uint16_t low = byte();
        return static_cast<uint16_t>(low | (byte() << 8));
    }

    int32_t i32() {
        uint32_t value = 0;
        for (int shift = 0; shift < 32; shift += 8) value |= static_cast<uint32_t>(byte()) << shift;
        int32_t result;
        std::memcpy(&result, &value, sizeof result);
        return result;
    }

    double f64() {
        uint64_t bits = 0;
        for (int shift = 0; shift < 64; shift += 8) bits |= static_cast<uint64_t>(byte()) << shift;
        double result;
        std::memcpy(&result, &bits, sizeof result);
        return result;
    }

    // An int that is mostly small and in [lo, hi], sometimes one of the values
    // that break careless arithmetic, sometimes any 32-bit value.
    int intAround(int lo, int hi) {
        const uint8_t selector = byte();
        if (selector < 192) {
            const int64_t span = static_cast<int64_t>(hi) - lo + 1;
            return static_cast<int>(lo + static_cast<int64_t>(u16()) % span);
        }
        static const int kEdges[] = {0, -1, 1, INT_MIN, INT_MAX, INT_MIN + 1, INT_MAX - 1,
                                     -1000000, 1000000, 1 << 24};
        const int edgeCount = static_cast<int>(sizeof kEdges / sizeof kEdges[0]);
        if (selector < 192 + edgeCount) return kEdges[selector - 192];
        if (selector == 255) return i32();
        return lo - 1 - (selector & 7);  // just below the range
    }

private:
    const uint8_t* data_;
    size_t size_;
    size_t position_ = 0;
};
