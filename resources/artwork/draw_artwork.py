#!/usr/bin/python3
"""Draws the survey plug-in's images into resources/plugin/ and resources/app/.

Every glyph is drawn by one function in points on a canvas of its point size; the scale is
applied once per output file, so name.png, name@2x.png and name@3x.png come from the same
geometry. Run from the repository root:

    /usr/bin/python3 resources/artwork/draw_artwork.py
"""

import math
import os
import shutil
import sys

import cairo

SCALES = (1, 2, 3)

# Colours as 0-255 RGB.
CONTROL_GREY = (90, 90, 90)     # close cross and back chevron on the white page
HEART_RED = (209, 76, 86)       # the product's accent red
RING_GREY = (190, 190, 190)     # an unselected choice on a white row
FACE_GREY = (150, 150, 150)     # an unselected rating face on a white round button
WHITE = (255, 255, 255)         # selected choice and rating faces on coloured backgrounds

# Canvas sizes in points.
CONTROL_SIZE = 50
HEART_SIZE = 120
RADIO_SIZE = 25
FACE_SIZE = 60


def rgb(colour, alpha=1.0):
    r, g, b = colour
    return (r / 255.0, g / 255.0, b / 255.0, alpha)


def mix(colour, other, amount):
    """`colour` moved `amount` (0..1) of the way towards `other`."""
    return tuple(round(c + (o - c) * amount) for c, o in zip(colour, other))


# --- Navigation controls -------------------------------------------------------------------------

CONTROL_STROKE = 2.5


def draw_cancel(ctx, size):
    """A close cross, 18 pt across, centred on the button."""
    c, arm = size / 2.0, 9.0
    ctx.set_source_rgba(*rgb(CONTROL_GREY))
    ctx.set_line_width(CONTROL_STROKE)
    ctx.set_line_cap(cairo.LINE_CAP_ROUND)
    ctx.move_to(c - arm, c - arm)
    ctx.line_to(c + arm, c + arm)
    ctx.move_to(c + arm, c - arm)
    ctx.line_to(c - arm, c + arm)
    ctx.stroke()


def draw_back(ctx, size):
    """A back chevron, 20 pt tall, its optical centre on the button's centre."""
    c = size / 2.0
    ctx.set_source_rgba(*rgb(CONTROL_GREY))
    ctx.set_line_width(CONTROL_STROKE)
    ctx.set_line_cap(cairo.LINE_CAP_ROUND)
    ctx.set_line_join(cairo.LINE_JOIN_ROUND)
    ctx.move_to(c + 4.5, c - 10.0)
    ctx.line_to(c - 5.5, c)
    ctx.line_to(c + 4.5, c + 10.0)
    ctx.stroke()


# --- Invitation heart ----------------------------------------------------------------------------


def heart_path(ctx, cx, top, width):
    """A heart `width` wide with its top at `top`, 0.9 times as tall as it is wide.

    The classic construction: a square standing on one corner, with a half circle on each of its
    two upper sides. The lower corner is rounded a little so the tip is not needle sharp.
    """
    d = width / (1.0 + math.sqrt(2.0))   # centre of the square to each of its corners
    r = d / math.sqrt(2.0)               # lobe radius: half the square's side
    sy = top + d / 2.0 + r               # the square's centre
    tip_y = sy + d
    fillet = d * 0.16

    ctx.new_path()
    ctx.arc(cx - d / 2.0, sy - d / 2.0, r, math.radians(135), math.radians(315))   # left lobe
    ctx.arc(cx + d / 2.0, sy - d / 2.0, r, math.radians(225), math.radians(405))   # right lobe
    ctx.arc(cx, tip_y - fillet * math.sqrt(2.0), fillet, math.radians(45), math.radians(135))
    ctx.close_path()


def heart_height(width):
    d = width / (1.0 + math.sqrt(2.0))
    fillet = d * 0.16
    return d * (1.5 + 1.0 / math.sqrt(2.0)) - fillet * (math.sqrt(2.0) - 1.0)


