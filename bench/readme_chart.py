#!/usr/bin/env python3
"""Makes README's chart from the table of docs/performance.md: how many times as fast as the best peer each operation is.

    bench/readme_chart.py docs/performance.md docs/pictures/peers.svg
"""
import re
import sys

LEFT, ONE, HEIGHT = 190, 80, 16  # pixels: where bars start, a ratio of 1, a row
STYLE = ("text{font:11px sans-serif;fill:#666}.name{text-anchor:end}.more{fill:#2a7de1}.less{fill:#e0a43a}"
         ".one{stroke:#888;stroke-dasharray:3 3}")


def rows(page):
    """Operation, peer and ratio of every row that has a peer."""
    table = page.split("<!-- targets -->")[1].split("<!-- end of targets -->")[0]
    for line in table.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        peer = re.fullmatch(r"([0-9.]+) \((.+)\)", cells[-1])
        if peer:
            yield cells[0], peer[2], float(peer[1]) / float(cells[3])


def chart(lines):
    shapes, y = [], 38
    for operation, peer, ratio in lines:
        kind = "more" if ratio >= 1 else "less"
        shapes.append(f'<text class="name" x="{LEFT - 8}" y="{y + 10}">{operation}</text>'
                      f'<rect class="{kind}" x="{LEFT}" y="{y}" width="{ONE * ratio:.1f}" height="{HEIGHT - 5}"/>'
                      f'<text x="{LEFT + ONE * ratio + 5:.1f}" y="{y + 10}">{ratio:.1f} x {peer}</text>')
        y += HEIGHT
    title = "Speed, the best general-purpose peer measured in the same run = 1 (1920x1080, in cache, one thread)"
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 1180 {y + 6}" role="img" aria-label="{title}">'
            f'<style>{STYLE}</style><text x="8" y="16">{title}</text>' + "".join(shapes) +
            f'<line class="one" x1="{LEFT + ONE}" y1="26" x2="{LEFT + ONE}" y2="{y}"/></svg>\n')


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        lines = list(rows(file.read()))
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write(chart(sorted(lines, key=lambda line: -line[2])))


main()
