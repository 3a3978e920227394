#!/usr/bin/env python3
"""Makes the tables of docs/performance.md and its chart, README's too, from what operation_bench wrote as JSON.

    bench/report.py FIGURES.json docs/performance.md docs/pictures/peers.svg

The page keeps its text; what stands between its markers is made anew.
"""
import json
import sys

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


def against_peer(report, operation, width, height, mode):
    """Time of the best peer as a share of the best member's, and the peer's name; None where there is no peer."""
    lines = [t for t in lines_of(report, operation, width, mode) if t["height"] == height]
    peers = sorted(filter(is_peer, lines), key=figure)
    return (figure(peers[0]) / figure(best_wide(lines)), peers[0]["contender"]) if peers else None


SIZES = ((720, 96), (720, 576), (1920, 1080), (3840, 2160))


def ratio_table(report):
    rows = ["| operation | " + " | ".join(f"{w}x{h}" for w, h in SIZES) + " | " +
            " | ".join(f"{w}x{h} streaming" for w, h in SIZES) + " |", "|---|" + "---|" * 8]
    for operation in operations(report):
        cells = [against_peer(report, operation, *size, mode) for mode in ("in cache", "streaming") for size in SIZES]
        if any(cells):
            rows.append(f"| {operation} | " + " | ".join(f"{c[0]:.2f} {c[1]}" if c else "" for c in cells) + " |")
    return "\n".join(rows)


def cost_table(report):
    """As many pixels in 96 rows and in 36: the difference is what 60 rows cost."""
    rows = ["| operation | ns a row | ps a byte |", "|---|---|---|"]
    for operation in operations(report):
        many = [t for t in lines_of(report, operation, 720, "in cache") if t["height"] == 96]
        few = [t for t in lines_of(report, operation, 1920, "in cache") if t["height"] == 36]
        if not few or few[0]["bytes"] == 0:
            continue
        row = max(0.0, (best_wide(many)["microseconds"] - best_wide(few)["microseconds"]) * 1000 / 60)
        byte = (best_wide(few)["microseconds"] * 1e6 - 36e3 * row) / few[0]["bytes"]
        rows.append(f"| {operation} | {row:.1f} | {byte:.1f} |")
    return "\n".join(rows)


def full_table(report, width, height, mode):
    contenders = ["kv_algoC", "kv_algoMMX"]
    contenders += [f"{WIDE} {level}" for level in ("sse2", "avx2", "avx512", "avx512vbmi")]
    contenders = [c for c in contenders if any(t["contender"] == c for t in report["timings"])]
    heads = [c.replace("kv_algo", "").replace("SSE2 ", "") for c in contenders]
    rows = ["| operation | " + " | ".join(heads) + " | peers |", "|---|" + "---|" * (len(heads) + 1)]
    for operation in operations(report):
        lines = {t["contender"]: t for t in lines_of(report, operation, width, mode) if t["height"] == height}
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


LEFT, ONE, HEIGHT = 210, 80, 16  # pixels: where bars start, a ratio of 1, a row
STYLE = ("text{font:11px sans-serif;fill:#666}.name{text-anchor:end}.more{fill:#2a7de1}.less{fill:#e0a43a}"
         ".one{stroke:#888;stroke-dasharray:3 3}")


def chart(report):
    """A bar per operation: how many times as fast as the best peer, to ten times."""
    ratios = [(o, against_peer(report, o, 1920, 1080, "in cache")) for o in operations(report)]
    shapes, y = [], 38
    for operation, (ratio, peer) in sorted((r for r in ratios if r[1]), key=lambda r: -r[1][0]):
        kind = "more" if ratio >= 1 else "less"
        length = ONE * min(ratio, 10)
        shapes.append(f'<text class="name" x="{LEFT - 8}" y="{y + 10}">{operation}</text>'
                      f'<rect class="{kind}" x="{LEFT}" y="{y}" width="{length:.1f}" height="{HEIGHT - 5}"/>'
                      f'<text x="{LEFT + length + 5:.1f}" y="{y + 10}">{ratio:.1f} x {peer}</text>')
        y += HEIGHT
    title = "Speed, the best general-purpose peer measured in the same run = 1 (1920x1080, in cache, one thread)"
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 1180 {y + 6}" role="img" aria-label="{title}">'
            f'<style>{STYLE}</style><text x="8" y="16">{title}</text>' + "".join(shapes) +
            f'<line class="one" x1="{LEFT + ONE}" y1="26" x2="{LEFT + ONE}" y2="{y}"/></svg>\n')


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
    page = replace(page, "ratios", ratio_table(report))
    page = replace(page, "costs", cost_table(report))
    page = replace(page, "in cache", full_table(report, 1920, 1080, "in cache"))
    page = replace(page, "streaming", full_table(report, 1920, 1080, "streaming"))
    page = replace(page, "small in cache", full_table(report, 720, 576, "in cache"))
    page = replace(page, "threads", thread_table(report))
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write(page)
    with open(sys.argv[3], "w", encoding="utf-8") as file:
        file.write(chart(report))


main()
