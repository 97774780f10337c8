"""Synthetic recordings with a known shape, written as CSV or FHRMA files."""

import math
import random
import struct


def generate(seed, minutes=20, rate=4):
    """(fhr, uc, fm_per_second) with variability, accelerations, contractions with late
    decelerations, a stretch of signal loss and a few movement marks."""
    rng = random.Random(seed)
    length = minutes * 60 * rate
    base = 125 + 10 * rng.random()
    fhr = [base + 3 * math.sin(i / (45.0 * rate)) + 6 * math.sin(i / (2.5 * rate))
           + rng.gauss(0, 1.5) for i in range(length)]
    uc = [12 + rng.gauss(0, 1) for _ in range(length)]
    for peak in range(int(150 * rate), length - 60 * rate, int((170 + 40 * rng.random()) * rate)):
        height = 35 + 60 * rng.random()
        for i in range(max(0, peak - 50 * rate), min(length, peak + 50 * rate)):
            uc[i] += height * math.exp(-((i - peak) / (18.0 * rate)) ** 2)
            fhr[i] -= 30 * math.exp(-((i - peak - 25 * rate) / (12.0 * rate)) ** 2)
    for start in range(int(400 * rate), length - 120 * rate, int(430 * rate)):
        for i in range(start, start + 30 * rate):
            fhr[i] += 25 * math.sin(math.pi * (i - start) / (30 * rate))
    loss = int(rng.uniform(0.3, 0.6) * length)
    fhr_ints = [round(v) for v in fhr]
    fhr_ints[loss:loss + 20 * rate] = [0] * (20 * rate)
    fm = [rng.choice((4, 4, 8, 12)) if rng.random() < 0.01 else 0 for _ in range(length // rate)]
    return fhr_ints, [max(0, round(v)) for v in uc], fm


def write_csv(path, fhr, uc, fm_per_second, rate):
    """Writes one row per sample; each second's mark goes on all its samples."""
    marks = [mark for mark in fm_per_second for _ in range(rate)] + [0] * rate
    path.write_text("fhr,uc,fm\n" + "".join(
        f"{heart},{toco},{mark}\n" for heart, toco, mark in zip(fhr, uc, marks)))


def write_fhrma(path, fhr, uc, start=0):
    """fhr and uc as an FHRMA file (start time, then fhr1, fhr2 in quarter beats, toco in
    half units and a zero status byte per sample), the toco half a unit up and channel 2
    2.5 bpm above channel 1 where there is signal: the halves test the rounding."""
    path.write_bytes(struct.pack("<I", start) + b"".join(
        struct.pack("<HHBB", 4 * heart, 4 * heart + 10 if heart else 0, 2 * toco + 1, 0)
        for heart, toco in zip(fhr, uc)))
