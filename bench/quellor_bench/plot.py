"""The ratios as a picture, drawn by gnuplot."""

import subprocess
from pathlib import Path

from .results import Row

NO_TARGET = 0

SCRIPT = r"""
set terminal svg size 1000,{height} font "sans,13" background "white"
set output "{picture}"
set title "Time of the program as a multiple of its peer's (medians; left of 1: faster)"
set logscale x 2
set format x "%g"
set xrange [{least}:{greatest}]
set yrange [{rows} + 0.6:-0.6]
set grid x
set key outside bottom center horizontal
set lmargin 54
set style fill solid 0.85 noborder
set arrow from 1, graph 0 to 1, graph 1 nohead linewidth 1.5
plot "{data}" using (1):0:(1):2:($0-0.35):($0+0.35):ytic(1) with boxxyerror linecolor "#9aa5b1" title "no target", \
  "" using ($3>=$2?1:NaN):0:(1):2:($0-0.35):($0+0.35) with boxxyerror linecolor "#2f855a" title "target met", \
  "" using ($3>0&&$3<$2?1:NaN):0:(1):2:($0-0.35):($0+0.35) with boxxyerror linecolor "#c53030" \
  title "target missed", \
  "" using ($3>0?$3:NaN):0:($0-0.45):($0+0.45) with yerrorbars pointtype 0 linewidth 3 linecolor "#000000" \
  title "target"
"""


def draw(rows: list, picture: Path) -> None:
    targets = [row.targets.get("wall", NO_TARGET) for row in rows]
    data = picture.with_suffix(".dat")
    data.write_text("".join(f'"{row.work} / {row.peer}" {row.ratios["wall"]:.5g} {target:g}\n'
                            for row, target in zip(rows, targets)))
    ratios = [row.ratios["wall"] for row in rows] + [target for target in targets if target] + [1]
    script = SCRIPT.format(height=140 + 26 * len(rows), picture=picture, data=data, rows=len(rows) - 1,
                           least=min(ratios) / 1.5, greatest=max(ratios) * 1.5)
    subprocess.run(["gnuplot"], input=script, text=True, check=True)
