"""The CTG strip chart with matplotlib, on true paper scales.

The content is that of the command-line tool's SVG (tools/src/output/svg_plot.cpp):
heart rate over 50-210 bpm with the normal band 110-160 shaded, toco over
0-100, the baseline curve, accelerations and decelerations shaded, signal
loss as grey bars, movement marks, the contraction method's marks, and the
scores.  The figure made here is sized so that printed at 100 % it matches
CTG paper: 1, 2 or 3 cm per minute, 20 bpm per cm and 25 toco units per cm.
"""

import io

import numpy

from ._recording import Recording
from ._results import Result
from ._score_items import score_heading

FHR_LIMITS = (50, 210)
TOCO_LIMITS = (0, 100)
NORMAL_BAND = (110, 160)
CM_PER_BPM = 1 / 20
CM_PER_TOCO_UNIT = 1 / 25
PAPER_SPEEDS = (1, 2, 3)
CM = 1 / 2.54  # inches

# Layout in cm around the panels.
_LEFT, _RIGHT, _TOP, _GAP, _MARKS, _BOTTOM, _SCORE_LINE = 1.8, 0.6, 1.4, 0.25, 0.5, 0.9, 0.5

COLOURS = {"paper": "#fffdf8", "minor": "#f4cfc9", "major": "#dd8a7f", "normal": "#e8f3e3",
           "fhr": "#16245c", "toco": "#243a1f", "baseline": "#e65100",
           "acceleration": "#2e7d32", "deceleration": "#c62828", "loss": "#7a7a7a",
           "movement": "#111111", "peak": "#6a1b9a"}


def _result_list(results):
    if results is None:
        return []
    if isinstance(results, Result):
        return [results]
    if isinstance(results, dict):
        return list(results.values())
    return list(results)


def _first(results, wanted):
    return next((result for result in results if wanted(result)), None)


def _time_grid(paper_speed):
    """(minor, major) grid steps in minutes: minor lines 1 cm apart."""
    return 1 / paper_speed, (10 if paper_speed == 1 else 1)


def _grid_lines(low, high, step):
    first = numpy.ceil(low / step - 1e-9)
    return [k * step for k in numpy.arange(first, numpy.floor(high / step + 1e-9) + 1)]


def _paper(ax, x_limits, y_limits, y_minor, y_major, paper_speed):
    ax.set_facecolor(COLOURS["paper"])
    ax.set_xlim(*x_limits)
    ax.set_ylim(*y_limits)
    minor, major = _time_grid(paper_speed)
    for x in _grid_lines(*x_limits, minor):
        is_major = abs(x / major - round(x / major)) < 1e-9
        ax.axvline(x, color=COLOURS["major" if is_major else "minor"],
                   linewidth=0.9 if is_major else 0.5, zorder=0.5)
    for y in _grid_lines(*y_limits, y_minor):
        is_major = y % y_major == 0
        ax.axhline(y, color=COLOURS["major" if is_major else "minor"],
                   linewidth=0.9 if is_major else 0.5, zorder=0.5)
    ax.set_yticks(_grid_lines(*y_limits, y_major))
    ax.tick_params(labelsize=7, length=0)
    for spine in ax.spines.values():
        spine.set_color("#b0665c")


def _minutes(samples, rate):
    return numpy.asarray(samples, dtype=float) / (60.0 * rate)


def _window(recording, start, end):
    minutes = recording.minutes
    start = 0.0 if start is None else float(start)
    end = minutes if end is None else min(float(end), minutes)
    if not (numpy.isfinite(start) and numpy.isfinite(end)) or start < 0 or start >= minutes \
            or end <= start:
        raise ValueError(f"the window {start:.1f}-{end:.1f} min lies outside the recording "
                         f"({minutes:.1f} min)")
    return start, end


def _heart_rate_panel(ax, recording, results, limits, paper_speed):
    _paper(ax, limits, FHR_LIMITS, 10, 30, paper_speed)
    ax.axhspan(*NORMAL_BAND, color=COLOURS["normal"], zorder=0.2, gid="normal_band")
    events = _first(results, lambda result: result.method != "uc")
    if events is not None:
        for kind, spans in (("acceleration", events.accelerations),
                            ("deceleration", events.decelerations)):
            for start, end in spans:
                ax.axvspan(start / (60.0 * recording.rate), end / (60.0 * recording.rate),
                           color=COLOURS[kind], alpha=0.22, linewidth=0, gid=kind, zorder=1)
    time = _minutes(numpy.arange(recording.samples), recording.rate)
    fhr = numpy.where(recording.fhr == 0, numpy.nan, recording.fhr.astype(float))
    ax.plot(time, fhr, color=COLOURS["fhr"], linewidth=0.6, gid="fhr", zorder=3)
    curve = _first(results, lambda result: len(result.baseline) > 0)
    if curve is not None:
        baseline = numpy.asarray(curve.baseline, dtype=float)
        baseline = numpy.where(baseline > 0, baseline, numpy.nan)
        ax.plot(time[:len(baseline)], baseline[:len(time)], color=COLOURS["baseline"],
                linewidth=1.2, linestyle=(0, (6, 3)), gid="baseline", zorder=4)
    _signal_loss(ax, recording)
    ax.set_ylabel("FHR bpm", fontsize=8)


