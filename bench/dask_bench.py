#!/usr/bin/env python3
"""Recordings per second of ctgscore.analyze_files on a Dask LocalCluster with one,
then two single-threaded worker processes, and the scaling ratio.

    CTGSCORE_LIBRARY=build/libctgscore.so /usr/bin/python3 bench/dask_bench.py [--count 24]

Uses the first COUNT research recordings (.fhr files of ../shared/data/fhrma/train,
or CTGSCORE_DATA_DIR) when present, else COUNT generated 40-minute recordings.
Each figure is the best of --repeats timed runs on a cluster that has already
run one warm-up table; figures go to standard output.  A figure, not a test:
on a shared machine other work disturbs it.
"""

import argparse
import os
import pathlib
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "python"), str(ROOT / "python" / "tests")]

import ctgscore  # noqa: E402
from distributed import Client, LocalCluster  # noqa: E402


def research_recordings(count):
    folder = pathlib.Path(os.environ.get("CTGSCORE_DATA_DIR", ROOT.parent / "shared" / "data"
                                         / "fhrma")) / "train"
    files = sorted(folder.glob("*.fhr"))
    return [str(path) for path in files[:count]] if len(files) >= count else None


def generated_recordings(count, folder):
    import recordings
    files = []
    for seed in range(count):
        path = pathlib.Path(folder) / f"generated{seed:03}.csv"
        recordings.write_csv(path, *recordings.generate(seed, minutes=40), 4)
        files.append(str(path))
    return files


def best_rate(files, repeats, **where):
    best = None
    for _ in range(repeats):
        start = time.perf_counter()
        table = ctgscore.analyze_files(files, progress=False, **where)
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    assert len(set(table.file)) == len(files)
    return len(files) / best


def cluster_rate(files, workers, repeats):
    with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True,
                      dashboard_address=None) as cluster, Client(cluster) as client:
        ctgscore.analyze_files(files[:2 * workers], client=client, progress=False)  # warm-up
        return best_rate(files, repeats, client=client)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--count", type=int, default=24, help="recordings (at least 24)")
    parser.add_argument("--repeats", type=int, default=2, help="timed runs per setting")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as scratch:
        os.chdir(scratch)  # the library's log files land here
        files = research_recordings(arguments.count)
        kind = "research recordings"
        if files is None:
            files, kind = generated_recordings(arguments.count, scratch), "generated recordings"
        minutes = sum(ctgscore.read(path).minutes for path in files)
        print(f"{len(files)} {kind}, {minutes / 60:.1f} h in total, four methods each; "
              f"{os.cpu_count()} cores")
        local = best_rate(files, arguments.repeats, jobs=1)
        print(f"local, jobs=1:        {local:6.2f} recordings/s")
        one = cluster_rate(files, 1, arguments.repeats)
        print(f"LocalCluster, 1 worker:  {one:6.2f} recordings/s")
        two = cluster_rate(files, 2, arguments.repeats)
        print(f"LocalCluster, 2 workers: {two:6.2f} recordings/s")
        print(f"scaling 1 -> 2 workers: {two / one:.2f}x")


if __name__ == "__main__":
    main()
