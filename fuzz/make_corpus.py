#!/usr/bin/env python3
"""Writes the seed corpus of the two fuzz targets: small generated recordings
and stage inputs in the byte layout that fuzz_interface.cpp and
fuzz_stages.cpp decode (see byte_reader.h and trace_decoder.h).

Usage: make_corpus.py [output-folder]   (default: the corpus/ folder beside it)
"""
import os
import struct
import sys

INT_MIN, INT_MAX = -2**31, 2**31 - 1
DEFAULTS = [4, 3, 17, 17, 120, 18, 18, 120, 6, 6, 24, 15, 10, 10, 60, 1, 300]
RANGES = [(2, 10), (1, 5), (15, 20), (15, 20), (30, 600), (10, 20), (10, 20), (30, 600),
          (5, 15), (5, 15), (20, 600), (10, 35), (5, 15), (5, 15), (20, 600), (0, 2),
          (300, 1800)]
EDGES = [0, -1, 1, INT_MIN, INT_MAX, INT_MIN + 1, INT_MAX - 1, -1000000, 1000000, 1 << 24]
RATES = [0, -1, -4, INT_MIN, INT_MAX, 16, 60, 240, 35791394, 35791395, 7158278, 7158279,
         1 << 30, 100000]


def u16(value):
    return struct.pack("<H", value & 0xFFFF)


def i32(value):
    return struct.pack("<i", value)


def int_around(value, lo, hi):
    """ByteReader::intAround encoding of value for the range [lo, hi]."""
    if lo <= value <= hi and value - lo < 65536:
        return bytes([0]) + u16(value - lo)
    if value in EDGES:
        return bytes([192 + EDGES.index(value)])
    return bytes([255]) + i32(value)


# --- trace sections ----------------------------------------------------------

def run_code(samples):
    if samples <= 128:
        return max(samples, 1) - 1
    return min(127 + round(samples / 32), 255)


def shape(ramp=False, jitter=0, half_period=1):
    return (0x80 if ramp else 0) | (min(half_period, 16) - 1) << 3 | (jitter & 7)


def section(segments):
    """segments: (code bytes, samples, shape byte)."""
    out = bytes([len(segments)])
    for code, samples, form in segments:
        out += code + bytes([run_code(samples), form])
    return out


def fhr_code(bpm):
    special = {0: 200, -1: 201, INT_MIN: 207, INT_MAX: 208, 1000: 209}
    if bpm in special:
        return bytes([special[bpm]])
    if 50 <= bpm <= 249:
        return bytes([bpm - 50])
    return bytes([255]) + i32(bpm)


def toco_code(value):
    special = [0, -1, -50, 99, 100, 101, 299, 300, 301, INT_MIN, INT_MAX, 1000, 20000]
    if 0 <= value < 180:
        return bytes([value])
    if value in special:
        return bytes([180 + special.index(value)])
    return bytes([255]) + i32(value)


def fm_code(word):
    special = [4, 8, 12, -1, INT_MIN, INT_MAX, 0x7FFFFFF4, 0x104, 0x108]
    if 0 <= word < 16:
        return bytes([word])
    return bytes([128 + special.index(word)])


def heart_rate(rate, base=140, accelerations=2, decelerations=1):
    """A beating trace with ramps up and down; segments repeat to fill."""
    beat = shape(jitter=5, half_period=3 * rate)
    calm = 60 * rate
    segments = [(fhr_code(base), calm, beat)]
    for _ in range(accelerations):
        segments += [(fhr_code(base + 25), 10 * rate, shape(ramp=True, jitter=2)),
                     (fhr_code(base + 25), 15 * rate, beat),
                     (fhr_code(base), 10 * rate, shape(ramp=True, jitter=2)),
                     (fhr_code(base), calm, beat)]
    for _ in range(decelerations):
        segments += [(fhr_code(base - 35), 15 * rate, shape(ramp=True, jitter=1)),
                     (fhr_code(base), 20 * rate, shape(ramp=True, jitter=1)),
                     (fhr_code(base), calm, beat)]
    return section(segments)


def toco(rate, rest=12, peak=70):
    contraction = [(toco_code(rest), 90 * rate, shape(jitter=1, half_period=8)),
                   (toco_code(peak), 30 * rate, shape(ramp=True)),
                   (toco_code(rest), 30 * rate, shape(ramp=True))]
    return section(contraction * 2)


def movements(marks=((30, 4), (200, 8), (500, 12))):
    segments, second = [], 0
    for at, word in marks:
        segments += [(fm_code(0), at - second, 0), (fm_code(word), 1, 0)]
        second = at + 1
    return section(segments)


