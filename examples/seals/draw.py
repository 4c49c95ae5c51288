#!/usr/bin/python3
"""Draws the example seals beside this file: red ink on a transparent ground.

Needs the Debian packages python3-cairo, python3-numpy and fonts-noto-cjk. The company and the
person do not exist: their names say "example". The pictures are kept with the sources, so nobody
has to run this to use them.
"""

import math
import pathlib

import cairo
import numpy

FONT = "Noto Serif CJK SC"
RED = (0.80, 0.07, 0.09)


def new_picture(side):
    """A transparent square of side pixels whose context counts from -1 to 1 both ways."""
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, side, side)
    context = cairo.Context(surface)
    context.translate(side / 2, side / 2)
    context.scale(side / 2, side / 2)
    context.set_source_rgb(*RED)
    context.select_font_face(FONT, cairo.FONT_SLANT_NORMAL, cairo.FONT_WEIGHT_BOLD)
    return surface, context


def ring(context, radius, width):
    context.new_path()
    context.set_line_width(width)
    context.arc(0, 0, radius, 0, 2 * math.pi)
    context.stroke()


def star(context, radius):
    context.new_path()
    for point in range(10):
        angle = math.pi * point / 5 - math.pi / 2
        reach = radius if point % 2 == 0 else radius * 0.382
        context.line_to(reach * math.cos(angle), reach * math.sin(angle))
    context.close_path()
    context.fill()


def centred(context, text, x, y, size, narrow=1.0):
    """Text with the middle of its ink at x, y, made narrower by a factor as seal cutters do."""
    context.save()
    context.translate(x, y)
    context.scale(narrow, 1)
    context.set_font_size(size)
    ink = context.text_extents(text)
    context.move_to(-ink.x_bearing - ink.width / 2, -ink.y_bearing - ink.height / 2)
    context.show_text(text)
    context.restore()


def glyph_on_ring(context, glyph, angle, radius, size, narrow):
    """One letter that stands upright on the circle, seen from the middle; 0 is the top."""
    context.save()
    context.rotate(angle)
    context.translate(0, -radius)
    context.scale(narrow, 1)
    context.set_font_size(size)
    advance = context.text_extents(glyph).x_advance
    context.move_to(-advance / 2, size * 0.36)
    context.show_text(glyph)
    context.restore()


def text_on_ring(context, text, radius, size, degrees, narrow):
    """Spreads text evenly by its letters' widths over so many degrees, centred at the top."""
    context.set_font_size(size)
    widths = [context.text_extents(glyph).x_advance for glyph in text]
    total = sum(widths)
    passed = 0.0
    for glyph, width in zip(text, widths):
        share = (passed + width / 2) / total - 0.5
        glyph_on_ring(context, glyph, math.radians(degrees) * share, radius, size, narrow)
        passed += width


def blotches(side, cells, random):
    """Smooth random cover from 0 to 1: a coarse grid, enlarged with soft transitions."""
    grid = random.random((cells + 1, cells + 1))
    place = numpy.linspace(0, cells - 1e-6, side)
    cell = place.astype(int)
    step = place - cell
    step = step * step * (3 - 2 * step)
    rows = grid[cell] * (1 - step)[:, None] + grid[cell + 1] * step[:, None]
    return rows[:, cell] * (1 - step) + rows[:, cell + 1] * step


def stamp_on_paper(surface, wear, grain, seed):
    """Makes the ink uneven: worn in blotches, with the paper's grain showing through."""
    random = numpy.random.default_rng(seed)
    side = surface.get_width()
    worn = 1 - wear * numpy.clip(blotches(side, 9, random) + blotches(side, 60, random) - 0.9, 0, 1)
    cover = numpy.clip(worn - grain * random.random((side, side)), 0, 1)
    surface.flush()
    pixels = numpy.ndarray((side, side, 4), numpy.uint8, surface.get_data())
    pixels[:] = (pixels * cover[:, :, None]).astype(numpy.uint8)
    surface.mark_dirty()


def company_seal():
    surface, context = new_picture(480)
    ring(context, 0.94, 0.055)
    text_on_ring(context, "青湖示例纸业有限公司", 0.715, 0.27, 262, 0.82)
    star(context, 0.31)
    centred(context, "业务专用章", 0, 0.56, 0.17)
    stamp_on_paper(surface, 0.45, 0.0, 1)
    return surface


def name_seal():
    surface, context = new_picture(280)
    context.set_line_width(0.09)
    context.set_line_join(cairo.LINE_JOIN_ROUND)
    context.rectangle(-0.91, -0.91, 1.82, 1.82)
    context.stroke()
    # Read from the right column to the left one, downwards.
    for glyph, x, y in zip("林示例印", (1, 1, -1, -1), (-1, 1, -1, 1)):
        centred(context, glyph, 0.405 * x, 0.405 * y, 0.80)
    stamp_on_paper(surface, 0.35, 0.0, 2)
    return surface


def large_seal():
    surface, context = new_picture(1700)
    ring(context, 0.955, 0.045)
    ring(context, 0.885, 0.012)
    ring(context, 0.60, 0.012)
    text_on_ring(context, "QINGHU EXAMPLE PAPER CO., LTD.", 0.735, 0.165, 284, 1.0)
    glyph_on_ring(context, "★", math.pi, 0.735, 0.15, 1.0)
    centred(context, "合同专用章", 0, -0.12, 0.20)
    centred(context, "FOR CONTRACTS", 0, 0.10, 0.105)
    centred(context, "No. 0000000000", 0, 0.28, 0.075)
    stamp_on_paper(surface, 0.45, 0.30, 3)
    return surface


def main():
    folder = pathlib.Path(__file__).resolve().parent
    company_seal().write_to_png(folder / "company_seal.png")
    name_seal().write_to_png(folder / "name_seal.png")
    large_seal().write_to_png(folder / "large_seal.png")


if __name__ == "__main__":
    main()
