// A host that runs the library for weeks: many consecutive runs of all four
// methods must leave resident memory flat, apart from the arrays the getters
// hand out (kept for the life of the process by design), and must not leak
// file descriptors.  CTGSCORE_LONG_USE_RUNS sets the number of rounds.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "exported_methods.h"
#include "synthetic_recording.h"
#include "test_support.h"

// AddressSanitizer holds freed memory back in a quarantine, so resident memory
// says nothing about leaks there; its own leak check covers that build.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kQuarantinedHeap = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kQuarantinedHeap = true;
#else
constexpr bool kQuarantinedHeap = false;
#endif
#else
constexpr bool kQuarantinedHeap = false;
#endif

namespace {

long residentBytes() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

long openDescriptors() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries));
}

// One round: all four methods on a recording that changes by one sample from
// round to round, as a monitor's would, so no run can be served a curve kept
// from an earlier one, and all eight getters.  Returns the bytes of the arrays
// the getters handed out.
long runRound() {
    static testing_support::SyntheticRecording rec =
        testing_support::syntheticRecording(20 * 60 * 4);
    static size_t round = 0;
    const size_t t = (round++ * 7919) % rec.fhr.size();
    rec.fhr[t] ^= 1;
    rec.uc[t] ^= 1;
    long bytes = 0;
    for (const auto& method : testing_support::kExportedMethods) {
        method.run(rec.fhr.data(), rec.uc.data(), rec.fm.data(), rec.length(), rec.rate);
        // Each getter refills the one shared export record: read it before the next call.
        const QK4_FhrLocation& l = *method.location();
        for (const QK4_FhrList& list :
             {l.accelerationStarts, l.accelerationEnds, l.decelerationStarts, l.decelerationEnds}) {
            bytes += sizeof(int) * static_cast<long>(list.count);
        }
        bytes += sizeof(double) * static_cast<long>(method.baseline()->count);
    }
    return bytes;
}

// Every getter call keeps its arrays: the growth over the rounds, measured
// after a warm-up that lets the allocator reach its working size, must be
// theirs and no more (each array also costs the allocator a header and the
// library a pointer, and the heap some slack).
TEST(LongUse, MemoryGrowsOnlyByTheArraysTheGettersHandOutAndNoDescriptorLeaks) {
    const char* wanted = std::getenv("CTGSCORE_LONG_USE_RUNS");
    const int rounds =
        wanted && std::atoi(wanted) > 0 ? std::atoi(wanted) : (kQuarantinedHeap ? 50 : 300);
    testing::internal::CaptureStdout();  // the library echoes every log line
    for (int k = 0; k < 20; ++k) runRound();
    testing_support::clearLog();
    const long residentBefore = residentBytes();
    const long descriptorsBefore = openDescriptors();
    long retained = 0;
    for (int k = 0; k < rounds; ++k) {
        retained += runRound();
        testing_support::clearLog();  // the daily log would otherwise grow by a few kB a round
    }
    const long growth = residentBytes() - residentBefore;
    const long descriptors = openDescriptors() - descriptorsBefore;
    testing::internal::GetCapturedStdout();
    std::fprintf(stderr, "%d rounds: resident growth %ld bytes, arrays handed out %ld bytes\n",
                 rounds, growth, retained);
    const long overhead = 20L * rounds * 48, slack = 4L << 20;  // 20 arrays a round
    if (!kQuarantinedHeap) {
        EXPECT_LT(growth, retained + overhead + slack);
    }
    EXPECT_EQ(descriptors, 0);
}

}  // namespace