# --- fuzz_interface seeds ------------------------------------------------------

RUN = {"krebs": 0, "fischer": 1, "acog": 2, "uc": 3}
LOCATION = {m: 8 + i for m, i in RUN.items()}
BASELINE = {m: 12 + i for m, i in RUN.items()}
SHOW_PARAMETERS, NULL_PARAMETERS = 16, 136
EVERYTHING = [0, 8, 12, 1, 9, 13, 2, 10, 14, 3, 11, 15]


def rate_selector(rate):
    return bytes([rate - 1]) if 1 <= rate <= 8 else bytes([200 + RATES.index(rate)])


def parameters(fields=None, mode=None):
    if mode is not None:
        return bytes([mode])
    return bytes([128]) + b"".join(int_around(v, lo, hi) for v, (lo, hi) in zip(fields, RANGES))


def interface_seed(rate=4, length=None, length_mode=0, nulls=0, params=None, actions=None,
                   fhr=None, uc=None, fm=None, minutes=10):
    actual_rate = rate if rate >= 1 else 4
    length = minutes * 60 * actual_rate if length is None else length
    actions = EVERYTHING if actions is None else actions
    return (rate_selector(rate) + bytes([length_mode]) + u16(min(length, 4096)) +
            bytes([nulls]) + (params or parameters(mode=64)) +
            bytes([len(actions) - 1]) + bytes(actions) +
            (fhr if fhr is not None else heart_rate(actual_rate)) +
            (uc if uc is not None else toco(actual_rate)) +
            (fm if fm is not None else movements()))


def interface_seeds():
    seeds = {
        "rec_10min_4hz": interface_seed(),
        "rec_17min_4hz": interface_seed(minutes=17),
        "rec_5min_4hz_fischer": interface_seed(minutes=5, actions=[1, 9, 13]),
        "rec_30min_2hz": interface_seed(rate=2, minutes=30),
        "rec_60min_1hz": interface_seed(rate=1, minutes=60),
        "rec_8min_8hz": interface_seed(rate=8, minutes=8),
        "rec_3min_3hz_odd_length": interface_seed(rate=3, length=3 * 180 + 2),
        "len_minute_minus_one": interface_seed(length_mode=252),
        "len_minute": interface_seed(length_mode=253),
        "len_five_minutes_minus_one": interface_seed(length_mode=254),
        "len_five_minutes": interface_seed(length_mode=255),
        "len_negative": interface_seed(length_mode=251),
        "rate_zero": interface_seed(rate=0),
        "rate_negative": interface_seed(rate=-4),
        "rate_overflow_minute": interface_seed(rate=35791395),
        "rate_overflow_five_minutes": interface_seed(rate=7158279),
        "rate_sixteen": interface_seed(rate=16, minutes=4),
        "null_fhr": interface_seed(nulls=1),
        "null_uc": interface_seed(nulls=2),
        "null_fm": interface_seed(nulls=4),
        "params_unset": interface_seed(params=parameters(mode=0), actions=[16, 0, 8, 136, 1]),
        "params_limits_low": interface_seed(params=parameters([lo for lo, _ in RANGES])),
        "params_limits_high": interface_seed(params=parameters([hi for _, hi in RANGES])),
        "params_outside": interface_seed(
            params=parameters([lo - 1 if i % 2 else hi + 1 for i, (lo, hi) in enumerate(RANGES)]),
            actions=[16, 0, 1, 2, 3, 136]),
        "params_extremes": interface_seed(
            params=parameters([INT_MIN if i % 2 else INT_MAX for i in range(17)])),
        "fhr_all_invalid": interface_seed(fhr=section([(fhr_code(0), 4096, 0)])),
        "fhr_alternating_invalid": interface_seed(
            fhr=section([(fhr_code(55), 1, 0), (fhr_code(240), 1, 0)])),
        "fhr_limits": interface_seed(fhr=section([(fhr_code(59), 200, 0), (fhr_code(60), 400, 0),
                                                  (fhr_code(210), 400, 0), (fhr_code(211), 200, 0)])),
        "fhr_int_limits": interface_seed(fhr=section([(fhr_code(INT_MIN), 50, 0),
                                                      (fhr_code(140), 1000, shape(jitter=4)),
                                                      (fhr_code(INT_MAX), 50, 0)])),
        "toco_extremes": interface_seed(uc=section(
            [(toco_code(v), 64, 0) for v in (0, -1, 99, 100, 101, 299, 300, 301, INT_MIN, INT_MAX)]
            + [(toco_code(12), 1024, 0)])),
        "fm_every_word": interface_seed(fm=section(
            [(fm_code(w), 1, 0) for w in list(range(16)) + [-1, INT_MIN, INT_MAX]]
            + [(fm_code(0), 40, 0)])),
        "getters_only": interface_seed(actions=[8, 9, 10, 11, 12, 13, 14, 15, 16]),
    }
    return seeds


