"""analyze_files on a real Dask cluster of two single-threaded worker processes: the
local run's table, whatever happens to a worker or an analysis process."""

import concurrent.futures
import os

import pandas
import pytest

import ctgscore
import processes
import recordings

distributed = pytest.importorskip("distributed")
pytestmark = pytest.mark.filterwarnings("ignore:make_current is deprecated:DeprecationWarning")


@pytest.fixture(scope="module")
def cluster():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        yield cluster, client


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    folder = tmp_path_factory.mktemp("archive")
    for seed in range(12):
        fhr, uc, fm = recordings.generate(seed, minutes=10 + seed)
        recordings.write_csv(folder / f"rec{seed:02}.csv", fhr, uc, fm, 4)
    (folder / "broken.fhr").write_bytes(b"\0" * 7)
    return folder


@pytest.fixture(scope="module")
def local_table(folder):
    return ctgscore.analyze_files(folder, jobs=2, progress=False)


def test_cluster_gives_the_local_table(cluster, folder, local_table):
    _, client = cluster
    pandas.testing.assert_frame_equal(ctgscore.analyze_files(folder, client=client),
                                      local_table)


def test_crashing_analysis_gives_one_failure_row(cluster, folder, tmp_path):
    _, client = cluster
    fifo = tmp_path / "stuck.csv"
    os.mkfifo(fifo)  # opening it for reading blocks the analysis process
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        killer = pool.submit(processes.kill_analysis_of, fifo)
        table = ctgscore.analyze_files([fifo, folder / "rec01.csv"], methods="krebs",
                                       client=client)
        killer.result()
    assert table.file.tolist() == [str(folder / "rec01.csv"), str(fifo)]
    assert table.ok.tolist() == [True, False]
    assert table.reason[1] == f"{fifo}: the analysis process was killed by signal 9 (SIGKILL)"


def test_killed_worker_still_gives_the_complete_table(cluster, folder, local_table):
    _, client = cluster
    workers = set(client.run(os.getpid).values())
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        killer = pool.submit(processes.kill_parent_of_an_analysis, workers)
        table = ctgscore.analyze_files(folder, client=client)
        assert killer.result() in workers
    pandas.testing.assert_frame_equal(table, local_table)


def test_cluster_shuts_down_cleanly(cluster):
    local_cluster, client = cluster
    client.wait_for_workers(2, timeout=60)  # the nanny restarted the killed worker
    workers = list(client.run(os.getpid).values())
    client.close()
    local_cluster.close()
    assert local_cluster.status.name == "closed"
    assert not any(processes.alive(pid) for pid in workers)
