"""Evaluates a folder of responses with a thread pool of 1 and of 2 and reports the speed-up.

The module releases the GIL while it reads and evaluates, so two threads should take about
half the time of one on two free cores. Two worker processes, which share nothing, are timed
in the same run as the baseline of what the machine gives: threads that scale as well as
processes lose nothing to the GIL. Run from the build tree:

    PYTHONPATH=build/python/module /usr/bin/python3 bench/python_threads.py \\
        --tool build/tools/zyra-rsp [--files 100] [--pulses 20000]
"""
import argparse
import concurrent.futures
import pathlib
import subprocess
import tempfile
import time

import zyra


def c80_at_1khz(path):
    return zyra.open(path).evaluate().C80_dB(1000)


def evaluate_all(paths, workers, pool_type=concurrent.futures.ThreadPoolExecutor):
    """Wall seconds, CPU seconds of this process, and the values."""
    start, cpu = time.perf_counter(), time.process_time()
    with pool_type(max_workers=workers) as pool:
        values = list(pool.map(c80_at_1khz, paths))
    return time.perf_counter() - start, time.process_time() - cpu, values


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--tool", required=True, help="the zyra-rsp program, to synthesise files")
    parser.add_argument("--files", type=int, default=100)
    parser.add_argument("--pulses", type=int, default=20000)
    parser.add_argument("--repeats", type=int, default=3)
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        paths = []
        for seed in range(1, args.files + 1):
            path = pathlib.Path(folder) / f"seat-{seed:03}.rsp"
            subprocess.run([args.tool, "synth", "--pulses", str(args.pulses), "--speakers", "16",
                            "--seed", str(seed), "-o", str(path)], check=True)
            paths.append(path)
        best = {}
        cores = {}
        processes = float("inf")
        for _ in range(args.repeats):
            for workers in [1, 2]:
                seconds, cpu, values = evaluate_all(paths, workers)
                if seconds < best.get(workers, float("inf")):
                    best[workers], cores[workers] = seconds, cpu / seconds
                if workers == 1:
                    reference = values
                else:
                    assert values == reference, "threads changed the results"
            seconds, _, values = evaluate_all(paths, 2, concurrent.futures.ProcessPoolExecutor)
            processes = min(processes, seconds)
            assert values == reference, "processes changed the results"
    print(f"{args.files} files of {args.pulses} pulses, best of {args.repeats}:")
    for workers, seconds in sorted(best.items()):
        print(f"  {workers} thread(s): {seconds:.3f} s ({seconds / args.files * 1e3:.1f} ms per file,"
              f" {cores[workers]:.2f} cores busy)")
    print(f"  2 processes: {processes:.3f} s")
    print(f"  speed-up of 2 threads over 1: {best[1] / best[2]:.2f}x;"
          f" of 2 processes over 1 thread: {best[1] / processes:.2f}x (what the machine allows)")


if __name__ == "__main__":
    main()
