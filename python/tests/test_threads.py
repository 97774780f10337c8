"""Calls from many Python threads are serialised: each gets its own results."""

import threading

import ctgscore
import recordings

THREADS = 8
ROUNDS = 3


def what_no_earlier_call_changes(results):
    """Everything except the contraction findings, which depend on the state
    the contraction filter kept from earlier calls."""
    view = {}
    for method, result in results.items():
        words = result.raw_words if method == "krebs" else result.raw_words[35:42]
        view[method] = (words, result.accelerations, result.decelerations,
                        list(result.baseline))
    return view


def test_eight_threads_get_the_serial_results():
    jobs = []
    for index in range(THREADS):
        fhr, uc, fm = recordings.generate(seed=40 + index, minutes=10)
        params = ctgscore.Parameters(var_amplitude_min=2 + index, acc_min_amplitude=15 + index % 6)
        jobs.append(dict(fhr=fhr, uc=uc, fm=fm, method="all", params=params))
    serial = [what_no_earlier_call_changes(ctgscore.analyze(**job)) for job in jobs]
    assert len({str(view["krebs"][0]) for view in serial}) > 1

    start = threading.Barrier(THREADS)
    threaded = [[] for _ in jobs]
    failures = []

    def work(index):
        try:
            start.wait()
            for _ in range(ROUNDS):
                results = ctgscore.analyze(**jobs[index])
                threaded[index].append(what_no_earlier_call_changes(results))
                ctgscore.get_parameters()
        except Exception as error:  # reported by the main thread
            failures.append(error)

    workers = [threading.Thread(target=work, args=(index,)) for index in range(THREADS)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    assert not failures
    for index, views in enumerate(threaded):
        assert views == [serial[index]] * ROUNDS, f"thread {index}"
    assert ctgscore.get_parameters() == ctgscore.Parameters()
