"""The strip chart: paper scale, panels, one shaded patch per event, and the notebook
displays (PNG)."""

import pytest

import ctgscore
import recordings

matplotlib = pytest.importorskip("matplotlib")
matplotlib.use("Agg")
from matplotlib import pyplot  # noqa: E402


@pytest.fixture(scope="module")
def analyzed(tmp_path_factory):
    path = tmp_path_factory.mktemp("plot") / "rec.csv"
    recordings.write_csv(path, *recordings.generate(seed=3, minutes=20), 4)
    recording = ctgscore.read(path)
    return recording, ctgscore.analyze(recording, method="all")


def gids(artists):
    return [artist.get_gid() for artist in artists]


@pytest.mark.parametrize("paper_speed, start, end", [(1, None, None), (3, 5, 12.5)])
def test_figure_on_paper_scale_with_one_patch_per_event(analyzed, paper_speed, start, end):
    recording, results = analyzed
    fig = ctgscore.plot(recording, results, paper_speed=paper_speed, start=start, end=end)
    fhr_ax, marks_ax, toco_ax = fig.axes
    limits = (start or 0, end or recording.minutes)
    assert fhr_ax.get_xlim() == toco_ax.get_xlim() == pytest.approx(limits)
    assert (fhr_ax.get_ylim(), toco_ax.get_ylim()) == ((50, 210), (0, 100))
    panel_cm = fhr_ax.get_position().width * fig.get_figwidth() * 2.54
    assert panel_cm == pytest.approx((limits[1] - limits[0]) * paper_speed)
    assert fhr_ax.get_position().height * fig.get_figheight() * 2.54 == pytest.approx(8)
    krebs = results["krebs"]
    shaded = gids(fhr_ax.patches)
    assert (shaded.count("acceleration"), shaded.count("deceleration")) == (
        len(krebs.accelerations), len(krebs.decelerations)) != (0, 0)
    assert gids(toco_ax.lines).count("contraction_end") == 2
    assert gids(marks_ax.lines) == ["movements"]
    assert "; ".join(item.text for item in krebs.score_items()) in fig.texts[-4].get_text()
    pyplot.close(fig)


def test_given_axes_and_bad_arguments(analyzed):
    recording, results = analyzed
    fig, axes = pyplot.subplots(2)
    assert ctgscore.plot(recording, results["fischer"], ax=tuple(axes)) is fig
    assert axes[1].get_ylim() == (0, 100) and "movements" in gids(axes[1].lines)
    fig2, ax = pyplot.subplots()
    ctgscore.plot(recording, ax=ax)
    assert ax.get_ylim() == (50, 210) and "acceleration" not in gids(ax.patches)
    for bad in (dict(paper_speed=4), dict(start=25), dict(start=5, end=5), dict(ax=[ax] * 3)):
        with pytest.raises(ValueError):
            ctgscore.plot(recording, results, **bad)
    with pytest.raises(TypeError):
        ctgscore.plot(recording.fhr)
    pyplot.close("all")


def test_notebook_display(analyzed):
    recording, results = analyzed
    assert recording._repr_png_().startswith(b"\x89PNG")
    for shown in (results._repr_html_(), results["uc"]._repr_html_()):
        assert shown.startswith('<img src="data:image/png;base64,') and "</table>" in shown
    shown = results._repr_html_()
    assert "<b>Krebs {}/12</b>".format(results["krebs"].total_score) in shown
    assert "<td>intensity</td><td>{}</td>".format(results["uc"].score_items()[0].text) in shown
    bare = ctgscore.analyze(recording.fhr, method="krebs")
    assert bare.recording is None and bare._repr_html_().startswith("<table")
    assert not pyplot.get_fignums()  # the displays leave no pyplot figure open
