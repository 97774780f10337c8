"""Calls from many Python threads are serialised: each gets its own results."""

import concurrent.futures
import threading

import ctgscore
import recordings


def unaffected_by_earlier_calls(results):
    """All but the contraction findings, which depend on the state the contraction filter
    kept from earlier calls."""
    return {method: (result.raw_words if method == "krebs" else result.raw_words[35:42],
                     result.accelerations, result.decelerations, list(result.baseline))
            for method, result in results.items()}


def test_eight_threads_get_the_serial_results():
    jobs = [dict(zip(("fhr", "uc", "fm"), recordings.generate(seed=40 + index, minutes=10)),
                 method="all", params=ctgscore.Parameters(var_amplitude_min=2 + index,
                                                          acc_min_amplitude=15 + index % 6))
            for index in range(8)]
    serial = [unaffected_by_earlier_calls(ctgscore.analyze(**job)) for job in jobs]
    assert len({str(view["krebs"][0]) for view in serial}) > 1
    start = threading.Barrier(len(jobs))

    def three_rounds(job):
        start.wait()
        views = []
        for _ in range(3):
            views.append(unaffected_by_earlier_calls(ctgscore.analyze(**job)))
            ctgscore.get_parameters()
        return views

    with concurrent.futures.ThreadPoolExecutor(len(jobs)) as pool:
        assert list(pool.map(three_rounds, jobs)) == [[view] * 3 for view in serial]
    assert ctgscore.get_parameters() == ctgscore.Parameters()
