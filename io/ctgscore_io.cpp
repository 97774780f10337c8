// The C interface: checks the arguments, runs the readers and hands the
// result over in malloc'ed memory.  No exception leaves these functions.
#include "ctgscore_io.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "readers.h"

namespace {

using ctgio::InputError;

constexpr char kNoPath[] = "(null)";

template <typename T>
T* allocate(std::size_t count) {
    void* memory = std::calloc(count == 0 ? 1 : count, sizeof(T));
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<T*>(memory);
}

int* copyOf(const std::vector<int>& values) {
    int* copy = allocate<int>(values.size());
    if (!values.empty()) std::memcpy(copy, values.data(), values.size() * sizeof(int));
    return copy;
}

char* copyOf(const std::string& text) {
    char* copy = allocate<char>(text.size() + 1);
    std::memcpy(copy, text.data(), text.size());
    return copy;
}

void checkOptions(const char* path, const ctgio_options& options) {
    if (options.csv_rate < 1) {
        throw InputError(
            path,
            "csv_rate " + std::to_string(options.csv_rate) + " is not 1 or more samples per second",
            CTGIO_ERROR_ARGUMENT);
    }
    if (options.fhr_channel < CTGIO_CHANNEL_FIRST || options.fhr_channel > CTGIO_CHANNEL_MAXIMUM) {
        throw InputError(
            path,
            "fhr_channel " + std::to_string(options.fhr_channel) + " is not 1, 2 or 3 (maximum)",
            CTGIO_ERROR_ARGUMENT);
    }
}

ctgio_recording* toC(const ctgio::Recording& read) {
    if (read.fhr.size() > INT_MAX) throw InputError(read.path, "too many samples");
    std::unique_ptr<ctgio_recording, decltype(&ctgio_free)> recording(allocate<ctgio_recording>(1),
                                                                      &ctgio_free);
    recording->format = read.format;
    recording->rate = read.rate;
    recording->samples = static_cast<int>(read.fhr.size());
    recording->fhr = copyOf(read.fhr);
    recording->uc = copyOf(read.uc);
    recording->fm = copyOf(read.fm);
    recording->seconds = recording->samples / read.rate;
    recording->movement_words = allocate<int>(recording->seconds);
    ctgio_movement_words(recording->fm, recording->samples, read.rate, recording->movement_words);
    recording->has_start_time = read.startTime.has_value();
    recording->start_time = read.startTime.value_or(0);
    recording->name = copyOf(read.name);
    recording->path = copyOf(read.path);
    return recording.release();
}

// Copies the message, cut short at a character boundary when it does not fit.
void report(ctgio_error* error, ctgio_status code, const std::string& message,
            std::size_t fileLength) {
    if (error == nullptr) return;
    error->code = code;
    std::size_t length = std::min(message.size(), sizeof error->message - 1);
    if (length < message.size()) {
        while (length > 0 && (static_cast<unsigned char>(message[length]) & 0xC0) == 0x80) --length;
    }
    std::memcpy(error->message, message.data(), length);
    error->message[length] = '\0';
    error->file_length = static_cast<int>(std::min(fileLength, length));
}

}  // namespace

extern "C" {

ctgio_options ctgio_default_options(void) { return ctgio_options{4, CTGIO_CHANNEL_FIRST}; }

int ctgio_detect(const char* path) {
    if (path == nullptr) return CTGIO_FORMAT_UNKNOWN;
    try {
        return ctgio::detectFormat(path);
    } catch (...) {
        return CTGIO_FORMAT_UNKNOWN;
    }
}

ctgio_recording* ctgio_read(const char* path, const ctgio_options* options, ctgio_error* error) {
    const std::string shownPath = path != nullptr ? path : kNoPath;
    try {
        if (path == nullptr) throw InputError(kNoPath, "no file given", CTGIO_ERROR_ARGUMENT);
        const ctgio_options chosen = options != nullptr ? *options : ctgio_default_options();
        checkOptions(path, chosen);
        ctgio_recording* recording = toC(ctgio::readRecording(path, chosen));
        report(error, CTGIO_OK, "", 0);
        return recording;
    } catch (const InputError& problem) {
        report(error, problem.status(), problem.what(), problem.fileLength());
    } catch (const std::bad_alloc&) {
        report(error, CTGIO_ERROR_NO_MEMORY, shownPath + ": out of memory", shownPath.size());
    } catch (const std::exception& problem) {
        report(error, CTGIO_ERROR_UNREADABLE, shownPath + ": " + problem.what(), shownPath.size());
    } catch (...) {
        report(error, CTGIO_ERROR_UNREADABLE, shownPath + ": unexpected error",
               shownPath.size());
    }
    return nullptr;
}

int ctgio_movement_words(const int* fm, int samples, int rate, int* words) {
    if (fm == nullptr || words == nullptr || samples < 0 || rate < 1) return -1;
    const int seconds = samples / rate;
    for (int second = 0; second < seconds; ++second) {
        int word = 0;
        for (int k = 0; k < rate; ++k) word |= fm[second * rate + k];
        words[second] = word;
    }
    return seconds;
}

void ctgio_free(ctgio_recording* recording) {
    if (recording == nullptr) return;
    for (int* values : {recording->fhr, recording->uc, recording->fm, recording->movement_words}) {
        std::free(values);
    }
    std::free(recording->name);
    std::free(recording->path);
    std::free(recording);
}

}  // extern "C"
