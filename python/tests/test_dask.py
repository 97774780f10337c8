"""analyze_files on a real Dask cluster of two single-threaded worker processes: the
local run's table, whatever happens to a worker or an analysis process."""

import concurrent.futures
import os

import pandas
import pytest

import ctgscore
import processes

distributed = pytest.importorskip("distributed")
pytestmark = pytest.mark.filterwarnings("ignore:make_current is deprecated:DeprecationWarning")


@pytest.fixture(scope="module")
def cluster():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        yield cluster, client


def test_cluster_gives_the_local_table(cluster, archive, archive_table):
    pandas.testing.assert_frame_equal(ctgscore.analyze_files(archive, client=cluster[1]),
                                      archive_table)


def test_crashing_analysis_gives_one_failure_row(cluster, archive, tmp_path):
    processes.assert_killed_analysis_gives_a_failure_row(archive / "rec0.csv", tmp_path,
                                                         client=cluster[1])


def test_killed_worker_still_gives_the_complete_table(cluster, archive, archive_table):
    client = cluster[1]
    workers = set(client.run(os.getpid).values())
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        killer = pool.submit(processes.kill_parent_of_an_analysis, workers)
        table = ctgscore.analyze_files(archive, client=client)
        assert killer.result() in workers
    pandas.testing.assert_frame_equal(table, archive_table)


def test_cluster_shuts_down_cleanly(cluster):
    local_cluster, client = cluster
    client.wait_for_workers(2, timeout=60)  # the nanny restarted the killed worker
    workers = list(client.run(os.getpid).values())
    client.close()
    local_cluster.close()
    assert local_cluster.status.name == "closed"
    assert not any(processes.alive(pid) for pid in workers)
