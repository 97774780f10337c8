// A host that runs the library for weeks: many consecutive runs of all four
// methods must leave resident memory flat, apart from the arrays the getters
// hand out (kept for the life of the process by design), and must not leak
// file descriptors.  CTGSCORE_LONG_USE_RUNS sets the number of rounds.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "ctgscore.h"
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

using testing_support::clearLog;

int roundsWanted() {
    const char* text = std::getenv("CTGSCORE_LONG_USE_RUNS");
    const int rounds = text != nullptr ? std::atoi(text) : 0;
    return rounds > 0 ? rounds : (kQuarantinedHeap ? 50 : 300);
}

long residentBytes() {
    std::ifstream statm("/proc/self/statm");
    long size = 0, resident = 0;
    statm >> size >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

long openDescriptors() {
    long count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        (void)entry;
        ++count;
    }
    return count;
}

// Sends the library's echo of the log to /dev/null for the lifetime of the object.
class QuietStdout {
public:
    QuietStdout() : saved_(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    ~QuietStdout() {
        std::fflush(stdout);
        dup2(saved_, STDOUT_FILENO);
        close(saved_);
    }
    QuietStdout(const QuietStdout&) = delete;
    QuietStdout& operator=(const QuietStdout&) = delete;

private:
    int saved_;
};

// A monitor analyses a recording that changes from call to call: each round
// changes one sample, so no run can be served a curve kept from an earlier one.
const testing_support::SyntheticRecording& nextRecording() {
    static testing_support::SyntheticRecording rec = testing_support::syntheticRecording(20 * 60 * 4);
    static size_t round = 0;
    const size_t t = (round++ * 7919) % rec.fhr.size();
    rec.fhr[t] ^= 1;
    rec.uc[t] ^= 1;
    return rec;
}

void runAllMethods() {
    const auto& r = nextRecording();
    const int n = r.length();
    QK4_calFhrKrebs(r.fhr.data(), r.fm.data(), n, r.rate);
    QK4_calFhrFischer2(r.fhr.data(), r.uc.data(), r.fm.data(), n, r.rate);
    QK4_calFhrAcog(r.fhr.data(), r.uc.data(), r.fm.data(), n, r.rate);
    QK4_calFhrUC(r.fhr.data(), r.uc.data(), r.fm.data(), n, r.rate);
}

long listBytes(const QK4_FhrLocation* location) {
    return sizeof(int) * static_cast<long>(location->accelerationStarts.count +
                                           location->accelerationEnds.count +
                                           location->decelerationStarts.count +
                                           location->decelerationEnds.count);
}

// Calls all eight getters; returns the bytes of the arrays they handed out.
long callAllGetters() {
    // Every getter refills the one shared export record: read it before the next call.
    long bytes = 0;
    for (auto getter : {QK4_getKrebsLocation, QK4_getFischer2Location, QK4_getUCLocation}) {
        bytes += listBytes(getter());
    }
    bytes += listBytes(QK4_getAcogLocation());
    for (auto getter : {QK4_getKrebsBaseline, QK4_getFischer2Baseline, QK4_getUCBaseline}) {
        bytes += sizeof(double) * static_cast<long>(getter()->count);
    }
    bytes += sizeof(double) * static_cast<long>(QK4_getAcogBaseline()->count);
    return bytes;
}

// Growth of resident memory and descriptors over `rounds` rounds of `round`,
// measured after a warm-up that lets the allocator reach its working size.
struct Growth {
    long residentBytes = 0;
    long descriptors = 0;
    long retainedBytes = 0;  // what the rounds' getters handed out
};

template <class Round>
Growth measure(int rounds, Round round) {
    QuietStdout quiet;
    for (int k = 0; k < 20; ++k) round();
    clearLog();
    const long residentBefore = residentBytes();
    const long descriptorsBefore = openDescriptors();
    Growth growth;
    for (int k = 0; k < rounds; ++k) {
        growth.retainedBytes += round();
        clearLog();  // the daily log would otherwise grow by a few kB a round
    }
    growth.residentBytes = residentBytes() - residentBefore;
    growth.descriptors = openDescriptors() - descriptorsBefore;
    return growth;
}

// Slack for allocator bookkeeping, page granularity and heap fragmentation.
constexpr long kSlackBytes = 4L << 20;

TEST(LongUse, RunsKeepResidentMemoryAndDescriptorsFlat) {
    const int rounds = roundsWanted();
    const Growth growth = measure(rounds, [] {
        runAllMethods();
        return 0L;
    });
    std::fprintf(stderr, "%d rounds without getters: resident growth %ld bytes\n", rounds,
                 growth.residentBytes);
    if (!kQuarantinedHeap) {
        EXPECT_LT(growth.residentBytes, kSlackBytes);
    }
    EXPECT_EQ(growth.descriptors, 0);
}

// Every getter call keeps its arrays: the growth must be theirs and no more
// (each array also costs the allocator a header and the library a pointer).
TEST(LongUse, GettersGrowOnlyByTheArraysTheyHandOut) {
    const int rounds = roundsWanted();
    const Growth growth = measure(rounds, [] {
        runAllMethods();
        return callAllGetters();
    });
    const long arrays = 20L * rounds;  // four lists and one curve per getter pair
    const long overhead = arrays * 48;
    std::fprintf(stderr,
                 "%d rounds with getters: resident growth %ld bytes, arrays handed out %ld bytes "
                 "(%ld per round)\n",
                 rounds, growth.residentBytes, growth.retainedBytes, growth.retainedBytes / rounds);
    if (!kQuarantinedHeap) {
        EXPECT_LT(growth.residentBytes, growth.retainedBytes + overhead + kSlackBytes);
    }
    EXPECT_EQ(growth.descriptors, 0);
}

}  // namespace