# --- fuzz_stages seeds ------------------------------------------------------------

def int_trace(values_section, length, mode=100):
    """intTrace: mode (100 = heart-rate values), length code, section."""
    length_code = bytes([length]) if length < 224 else bytes([255]) + u16(length)
    return bytes([mode]) + length_code + values_section


def toco_trace(length):
    return int_trace(toco(1), length, mode=170)


def double_trace(values_section, length, mode=100):
    return bytes([0]) + int_trace(values_section, length, mode) + bytes([0])


def positions(values, n):
    return bytes([len(values)]) + b"".join(int_around(v, -2, n + 2) for v in values)


def configure(rate=4):
    return b"".join(int_around(v, lo, hi) for v, (lo, hi) in zip(DEFAULTS, RANGES)) + \
        int_around(rate, 1, 8)


def stage_seeds():
    beating = heart_rate(1)
    seeds = {
        "int_peaks": bytes([0]) + int_trace(beating, 200),
        "double_peaks": bytes([1]) + double_trace(beating, 600) + int_around(5, -5, 20) +
        int_around(5, 0, 20) + int_around(30, 0, 200),
        "region_peaks": bytes([2]) + double_trace(beating, 600) + int_around(5, -5, 20) +
        int_around(5, 0, 20) + int_around(20, 0, 200) + int_around(10, 0, 40),
        "start_end": bytes([3]) + double_trace(beating, 300) + int_around(150, -2, 302) +
        int_around(20, 0, 64),
        "ranges": bytes([4, 0]) + int_around(0, -1000, 1000) + int_around(40, -1000, 1000) +
        int_around(240, -2, 5000) + int_around(60, -100, 300) + int_around(5, -2, 20) +
        int_around(210, -100, 300),
        "histogram": bytes([5]) + int_trace(beating, 500) + positions(list(range(60, 215, 5))[:23], 200),
        "smoothing": bytes([6]) + int_trace(beating, 300) + int_around(15, 0, 30) +
        double_trace(beating, 1000),
        "movements": bytes([7]) + configure() + bytes([255]) + u16(900) + movements() +
        int_around(1, 1, 2),
        "preparation": bytes([8]) + configure() + int_trace(beating, 2000) +
        positions([100, 300, 500, 700], 2000) + int_around(1, 1, 2) + double_trace(beating, 2000) +
        int_trace(beating, 2000),
        "events_4hz": bytes([9]) + configure(4) + int_trace(heart_rate(4), 2400) +
        double_trace(beating, 10) + bytes([0]) + int_around(0, -40, 40) + positions([1200], 2400),
        "events_1hz": bytes([9]) + configure(1) + int_trace(beating, 1500) +
        double_trace(beating, 10) + bytes([0]) + int_around(2, -40, 40) + positions([400], 1500),
        "variability": bytes([10]) + configure() + int_trace(beating, 1200) + bytes([0]) +
        positions([100, 500], 1200) + positions([200, 700], 1200) + bytes([1, 0]),
        "contractions": bytes([11]) + configure(1) + toco_trace(1800) + bytes([0]),
        "baseline_heart_rate": bytes([12]) + int_trace(beating, 600) + int_around(1, 1, 8) +
        bytes([0, 0]),
        "baseline_toco": bytes([12]) + toco_trace(640) + int_around(2, 1, 8) + bytes([0, 1]),
        "baseline_odd_shape": bytes([12]) + int_trace(beating, 500) + int_around(4, 1, 8) +
        bytes([200]) + int_around(90, 0, 3000) + bytes([2, 7]) + u16(150) + u16(40),
    }
    return seeds


def write(folder, seeds):
    os.makedirs(folder, exist_ok=True)
    for name, data in seeds.items():
        with open(os.path.join(folder, name), "wb") as out:
            out.write(data)


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(__file__), "corpus")
    write(os.path.join(root, "fuzz_interface"), interface_seeds())
    write(os.path.join(root, "fuzz_stages"), stage_seeds())


if __name__ == "__main__":
    main()
