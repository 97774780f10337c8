// FHRMA .fhr files: a 4-byte little-endian start time, then 6-byte samples at
// 4 Hz (two heart-rate channels in quarter beats, toco in half units, status).
#include <algorithm>

#include "file_io.h"
#include "readers.h"

namespace ctgio {

namespace {

constexpr std::size_t kHeaderBytes = 4;
constexpr std::size_t kSampleBytes = 6;
constexpr int kFhrmaRate = 4;

unsigned byteAt(const std::string& bytes, std::size_t offset) {
    return static_cast<unsigned char>(bytes[offset]);
}

unsigned littleEndian16(const std::string& bytes, std::size_t offset) {
    return byteAt(bytes, offset) | byteAt(bytes, offset + 1) << 8;
}

std::uint32_t littleEndian32(const std::string& bytes, std::size_t offset) {
    return littleEndian16(bytes, offset) |
           static_cast<std::uint32_t>(littleEndian16(bytes, offset + 2)) << 16;
}

unsigned pickChannel(unsigned first, unsigned second, ctgio_channel channel) {
    switch (channel) {
        case CTGIO_CHANNEL_SECOND:
            return second;
        case CTGIO_CHANNEL_MAXIMUM:
            return std::max(first, second);
        default:
            return first;
    }
}

void checkSize(const std::string& path, std::size_t size) {
    if (size < kHeaderBytes) {
        throw InputError(
            path, "truncated: " + std::to_string(size) + " bytes, shorter than the 4-byte header");
    }
    if ((size - kHeaderBytes) % kSampleBytes != 0) {
        throw InputError(path, "truncated: " + std::to_string(size - kHeaderBytes) +
                                   " bytes after the header are not a whole number of "
                                   "6-byte samples");
    }
    if (size == kHeaderBytes) throw InputError(path, "no samples after the header");
}

}  // namespace

Recording readFhrma(const std::string& path, ctgio_channel channel) {
    const std::string bytes = readWholeFile(path);
    checkSize(path, bytes.size());
    Recording recording;
    recording.rate = kFhrmaRate;
    if (const std::uint32_t start = littleEndian32(bytes, 0); start != 0) {
        recording.startTime = start;
    }
    const std::size_t samples = (bytes.size() - kHeaderBytes) / kSampleBytes;
    recording.fhr.reserve(samples);
    recording.uc.reserve(samples);
    for (std::size_t i = 0; i < samples; ++i) {
        const std::size_t at = kHeaderBytes + i * kSampleBytes;
        const unsigned quarterBeats =
            pickChannel(littleEndian16(bytes, at), littleEndian16(bytes, at + 2), channel);
        recording.fhr.push_back(static_cast<int>((quarterBeats + 2) / 4));  // halves round up
        recording.uc.push_back(static_cast<int>((byteAt(bytes, at + 4) + 1) / 2));
    }
    recording.fm.assign(samples, 0);  // the format has no movement channel
    return recording;
}

}  // namespace ctgio
