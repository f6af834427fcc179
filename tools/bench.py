#!/usr/bin/env python3
"""Runs the benchmarks, and compares two runs.

bench.py BUILD OUT.json [FLAG...]   every benchmark program below BUILD/benchmarks, with the flags of Google Benchmark;
                                    ends with what each row costs beside its aim, in OUT.json
bench.py OLD.json NEW.json          the rows of both, new over old
"""
import json
import pathlib
import subprocess
import sys

UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def rows_of(report):
    """Nanoseconds of a row (of an iteration where there are no rows), its aims and its allocations, by name."""
    rows = {}
    for run in report["benchmarks"]:
        if run.get("run_type") != "iteration" or run.get("error_occurred"):
            continue
        ns = run["row_s"] * 1e9 if "row_s" in run else run["cpu_time"] * UNITS[run["time_unit"]]
        row = rows.setdefault(run["name"], {"ns": ns})
        row["ns"] = min(row["ns"], ns)
        for ours, theirs in (("aim", "aim_ns"), ("aim_times", "aim_times"), ("allocations", "allocations")):
            if theirs in run:
                row[ours] = run[theirs]
    return rows


def add_ratios(rows):
    """The rows that are measured by others: Little CMS beside us, one thread beside two."""
    for name, row in rows.items():
        other = name.replace("/Orvex", "/LittleCMS")
        if other != name and other in rows:
            row["times"], row["of"] = row["ns"] / rows[other]["ns"], "Little CMS"
        other = name.replace("OnTwoThreads", "").removesuffix("/real_time")
        if "OnTwoThreads" in name and other in rows:
            row["times"], row["of"] = rows[other]["ns"] / row["ns"], "speed of one thread"


def print_rows(rows):
    print(f"\n{'row':64} {'measured':>14} {'aim':>10} {'allocations':>12}")
    for name, row in rows.items():
        aim = f"{row['aim']:.1f}" if "aim" in row else ""
        allocations = f"{row['allocations']:.2f}" if "allocations" in row else ""
        print(f"{name:64} {row['ns']:11.1f} ns {aim:>10} {allocations:>12}")
    print(f"\n{'side by side':64} {'times':>8} {'aim':>8}")
    for name, row in rows.items():
        if "times" in row:
            aim = f"{row['aim_times']:.1f}" if "aim_times" in row else ""
            print(f"{name:64} {row['times']:8.2f} {aim:>8} {row['of']}")


def run(build, out, flags):
    out.parent.mkdir(parents=True, exist_ok=True)
    rows = {}
    for program in sorted(build.glob("benchmarks/*/*")):
        if not program.is_file() or not program.stat().st_mode & 0o100:
            continue
        report = out.parent / (program.name + ".json")
        subprocess.run([program, f"--benchmark_out={report}", "--benchmark_out_format=json", *flags], check=True)
        rows.update({f"{program.name}/{name}": row for name, row in rows_of(json.loads(report.read_text())).items()})
    if not rows:
        sys.exit(f"no benchmark program below {build}")
    add_ratios(rows)
    print_rows(rows)
    out.write_text(json.dumps(rows, indent=1, sort_keys=True) + "\n")
    print(f"\n{out}")


def compare(old, new):
    old, new = (json.loads(path.read_text()) for path in (old, new))
    for name in sorted(old.keys() & new.keys()):
        print(f"{name:64} {old[name]['ns']:10.1f} {new[name]['ns']:10.1f} {new[name]['ns'] / old[name]['ns']:6.2f}")


if len(sys.argv) < 3:
    sys.exit(__doc__)
first, second = map(pathlib.Path, sys.argv[1:3])
if first.is_dir():
    run(first, second, sys.argv[3:])
else:
    compare(first, second)
