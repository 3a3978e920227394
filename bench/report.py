#!/usr/bin/env python3
"""Makes the tables and the chart of docs/performance.md from what operation_bench wrote as JSON.

    bench/report.py FIGURES.json docs/performance.md docs/pictures/performance.svg

The page keeps its text; what stands between its markers is made anew.
"""
import json
import sys

# What the fastest general-purpose libraries known reach on 1920x1080 in cache, and what this family is to reach:
# multiples of memcpy, searches in nanoseconds per pixel difference.
TARGETS = {
    "Copy YUV422, bytes swapped": ("0.9-1.0", 0.95),
    "Copy YUV411P to YUV422": ("0.9-1.0", 0.95),
    "Copy YUV422 to DIB24": ("2.5", 2.0),
    "Copy YUV422 to DIB16": ("8.2", 2.5),
    "Copy YUV422 to DIB15": ("8.2", 2.5),
    "Copy DIB32 to YUV422": ("1.8", 1.5),
    "Copy DIB24 to YUV422": ("2.6", 2.0),
    "Copy DIB32 to YUVA422": ("2.0", 1.6),
    "AbsoluteDifference": ("0.95", 0.95),
    "Average": ("0.95", 0.95),
    "AverageFilter 3": ("1.7", 1.5),
    "AverageFilter 4": ("19", 6.0),
    "AverageFilter 5": ("16", 6.0),
    "AverageFilter 9": ("20", 6.0),
    "AverageFilter 15": ("21", 6.0),
    "AverageFilter 31": ("25", 6.0),
    "BlendBoost": ("0.65 in place", 0.95),
    "ParityChange": ("0.94", 0.9),
    "Scanning sideways": ("3.2", 2.0),
    "FeatureFind 16x16 +-16": ("0.0063", 0.0055),
    "FeatureFind 32x32 +-32": ("0.0089", 0.007),
}
WIDE = "kv_algoSSE2"


def figure(line):
    """Multiples of memcpy, nanoseconds per difference, or microseconds: what a line is compared by."""
    for key in ("nanosecondsPerDifference", "memcpys", "microseconds"):
        if key in line:
            return line[key]


def text(line):
    value = figure(line)
    return f"{value:.4f}" if "nanosecondsPerDifference" in line else f"{value:.2f}"


def is_peer(line):
    return not line["contender"].startswith("kv_algo") and line["contender"] != "memcpy"


def lines_of(report, operation, width, mode):
    return [t for t in report["timings"]
            if (t["operation"], t["width"], t["mode"]) == (operation, width, mode)]


def operations(report):
    return list(dict.fromkeys(t["operation"] for t in report["timings"]))


def best_wide(lines):
    """The member at the level that this processor takes: the first of its lines."""
    return next(line for line in lines if line["contender"].startswith(WIDE))


def target_table(report):
    rows = ["| operation | best known | target | measured | reached | best peer in the same run |",
            "|---|---|---|---|---|---|"]
    for operation, (known, target) in TARGETS.items():
        lines = lines_of(report, operation, 1920, "in cache")
        if not lines:
            continue
        wide = best_wide(lines)
        peers = sorted(filter(is_peer, lines), key=figure)
        peer = f"{text(peers[0])} ({peers[0]['contender']})" if peers else "-"
        reached = "yes" if figure(wide) <= target else "no"
        rows.append(f"| {operation} | {known} | {target} | {text(wide)} | {reached} | {peer} |")
    return "\n".join(rows)


def full_table(report, width, mode):
    contenders = ["kv_algoC", "kv_algoMMX"]
    contenders += [f"{WIDE} {level}" for level in ("sse2", "avx2", "avx512", "avx512vbmi")]
    contenders = [c for c in contenders if any(t["contender"] == c for t in report["timings"])]
    heads = [c.replace("kv_algo", "").replace("SSE2 ", "") for c in contenders]
    rows = ["| operation | " + " | ".join(heads) + " | peers |", "|---|" + "---|" * (len(heads) + 1)]
    for operation in operations(report):
        lines = {t["contender"]: t for t in lines_of(report, operation, width, mode)}
        if not lines or "microseconds" not in next(iter(lines.values())):
            continue
        cells = [text(lines[c]) if c in lines else "" for c in contenders]
        peers = ", ".join(f"{t['contender']} {text(t)}" for t in lines.values() if is_peer(t))
        rows.append(f"| {operation} | " + " | ".join(cells) + f" | {peers} |")
    return "\n".join(rows)


