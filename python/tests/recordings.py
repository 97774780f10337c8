"""Synthetic recordings with a known shape, written as fhr,uc,fm CSV files."""

import csv
import math
import random


def generate(seed, minutes=20, rate=4):
    """A recording with variability, accelerations, contractions with late
    decelerations, a stretch of signal loss and a few movement marks.

    Returns (fhr, uc, fm_per_second).
    """
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
    with open(path, "w", newline="") as file:
        writer = csv.writer(file)
        writer.writerow(["fhr", "uc", "fm"])
        for i, (heart, toco) in enumerate(zip(fhr, uc)):
            second = i // rate
            writer.writerow([heart, toco, fm_per_second[second] if second < len(fm_per_second)
                             else 0])


def read_csv(path, rate):
    """(fhr, uc, fm_per_second) of a CSV; the mark of a second is that of its first sample."""
    with open(path, newline="") as file:
        rows = [[int(value) for value in row] for row in list(csv.reader(file))[1:]]
    fhr = [row[0] for row in rows]
    fm = [rows[second * rate][2] for second in range(len(rows) // rate)]
    return fhr, [row[1] for row in rows], fm
