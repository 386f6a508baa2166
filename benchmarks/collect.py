#!/usr/bin/env python3
"""Runs the benchmark programs and puts what they report into one table.

Every program appends its results to the file named in QUENVAREL_BENCH_ROWS, one JSON object a line (report.h).
"""

import argparse
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

# The order of the table; programs not named here come last.
TOPICS = (
    "memory model_files import nurbs surface image_files image_processing texture render keyboard_start "
    "keyboard_redraw key_latency jack_latency sound_latency pulse_latency through_time exit_time expression math "
    "mapping"
).split()
LONGEST_RUN = 300  # seconds, of one program


def run_all(programs: pathlib.Path) -> tuple[list[dict], list[str]]:
    """All that the programs report, and a line for each one that failed."""
    names = {path.name.removeprefix("bench_"): path for path in programs.glob("bench_*")}
    ordered = sorted(names, key=lambda name: (TOPICS.index(name) if name in TOPICS else len(TOPICS), name))
    reports, failures = [], []
    for name in ordered:
        print(f"== {name}", file=sys.stderr, flush=True)
        with tempfile.NamedTemporaryFile("r") as rows:
            try:
                done = subprocess.run(
                    [names[name]],
                    env=os.environ | {"QUENVAREL_BENCH_ROWS": rows.name},
                    stdout=subprocess.DEVNULL,
                    stderr=subprocess.PIPE,
                    text=True,
                    errors="replace",
                    timeout=LONGEST_RUN,
                )
                if done.returncode != 0:
                    last = (done.stderr.strip().splitlines() or ["no message"])[-1]
                    failures.append(f"{name} failed ({done.returncode}): {last}")
            except subprocess.TimeoutExpired:
                failures.append(f"{name} took longer than {LONGEST_RUN} s")
            reports += [json.loads(line) | {"topic": name} for line in rows]
    return reports, failures


def first_match(file: str, pattern: str) -> str:
    try:
        found = re.search(pattern, pathlib.Path(file).read_text(), re.MULTILINE)
    except OSError:
        found = None
    return found[1].strip() if found else "unknown"


def machine(load: float) -> dict[str, str]:
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True).stdout
    processor = first_match("/proc/cpuinfo", r"^model name\s*:(.*)")
    kibibytes = first_match("/proc/meminfo", r"^MemTotal:\s*(\d+)")
    system = first_match("/etc/os-release", r'^PRETTY_NAME="?([^"\n]*)')
    return {
        "processor": f"{processor}, {os.cpu_count()} cores",
        "memory": f"{int(kibibytes) / 2**20:.0f} GiB" if kibibytes.isdigit() else kibibytes,
        "system": f"{system}, Linux {os.uname().release}",
        "compiler": compiler.splitlines()[0],
        "load average at the start": f"{load:.2f}",
        "date": time.strftime("%Y-%m-%d"),
    }


def amount(value: float, unit: str) -> str:
    """A quantity with its unit, a time in the unit that suits it."""
    if unit in ("s", "s/B"):
        size, name = next(
            ((s, n) for s, n in ((1, "s"), (1e-3, "ms"), (1e-6, "µs"), (1e-9, "ns")) if value >= s),
            (1e-12, "ps"),
        )
        return f"{value / size:.3g} {name}{unit[1:]}"
    if unit == "B/s":
        return f"{value / 1e9:.3g} GB/s"
    return f"{value:.4g} {unit}".strip()


def limit_of(row: dict, bandwidths: dict[str, float]) -> str:
    kind = row.get("limit")
    if not kind or row["unit"] == "B/s":
        return "-"
    value = row.get("limit value") or row["peer"][1]
    if kind in ("memory", "cache"):
        if kind not in bandwidths:
            return "-"
        value /= bandwidths[kind]
    return f"{amount(value, row['unit'])} {kind}"


def goal_of(row: dict) -> str:
    if "goal of the ratio" in row:
        return f"{row['goal of the ratio']:.3g} x"
    if "goal" in row:
        return amount(row["goal"], row["unit"]) + (" always" if "worst" in row else "")
    return "-"


def aligned(header: list[str], rows: list[list[str]]) -> str:
    """A table that is readable as it stands and is Markdown as well."""
    widths = [max(len(line[i]) for line in [header, *rows]) for i in range(len(header))]
    lines = [header, ["-" * width for width in widths], *rows]
    return "\n".join(
        "| " + " | ".join(cell.ljust(width) for cell, width in zip(line, widths)) + " |" for line in lines
    )


