"""One recording's analysis, in a process of its own.

    python -m ctgscore._child PARENT_PID ROWS_FILE OPTIONS_JSON PATH

Reads PATH, runs the chosen methods in the fixed order and writes the table
rows (a pickled list of dicts) to ROWS_FILE, then exits with status 0.  The
library's log echo on standard output is not wanted here; the caller throws
it away.  Anything unexpected ends the process with a traceback on standard
error and a non-zero status, which the caller turns into a failure row.

The process asks the kernel to kill it when the process that started it
dies, so that no analysis outlives an interrupted table or a lost worker.
"""

import ctypes
import json
import os
import pickle
import signal
import sys

from ._batch import analyze_file

_PR_SET_PDEATHSIG = 1


def _die_with_parent(parent_pid):
    try:
        ctypes.CDLL(None, use_errno=True).prctl(_PR_SET_PDEATHSIG, int(signal.SIGKILL), 0, 0, 0)
    except (OSError, AttributeError):  # not Linux: the analysis simply finishes
        return
    if os.getppid() != parent_pid:  # the parent died before prctl took effect
        sys.exit(1)


def main(argv):
    parent_pid, rows_file, options, path = int(argv[1]), argv[2], json.loads(argv[3]), argv[4]
    _die_with_parent(parent_pid)
    rows = analyze_file(path, options)
    with open(rows_file, "wb") as out:
        pickle.dump(rows, out)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
