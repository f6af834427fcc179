#!/usr/bin/env python3
"""Runs the benchmarks, and compares two runs.

bench.py BUILD OUT.json      every benchmark program below BUILD/benchmarks; ends with what each row costs, in OUT.json
bench.py OLD.json NEW.json   the rows of both, new over old
"""
import json
import pathlib
import subprocess
import sys

UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def rows_of(report):
    """Nanoseconds of a row (of an iteration where there are no rows), its aim and its allocations, by name."""
    rows = {}
    for run in report["benchmarks"]:
        if run.get("run_type") != "iteration" or run.get("error_occurred"):
            continue
        ns = run["row_s"] * 1e9 if "row_s" in run else run["cpu_time"] * UNITS[run["time_unit"]]
        row = rows.setdefault(run["name"], {"ns": ns})
        row["ns"] = min(row["ns"], ns)
        row.update({ours: run[theirs] for ours, theirs in (("aim", "aim_ns"), ("allocations",) * 2) if theirs in run})
    return rows


def run(build, out):
    out.parent.mkdir(parents=True, exist_ok=True)
    result = {}
    for program in sorted(build.glob("benchmarks/*/*")):
        if not program.is_file() or not program.stat().st_mode & 0o100:
            continue
        report = out.parent / (program.name + ".json")
        subprocess.run([program, f"--benchmark_out={report}", "--benchmark_out_format=json"], check=True)
        result.update({f"{program.name}/{name}": row for name, row in rows_of(json.loads(report.read_text())).items()})
    out.write_text(json.dumps(result, indent=1, sort_keys=True) + "\n")
    print(f"\n{'row':64} {'measured':>12} {'aim':>10} {'allocations':>12}")
    for name, row in result.items():
        aim = f"{row['aim']:.1f}" if "aim" in row else ""
        print(f"{name:64} {row['ns']:9.1f} ns {aim:>10} {row.get('allocations', ''):>12}")
    print(f"\n{out}")


def compare(old, new):
    old, new = (json.loads(path.read_text()) for path in (old, new))
    for name in sorted(old.keys() & new.keys()):
        print(f"{name:64} {old[name]['ns']:10.1f} {new[name]['ns']:10.1f} {new[name]['ns'] / old[name]['ns']:6.2f}")


if len(sys.argv) != 3:
    sys.exit(__doc__)
first, second = map(pathlib.Path, sys.argv[1:])
(run if first.is_dir() else compare)(first, second)