def _signal_loss(ax, recording):
    lost = numpy.concatenate(([False], recording.fhr == 0, [False]))
    edges = numpy.flatnonzero(lost[1:] != lost[:-1])
    spans = [(start / (60.0 * recording.rate), (end - start) / (60.0 * recording.rate))
             for start, end in zip(edges[::2], edges[1::2])]
    if spans:
        ax.broken_barh(spans, (FHR_LIMITS[0], 3), color=COLOURS["loss"], gid="signal_loss",
                       zorder=2)


def _movement_marks(ax, recording, y):
    marks = recording.fm != 0
    starts = numpy.flatnonzero(marks & ~numpy.concatenate(([False], marks[:-1])))
    if len(starts):
        ax.plot(starts / 60.0, numpy.full(len(starts), y), linestyle="none", marker="v",
                markersize=5, color=COLOURS["movement"], gid="movements", zorder=5)


def _toco_panel(ax, recording, results, limits, paper_speed):
    _paper(ax, limits, TOCO_LIMITS, 10, 20, paper_speed)
    time = _minutes(numpy.arange(recording.samples), recording.rate)
    ax.plot(time, recording.uc, color=COLOURS["toco"], linewidth=0.6, gid="toco", zorder=3)
    uc = _first(results, lambda result: result.method == "uc" and result.last_peak_to_end != -1)
    if uc is not None:
        for sample in (uc.previous_end, uc.last_end):
            ax.axvline(sample / (60.0 * recording.rate), color=COLOURS["peak"], linewidth=1.0,
                       linestyle=(0, (3, 2)), gid="contraction_end", zorder=4)
        ax.plot([uc.last_peak / (60.0 * recording.rate)], [96], linestyle="none", marker="v",
                markersize=6, color=COLOURS["peak"], gid="contraction_peak", zorder=5)
    ax.set_ylabel("TOCO", fontsize=8)
    ax.set_xlabel("min", fontsize=8)


def _title(recording, limits):
    started = (f", started {recording.start_time:%Y-%m-%d %H:%M} UTC"
               if recording.start_time else "")
    return (f"{recording.name} - {recording.minutes:.1f} min at {recording.rate} Hz{started}, "
            f"shown {limits[0]:.1f} to {limits[1]:.1f} min")


def _score_lines(results):
    return [f"{score_heading(result.method, result.raw_words)}: "
            + "; ".join(item.text for item in result.score_items()) for result in results]


def _legend(fig, ax):
    from matplotlib.lines import Line2D
    from matplotlib.patches import Patch
    handles = [Line2D([], [], color=COLOURS["baseline"], linestyle=(0, (6, 3)),
                      label="baseline"),
               Patch(color=COLOURS["acceleration"], alpha=0.3, label="acceleration"),
               Patch(color=COLOURS["deceleration"], alpha=0.3, label="deceleration"),
               Patch(color=COLOURS["loss"], label="signal loss"),
               Line2D([], [], color=COLOURS["movement"], marker="v", linestyle="none",
                      label="movement mark"),
               Line2D([], [], color=COLOURS["peak"], marker="v", linestyle="none",
                      label="last contraction peak"),
               Line2D([], [], color=COLOURS["peak"], linestyle=(0, (3, 2)),
                      label="contraction end")]
    ax.legend(handles=handles, loc="lower left", bbox_to_anchor=(0, 1.0), ncol=len(handles),
              fontsize=7, frameon=False, borderaxespad=0.2, handlelength=2.2)