def thread_table(report):
    counts = sorted({t["threads"] for t in report["threads"]})
    rows = ["| operation | " + " | ".join(f"{c} thread{'s' * (c > 1)}" for c in counts) + " |",
            "|---|" + "---|" * len(counts)]
    for operation in dict.fromkeys(t["operation"] for t in report["threads"]):
        times = {t["threads"]: t["microseconds"] for t in report["threads"] if t["operation"] == operation}
        rows.append(f"| {operation} | " + " | ".join(f"{times[c]:.0f}" for c in counts) + " |")
    return "\n".join(rows)


def chart(report):
    """A bar per contender: how many times as long as memcpy of the same bytes. Logarithmic."""
    import math
    names = [o for o in TARGETS if o in operations(report) and "FeatureFind" not in o]
    bar, gap, left, scale = 9, 14, 210, 190
    shapes, y = [], 40

    def x(value):
        return left + scale * (math.log10(max(value, 0.3)) + 0.5)

    for operation in names:
        lines = lines_of(report, operation, 1920, "in cache")
        peers = sorted(filter(is_peer, lines), key=figure)[:1]
        mmx = [t for t in lines if t["contender"] == "kv_algoMMX"]
        shapes.append(f'<text class="name" x="{left - 8}" y="{y + bar + 6}">{operation}</text>')
        for kind, line in [("wide", best_wide(lines))] + [("mmx", t) for t in mmx] + [("peer", t) for t in peers]:
            label = text(line) + (f" {line['contender']}" if kind == "peer" else "")
            shapes.append(f'<rect class="{kind}" x="{left}" y="{y}" width="{x(figure(line)) - left:.1f}" height="{bar}"/>'
                          f'<text class="value" x="{x(figure(line)) + 4:.1f}" y="{y + bar - 1}">{label}</text>')
            y += bar + 1
        y += gap
    one = x(1)
    style = ("text{font:11px sans-serif;fill:#666}.name{text-anchor:end;fill:#888}.value{font-size:9px}"
             ".wide{fill:#2a7de1}.mmx{fill:#9bbfe8}.peer{fill:#e0a43a}.one{stroke:#888;stroke-dasharray:3 3}")
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 820 {y + 10}" role="img" '
            f'aria-label="Time as a multiple of memcpy of the same bytes"><style>{style}</style>'
            f'<text x="8" y="16">time as a multiple of memcpy (1920x1080, in cache, one thread): '
            'blue kv_algoSSE2, pale blue kv_algoMMX, amber the best peer</text>'
            f'<line class="one" x1="{one:.1f}" y1="26" x2="{one:.1f}" y2="{y}"/>'
            f'<text x="{one - 4:.1f}" y="{y + 8}">1</text>' + "".join(shapes) + "</svg>\n")


def replace(page, marker, content):
    begin, end = f"<!-- {marker} -->\n", f"<!-- end of {marker} -->"
    before, rest = page.split(begin)
    return before + begin + content + "\n" + end + rest.split(end)[1]


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        report = json.load(file)
    with open(sys.argv[2], encoding="utf-8") as file:
        page = file.read()
    page = replace(page, "machine", f"{report['machine']}; medians of {report['rounds']} interleaved repetitions.")
    page = replace(page, "targets", target_table(report))
    page = replace(page, "in cache", full_table(report, 1920, "in cache"))
    page = replace(page, "streaming", full_table(report, 1920, "streaming"))
    page = replace(page, "small in cache", full_table(report, 720, "in cache"))
    page = replace(page, "threads", thread_table(report))
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write(page)
    with open(sys.argv[3], "w", encoding="utf-8") as file:
        file.write(chart(report))


main()
