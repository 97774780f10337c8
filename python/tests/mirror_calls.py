"""Makes through the Python package the calls that the reference driver makes
through the C++ interface, and writes the results in the driver's text form:

    python3 mirror_calls.py OUTPUT RATE METHODS PARAMETERS MODE CSV...

MODE: "each" (one analyze call per method, parameters set beforehand),
"all" (method="all"), "params" (parameters passed to every analyze call),
or "numpy" (numpy arrays as input).
"""

import pathlib
import struct
import sys

OUTPUT, RATE, METHODS, PARAMETERS, MODE, *CSVS = sys.argv[1:]
sys.path[:0] = [str(pathlib.Path(__file__).parent), str(pathlib.Path(__file__).parents[1])]
import ctgscore  # noqa: E402
import recordings  # noqa: E402


def format_run(out, name, method, words, result):
    out.append(f"run {name} {method}")
    out.append("words " + " ".join(map(str, words)))
    if result is None:
        out.append("failed")
        return
    for kind, events in (("acceleration", result.accelerations),
                         ("deceleration", result.decelerations)):
        out.append(" ".join([f"{kind}_starts"] + [str(start) for start, _ in events]))
        out.append(" ".join([f"{kind}_ends"] + [str(end) for _, end in events]))
    bits = (struct.unpack("=Q", struct.pack("=d", value))[0] for value in result.baseline)
    out.append(" ".join(["baseline"] + [f"{value:016x}" for value in bits]))


def main():
    rate = int(RATE)
    methods = METHODS.split(",")
    params = None
    if PARAMETERS != "-":
        params = ctgscore.Parameters(*map(int, PARAMETERS.split(",")))
        if MODE != "params":
            ctgscore.set_parameters(params)
            params = None
    out = []
    for path in CSVS:
        fhr, uc, fm = recordings.read_csv(path, rate)
        if MODE == "numpy":
            import numpy
            fhr, uc, fm = numpy.array(fhr), numpy.array(uc, dtype=numpy.int16), numpy.array(fm)
        name = pathlib.Path(path).name
        if MODE == "all":
            results = ctgscore.analyze(fhr, uc, fm, rate, "all", params)
            assert list(results) == methods
        else:
            results = {}
            for method in methods:
                try:
                    results[method] = ctgscore.analyze(fhr, uc, fm, rate, method, params)
                except ctgscore.AnalysisError as error:
                    results[method] = error
        for method, result in results.items():
            failed = isinstance(result, ctgscore.AnalysisError)
            format_run(out, name, method, result.raw_words, None if failed else result)
    pathlib.Path(OUTPUT).write_text("\n".join(out) + "\n")


main()
