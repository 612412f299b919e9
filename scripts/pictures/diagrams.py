#!/usr/bin/python3
"""Draws how positions and samples lie in memory, as SVG for the guide.

diagrams.py NAME FILE
"""

import os
import pathlib
import sys
from xml.sax.saxutils import escape

WIDTH = 700
LEFT = 24
CELL = 40  # of one float
HEIGHT = 32  # of a row of floats
COLOURS = {"x": "#bcd9ee", "y": "#c9e4cb", "z": "#f6dcae", "w": "#dcd0ea", "s": "#f3c1bb", "": "#e9e9e9", "?": "#ffffff"}
INK = "#222222"
FAINT = "#666666"


class Drawing:
    def __init__(self, height, title):
        self.height = height
        self.title = title
        self.parts = []

    def add(self, text):
        self.parts.append(text)

    def text(self, x, y, words, size=14, colour=INK, anchor="start"):
        self.add(f'<text x="{x}" y="{y}" font-size="{size}" fill="{colour}" text-anchor="{anchor}">{escape(words)}</text>')

    def line(self, x0, y0, x1, y1, colour=INK, width=1, more=""):
        self.add(f'<line x1="{x0}" y1="{y0}" x2="{x1}" y2="{y1}" stroke="{colour}" stroke-width="{width}"{more}/>')

    def arrow(self, x0, y0, x1, y1):
        """Downward. Its head is a path, since not all viewers draw markers."""
        self.line(x0, y0, x1, y1 - 6, FAINT, 1.5)
        self.add(f'<path d="M{x1 - 4},{y1 - 7} h8 l-4,7 z" fill="{FAINT}"/>')

    def floats(self, y, cells, first=0):
        """A row of floats from number `first` on. The first letter of each word sets the colour."""
        for k, word in enumerate(cells, first):
            x = LEFT + CELL * k
            kind = word[:1]
            dashes = ' stroke-dasharray="4 3"' if kind == "?" else ""
            self.add(f'<rect x="{x}" y="{y}" width="{CELL}" height="{HEIGHT}" fill="{COLOURS.get(kind, COLOURS[""])}" '
                     f'stroke="{INK}"{dashes}/>')
            self.text(x + CELL / 2, y + 21, word.replace("?", ""), anchor="middle", size=14 if len(word) < 4 else 11)

    def bracket(self, y, first, count, words, up=True):
        """Above `count` floats, or below."""
        x0, x1 = LEFT + CELL * first + 3, LEFT + CELL * (first + count) - 3
        tip = y + 5 if up else y - 5
        self.add(f'<path d="M{x0},{tip} V{y} H{x1} V{tip}" fill="none" stroke="{FAINT}"/>')
        self.text((x0 + x1) / 2, y - 5 if up else y + 15, words, 13, FAINT, "middle")

    def bytes_under(self, y, count, every=1):
        """Byte offsets; multiples of 16 are black and marked."""
        for k in range(0, count + 1, every):
            x = LEFT + CELL * k
            whole = k % 4 == 0
            self.line(x, y, x, y + (8 if whole else 4), INK if whole else FAINT, 2 if whole else 1)
            if whole or every > 1:
                self.text(x, y + 21, str(4 * k), 12, INK if whole else FAINT, "middle")

    def svg(self):
        return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{self.height}" '
                f'viewBox="0 0 {WIDTH} {self.height}" font-family="sans-serif">\n<title>{escape(self.title)}</title>\n'
                f'<rect width="{WIDTH}" height="{self.height}" fill="#ffffff"/>\n' + "\n".join(self.parts) + "\n</svg>\n")


def positions_of(indices):
    return [f"{axis}{k}" for k in indices for axis in "xyz"]


def packed():
    drawing = Drawing(206, "Packed 3D positions of 12 bytes, and packed samples")
    for k in range(5):
        drawing.bracket(30, 3 * k, 3, f"position {k}")
    drawing.floats(40, positions_of(range(5)) + [""])
    drawing.bytes_under(40 + HEIGHT, 16)
    drawing.text(LEFT + CELL * 15 + 20, 34, "...", anchor="middle")
    drawing.text(LEFT, 133, "one sample for each:")
    drawing.floats(142, [f"s{k}" for k in range(5)] + ["..."])
    drawing.bytes_under(142 + HEIGHT, 6)
    drawing.text(LEFT + CELL * 6 + 24, 163, "position stride 12, output stride 4")
    return drawing