def result_table(results: list[dict]) -> str:
    bandwidths = {row["limit"]: row["ours"][1] for row in results if row["unit"] == "B/s"}
    rows = []
    for row in results:
        unit = row["unit"]
        ours = amount(row["ours"][1], unit)
        if "worst" in row:
            ours += f", worst {amount(row['worst'], unit)}"
        ratio = "{1:.3g} ({0:.3g} - {2:.3g})".format(*row["ratio"]) if "ratio" in row else "-"
        peer = f"{amount(row['peer'][1], unit)} {row['peer name']}" if "peer" in row else "-"
        rows.append([row["what"], ours, peer, ratio, limit_of(row, bandwidths), goal_of(row), row.get("met", "-")])
    return aligned(["what", "ours", "peer", "ratio", "limit", "goal: at most", "met"], rows)


def growth_table(growths: list[dict]) -> str:
    rows = []
    for row in growths:
        cells = [f"{size:,.0f}: {amount(each, 's')}" for size, each in zip(row["sizes"], row["each"])]
        rows.append([row["growth"], row["things"], *cells, f"{row['each'][-1] / row['each'][0]:.2f}"])
    return aligned(["what", "time for each", "1/100", "1/10", "full size", "full to 1/100"], rows)


COLOURS = ("#0b5cad", "#c8501e", "#3c8d40", "#777777")


def graphs(distributions: list[dict]) -> str:
    """One drawing for all: the part of the notes that have been heard after so many milliseconds."""
    topics = list(dict.fromkeys(row["distribution"] for row in distributions))
    width, height, left, top = 640, 220, 60, 40
    parts = []
    for number, topic in enumerate(topics):
        rows = [row for row in distributions if row["distribution"] == topic]
        longest = 1.1 * max(row["seconds"][int(0.99 * len(row["seconds"]))] for row in rows) * 1e3
        parts.append(f'<g transform="translate({left},{top + number * (height + 80)})">')
        parts.append(f'<text x="0" y="-12" font-weight="bold">{topic}: part of the notes heard, after ms</text>')
        for step in range(5):
            y = height * (1 - step / 4)
            parts.append(f'<path d="M0 {y:.0f}H{width}" stroke="#ddd"/><text x="-44" y="{y + 5:.0f}">{25 * step} %</text>')
        tick = next(t for t in (0.5, 1, 2, 5, 10, 20, 50, 100, 1000) if longest / t <= 8 or t == 1000)
        for mark in range(int(longest / tick) + 1):
            x = mark * tick / longest * width
            parts.append(f'<text x="{x:.0f}" y="{height + 20}" text-anchor="middle">{mark * tick:g}</text>')
        for row, colour in zip(rows, COLOURS):
            count = len(row["seconds"])
            points = " ".join(
                f"{min(1, each * 1e3 / longest) * width:.1f},{height * (1 - (rank + 1) / count):.1f}"
                for rank, each in enumerate(row["seconds"])
            )
            parts.append(f'<polyline points="{points}" fill="none" stroke="{colour}" stroke-width="2"/>')
        for rank, (row, colour) in enumerate(zip(rows, COLOURS)):
            parts.append(f'<text x="{rank * 170}" y="{height + 44}" fill="{colour}">{row["name"]}</text>')
        parts.append("</g>")
    whole = top + len(topics) * (height + 80)
    return (
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width + left + 30}" height="{whole}" '
        'font-family="sans-serif" font-size="14"><rect width="100%" height="100%" fill="white"/>\n'
        + "\n".join(parts)
        + "\n</svg>\n"
    )


def main() -> int:
    parser = argparse.ArgumentParser(description="Runs all benchmarks and prints one table.")
    parser.add_argument("programs", type=pathlib.Path, help="the folder of the programs")
    parser.add_argument("--json", type=pathlib.Path, metavar="FILE", help="keeps all results there")
    parser.add_argument("template", type=pathlib.Path, help="the page's text, with places for the tables")
    parser.add_argument("page", type=pathlib.Path, help="where to write the page")
    options = parser.parse_args()

    facts = machine(os.getloadavg()[0])
    reports, failures = run_all(options.programs)
    facts |= {row["fact"]: row["value"] for row in reports if "fact" in row}
    results = [row for row in reports if "what" in row]
    growths = [row for row in reports if "growth" in row]
    distributions = [row for row in reports if "distribution" in row]

    parts = {
        "machine": "\n".join(f"- {name}: {value}" for name, value in facts.items()),
        "results": result_table(results),
        "growth": growth_table(growths),
    }
    template = options.template.read_text()
    page = re.sub(r"@(\w+)@", lambda place: parts[place[1]], template)
    limits = re.search(r"^## The limits\n(.*?)^## ", template, re.MULTILINE | re.DOTALL)
    print(parts["machine"], parts["results"], limits[1].strip(), parts["growth"], sep="\n\n")
    for failure in failures:
        print(failure, file=sys.stderr)
    if options.json:
        everything = {"machine": facts, "results": results, "growth": growths, "failures": failures}
        options.json.write_text(json.dumps(everything, indent=1) + "\n")
    if not failures:
        options.page.write_text(page)
        options.page.with_name("latency.svg").write_text(graphs(distributions))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