def _new_figure(recording, results, limits, paper_speed, use_pyplot):
    """A figure whose panels have the paper's size in cm, and its three axes."""
    width_cm = _LEFT + (limits[1] - limits[0]) * paper_speed + _RIGHT
    fhr_cm = (FHR_LIMITS[1] - FHR_LIMITS[0]) * CM_PER_BPM
    toco_cm = (TOCO_LIMITS[1] - TOCO_LIMITS[0]) * CM_PER_TOCO_UNIT
    score_lines = _score_lines(results)
    height_cm = (_TOP + fhr_cm + 2 * _GAP + _MARKS + toco_cm + _BOTTOM
                 + _SCORE_LINE * len(score_lines))
    if use_pyplot:
        from matplotlib import pyplot
        fig = pyplot.figure(figsize=(width_cm * CM, height_cm * CM))
    else:
        from matplotlib.figure import Figure
        fig = Figure(figsize=(width_cm * CM, height_cm * CM))

    def box(top_cm, height):
        return [_LEFT / width_cm, 1 - (top_cm + height) / height_cm,
                (width_cm - _LEFT - _RIGHT) / width_cm, height / height_cm]

    fhr_ax = fig.add_axes(box(_TOP, fhr_cm))
    marks_ax = fig.add_axes(box(_TOP + fhr_cm + _GAP, _MARKS), sharex=fhr_ax)
    toco_ax = fig.add_axes(box(_TOP + fhr_cm + 2 * _GAP + _MARKS, toco_cm), sharex=fhr_ax)
    fig.text(_LEFT / width_cm, 1 - 0.45 / height_cm, _title(recording, limits), fontsize=9,
             fontweight="bold", va="center")
    for index, line in enumerate(score_lines):
        top = _TOP + fhr_cm + 2 * _GAP + _MARKS + toco_cm + _BOTTOM + index * _SCORE_LINE
        fig.text(_LEFT / width_cm, 1 - (top + _SCORE_LINE / 2) / height_cm, line, fontsize=7,
                 va="center")
    return fig, fhr_ax, marks_ax, toco_ax


def plot(recording, results=None, ax=None, paper_speed=1, start=None, end=None, *,
         _use_pyplot=True):
    """Draws a recording's strip chart and returns the matplotlib Figure.

    recording: a Recording (see ctgscore.read).
    results: what analyze returned for it (one result, or the dict of
        method="all"), or None for the traces alone.  Events and the baseline
        curve come from the first heart-rate method given, the contraction
        marks from the "uc" result.
    ax: None makes a new figure at true paper scale, with the heart-rate
        panel, a strip of movement marks, the toco panel, title, legend and
        scores.  One Axes gets the heart-rate panel only; a pair of Axes
        (heart rate, toco) gets both panels, the movement marks at the top
        of the toco panel.
    paper_speed: 1, 2 or 3 cm per minute.
    start, end: the minutes shown (default: the whole recording).

    Accelerations and decelerations are shaded with one patch each (gid
    "acceleration" or "deceleration").  Needs matplotlib.
    """
    if paper_speed not in PAPER_SPEEDS or isinstance(paper_speed, bool):
        raise ValueError(f"paper_speed must be 1, 2 or 3 cm per minute, got {paper_speed!r}")
    if not isinstance(recording, Recording):
        raise TypeError(f"plot needs a Recording (see ctgscore.read), "
                        f"got {type(recording).__name__}")
    results = _result_list(results)
    limits = _window(recording, start, end)
    if ax is None:
        fig, fhr_ax, marks_ax, toco_ax = _new_figure(recording, results, limits, paper_speed,
                                                     _use_pyplot)
        _legend(fig, fhr_ax)
    elif isinstance(ax, (list, tuple)):
        if len(ax) != 2:
            raise ValueError(f"ax must be one Axes or a pair (heart rate, toco), got {len(ax)}")
        fhr_ax, toco_ax = ax
        marks_ax, fig = None, fhr_ax.figure
    else:
        fhr_ax, marks_ax, toco_ax, fig = ax, None, None, ax.figure
    _heart_rate_panel(fhr_ax, recording, results, limits, paper_speed)
    if marks_ax is not None:
        marks_ax.set_xlim(*limits)
        marks_ax.set_ylim(0, 1)
        marks_ax.set_yticks([])
        marks_ax.tick_params(labelbottom=False, length=0)
        marks_ax.set_facecolor("white")
        _movement_marks(marks_ax, recording, 0.55)
        fhr_ax.tick_params(labelbottom=False)
    if toco_ax is not None:
        _toco_panel(toco_ax, recording, results, limits, paper_speed)
        if marks_ax is None:
            _movement_marks(toco_ax, recording, 96)
    return fig


def png_bytes(recording, results=None, dpi=72):
    """The strip chart as PNG bytes, drawn off pyplot (for notebook display)."""
    fig = plot(recording, results, _use_pyplot=False)
    buffer = io.BytesIO()
    fig.savefig(buffer, format="png", dpi=dpi)
    return buffer.getvalue()