def draw_heart(ctx, size):
    """A red-pink heart filling about 70% of the canvas, lit from the top left."""
    width = size * 0.70
    height = heart_height(width)
    cx = size / 2.0
    top = (size - height) / 2.0 + 1.0   # a little low: the lobes look heavier than the tip

    # Body: lighter at the top, the accent red through the middle, deeper at the tip.
    heart_path(ctx, cx, top, width)
    body = cairo.LinearGradient(0, top, 0, top + height)
    body.add_color_stop_rgba(0.0, *rgb(mix(HEART_RED, WHITE, 0.14)))
    body.add_color_stop_rgba(0.5, *rgb(HEART_RED))
    body.add_color_stop_rgba(1.0, *rgb(mix(HEART_RED, (0, 0, 0), 0.12)))
    ctx.set_source(body)
    ctx.fill()

    # Soft oval highlight on the left lobe, clipped to the heart.
    ctx.save()
    heart_path(ctx, cx, top, width)
    ctx.clip()
    hx, hy = cx - width * 0.24, top + height * 0.22
    spread = width * 0.26
    ctx.translate(hx, hy)
    ctx.rotate(math.radians(-40))
    ctx.scale(1.0, 0.6)
    glow = cairo.RadialGradient(0, 0, 0, 0, 0, spread)
    glow.add_color_stop_rgba(0.0, *rgb(WHITE, 0.30))
    glow.add_color_stop_rgba(1.0, *rgb(WHITE, 0.0))
    ctx.set_source(glow)
    ctx.arc(0, 0, spread, 0, 2 * math.pi)
    ctx.fill()
    ctx.restore()


# --- Choice radio buttons ------------------------------------------------------------------------

RADIO_STROKE = 2.0
RADIO_RADIUS = 10.5      # ring centre line: the ring's outer edge is 1 pt inside the canvas
RADIO_DOT_RADIUS = 5.0


def draw_radio(ctx, size):
    """An empty ring: a choice that is not selected."""
    c = size / 2.0
    ctx.set_source_rgba(*rgb(RING_GREY))
    ctx.set_line_width(RADIO_STROKE)
    ctx.arc(c, c, RADIO_RADIUS, 0, 2 * math.pi)
    ctx.stroke()


def draw_radio_highlight(ctx, size):
    """A white ring around a white dot: a selected choice on the red card."""
    c = size / 2.0
    ctx.set_source_rgba(*rgb(WHITE))
    ctx.set_line_width(RADIO_STROKE)
    ctx.arc(c, c, RADIO_RADIUS, 0, 2 * math.pi)
    ctx.stroke()
    ctx.arc(c, c, RADIO_DOT_RADIUS, 0, 2 * math.pi)
    ctx.fill()


# --- Rating faces --------------------------------------------------------------------------------
#
# A face is a ring, two eyes and a mouth. The ring's outer edge sits 8 pt inside the 60 pt canvas
# so that it fits inside the round rating button with room to spare.

FACE_MARGIN = 8.0
FACE_STROKE = 2.5
EYE_RADIUS = 2.6
EYE_DX, EYE_DY = 7.0, -5.0      # from the face's centre


def face_outline(ctx, size, colour):
    """Ring and eyes; returns the face's centre and radius for the mouth to use."""
    c = size / 2.0
    radius = c - FACE_MARGIN - FACE_STROKE / 2.0
    ctx.set_source_rgba(*rgb(colour))
    ctx.set_line_width(FACE_STROKE)
    ctx.set_line_cap(cairo.LINE_CAP_ROUND)
    ctx.set_line_join(cairo.LINE_JOIN_ROUND)
    ctx.arc(c, c, radius, 0, 2 * math.pi)
    ctx.stroke()
    for dx in (-EYE_DX, EYE_DX):
        ctx.arc(c + dx, c + EYE_DY, EYE_RADIUS, 0, 2 * math.pi)
        ctx.fill()
    return c, radius


def draw_face_poor(ctx, size, colour):
    """A frown: the mouth curves down at its corners."""
    c, _ = face_outline(ctx, size, colour)
    y = c + 10.0
    ctx.move_to(c - 7.5, y)
    ctx.curve_to(c - 4.0, y - 5.0, c + 4.0, y - 5.0, c + 7.5, y)
    ctx.stroke()