def padded():
    drawing = Drawing(122, "3D positions of 16 bytes, the last 4 of them not looked at")
    for k in range(4):
        drawing.bracket(30, 4 * k, 4, f"position {k}")
        drawing.floats(40, positions_of([k]) + [""], 4 * k)
    drawing.bytes_under(40 + HEIGHT, 16)
    drawing.text(LEFT, 117, "position stride 16; the grey floats may hold anything", 13, FAINT)
    return drawing


def structs():
    drawing = Drawing(222, "Positions in an array of structs, samples in an array of their own")
    for k in range(2):
        drawing.bracket(30, 8 * k, 8, f"particle {k}: a stride of 32 bytes")
        drawing.floats(40, positions_of([k]) + ["age", "vel x", "vel y", "vel z", "mass"], 8 * k)
    drawing.bytes_under(40 + HEIGHT, 16)
    drawing.arrow(LEFT + CELL * 0.5, 100, LEFT + CELL * 0.5, 142)
    drawing.line(LEFT + CELL * 8.5, 100, LEFT + CELL * 8.5, 118, FAINT, 1.5)
    drawing.line(LEFT + CELL * 8.5, 118, LEFT + CELL * 1.5, 118, FAINT, 1.5)
    drawing.arrow(LEFT + CELL * 1.5, 118, LEFT + CELL * 1.5, 142)
    drawing.floats(144, ["s0", "s1", "s2", "..."])
    drawing.bytes_under(144 + HEIGHT, 4)
    drawing.text(LEFT + CELL * 4 + 24, 157, "positions: the address of particle 0's position, stride 32")
    drawing.text(LEFT + CELL * 4 + 24, 177, "output: packed, stride 4")
    return drawing


def in_place():
    drawing = Drawing(196, "In place in 1D: each sample takes the place of its coordinate")
    drawing.text(LEFT, 24, "before the call")
    drawing.floats(32, [f"x{k}" for k in range(8)])
    for k in range(8):
        drawing.arrow(LEFT + CELL * (k + 0.5), 70, LEFT + CELL * (k + 0.5), 124)
    drawing.text(LEFT + CELL * 8 + 20, 54, "both views: one address, stride 4")
    drawing.floats(128, [f"s{k}" for k in range(8)])
    drawing.text(LEFT, 180, "after it")
    drawing.text(LEFT + CELL * 8 + 20, 150, "no sample is above its own position")
    return drawing


def alignment():
    drawing = Drawing(306, "What the path of four lanes makes of six 1D samples, by the address of the views")
    drawing.text(LEFT, 22, "both views begin at a multiple of 16, positions packed: four at a time, then the rest")
    drawing.floats(52, [f"s{k}" for k in range(6)])
    drawing.bracket(46, 0, 4, "together")
    drawing.bytes_under(52 + HEIGHT, 6)
    drawing.text(LEFT, 136, "one of them does not: slower, and the same bits")
    drawing.floats(150, ["?"])
    drawing.floats(150, [f"s{k}" for k in range(6)], 1)
    drawing.bytes_under(150 + HEIGHT, 7)
    drawing.text(LEFT, 236, "a call from position 4 on: 3D positions begin at 4 · 12 = 48 bytes, samples at 4 · 4 = 16;")
    drawing.text(LEFT, 256, "after any multiple of 4 positions both views are at a multiple of 16 again")
    drawing.text(LEFT, 288, "Kernels of wide registers do not mind: blocks of 64 packed positions, at any address.", 13, FAINT)
    return drawing


DIAGRAMS = {drawing.__name__: drawing for drawing in (packed, padded, structs, in_place, alignment)}


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in DIAGRAMS:
        sys.exit(f"usage: diagrams.py NAME FILE, where NAME is one of {', '.join(DIAGRAMS)}")
    name, target = sys.argv[1:]
    unfinished = f"{target}.unfinished"
    try:
        with open(unfinished, "w", encoding="utf-8") as file:
            file.write(DIAGRAMS[name]().svg())
        os.replace(unfinished, target)
    except OSError as error:
        pathlib.Path(unfinished).unlink(missing_ok=True)
        sys.exit(f"diagrams.py: '{target}' cannot be written: {error.strerror}")


main()
