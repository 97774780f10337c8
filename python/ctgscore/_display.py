"""What the package shows: strip charts (`plot`) and the notebook displays, a
Recording as its strip chart (PNG), a result or the results of method="all"
as their score table under the strip chart of their recording (HTML).

The recording and results modules know nothing of drawing; `install` gives
their classes the display methods Jupyter looks for.  This is the only module
that uses the plot module.
"""

import base64
import html

from . import _plot
from ._plot import plot
from ._recording import Recording
from ._results import Result, Results
from ._score_items import score_heading


def recording_png(recording):
    return _plot.png_bytes(recording)


def score_table(results):
    """The score items of results as one HTML table, each method under its heading."""
    parts = ['<table class="ctgscore-scores"><thead><tr><th>method</th><th>item</th>'
             '<th>text</th><th>points</th></tr></thead><tbody>']
    for result in results:
        heading = html.escape(score_heading(result.method, result.raw_words))
        for index, (item, text, points) in enumerate(result.score_items()):
            parts.append("<tr><td>{}</td><td>{}</td><td>{}</td><td>{}</td></tr>".format(
                f"<b>{heading}</b>" if index == 0 else "", html.escape(item), html.escape(text),
                "" if points is None else points))
    parts.append("</tbody></table>")
    return "".join(parts)


def results_html(results):
    """The score table, under the strip chart when the results keep their recording
    and matplotlib is there to draw it."""
    table = score_table(results)
    recording = results[0].recording if results else None
    if recording is None:
        return table
    try:
        png = _plot.png_bytes(recording, list(results))
    except ImportError:  # matplotlib absent: the table alone
        return table
    return f'<img src="data:image/png;base64,{base64.b64encode(png).decode()}"/>' + table


__all__ = ["plot", "install"]


def install():
    Recording._repr_png_ = recording_png
    Result._repr_html_ = lambda result: results_html([result])
    Results._repr_html_ = lambda results: results_html(list(results.values()))