def draw_face_ok(ctx, size, colour):
    """A content face: a short, gentle smile."""
    c, _ = face_outline(ctx, size, colour)
    y = c + 6.5
    ctx.move_to(c - 7.0, y)
    ctx.curve_to(c - 3.5, y + 3.0, c + 3.5, y + 3.0, c + 7.0, y)
    ctx.stroke()


def draw_face_very_good(ctx, size, colour):
    """A grin: a wide open mouth, filled, with a straight top lip."""
    c, _ = face_outline(ctx, size, colour)
    y = c + 3.5
    ctx.move_to(c - 9.5, y)
    ctx.line_to(c + 9.5, y)
    ctx.curve_to(c + 9.5, y + 7.0, c + 5.0, y + 10.5, c, y + 10.5)
    ctx.curve_to(c - 5.0, y + 10.5, c - 9.5, y + 7.0, c - 9.5, y)
    ctx.close_path()
    ctx.fill_preserve()
    ctx.set_line_width(1.5)     # rounds the mouth's corners
    ctx.stroke()


# --- Output --------------------------------------------------------------------------------------


def with_colour(draw, colour):
    return lambda ctx, size: draw(ctx, size, colour)


# (file name, canvas size in points, drawing function) for each bundle.
PLUGIN_IMAGES = [
    ("cancel", CONTROL_SIZE, draw_cancel),
    ("back", CONTROL_SIZE, draw_back),
    ("heart", HEART_SIZE, draw_heart),
    ("radio", RADIO_SIZE, draw_radio),
    ("radioHighlight", RADIO_SIZE, draw_radio_highlight),
]

APP_IMAGES = [
    ("radio", RADIO_SIZE, draw_radio),
    ("radioHighlight", RADIO_SIZE, draw_radio_highlight),
    ("poor", FACE_SIZE, with_colour(draw_face_poor, FACE_GREY)),
    ("ok", FACE_SIZE, with_colour(draw_face_ok, FACE_GREY)),
    ("verygood", FACE_SIZE, with_colour(draw_face_very_good, FACE_GREY)),
    ("smileyPoor", FACE_SIZE, with_colour(draw_face_poor, WHITE)),
    ("smileyAverage", FACE_SIZE, with_colour(draw_face_ok, WHITE)),
    ("smileyGood", FACE_SIZE, with_colour(draw_face_very_good, WHITE)),
]

# Rating faces the plug-in also carries in its own bundle: (name there, name in the app bundle).
PLUGIN_COPIES = [
    ("smileyPoor", "smileyPoor"),
    ("poor", "poor"),
    ("smileyAverage", "smileyAverage"),
    ("ok", "ok"),
    ("smileyGood", "smileyGood"),
    ("veryGood", "verygood"),
]


def file_name(name, scale):
    return f"{name}.png" if scale == 1 else f"{name}@{scale}x.png"


def render(path, size, draw, scale):
    pixels = size * scale
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, pixels, pixels)   # starts transparent
    ctx = cairo.Context(surface)
    ctx.set_antialias(cairo.ANTIALIAS_BEST)
    ctx.scale(scale, scale)
    draw(ctx, size)
    surface.flush()
    surface.write_to_png(path)


def main():
    resources = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    plugin_dir = os.path.join(resources, "plugin")
    app_dir = os.path.join(resources, "app")
    for folder in (plugin_dir, app_dir):
        os.makedirs(folder, exist_ok=True)

    written = []
    for folder, images in ((plugin_dir, PLUGIN_IMAGES), (app_dir, APP_IMAGES)):
        for name, size, draw in images:
            for scale in SCALES:
                path = os.path.join(folder, file_name(name, scale))
                render(path, size, draw, scale)
                written.append(path)

    # Byte-for-byte copies, so the two bundles can never drift apart.
    for plugin_name, app_name in PLUGIN_COPIES:
        for scale in SCALES:
            source = os.path.join(app_dir, file_name(app_name, scale))
            target = os.path.join(plugin_dir, file_name(plugin_name, scale))
            shutil.copyfile(source, target)
            written.append(target)

    for path in written:
        print(os.path.relpath(path, os.path.dirname(resources)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
