#!/usr/bin/env python3
"""Write the small sample files of the directory samples/.

Everything is computed, nothing is photographed: each sample is drawn from
implicit shapes and smoothed random noise with a fixed seed of its own, so that
every run gives the same pixels and a sample can be changed without changing
the others.

Needs numpy and Pillow (Debian: python3-numpy python3-pil).

    python3 scripts/make_samples.py [-o DIRECTORY]
"""

import argparse
import json
from dataclasses import dataclass
from pathlib import Path

import numpy as np
from PIL import Image
from PIL.TiffImagePlugin import ImageFileDirectory_v2

TIFF_IMAGE_DESCRIPTION = 270


def to_bytes(values):
    """Round real grey values (nominally 0 to 255) to 8-bit ones."""
    return np.clip(np.rint(values), 0, 255).astype(np.uint8)


def save_png(path, pixels):
    """Write a boolean (1-bit), grey or RGB (8-bit) array as PNG."""
    Image.fromarray(pixels).save(path, optimize=True)


def save_tiff(path, pages, compression="tiff_adobe_deflate", description=None):
    """Write two-dimensional arrays of one type as the pages of a TIFF file."""
    images = [Image.fromarray(page) for page in pages]
    tags = ImageFileDirectory_v2()
    if description is not None:
        tags[TIFF_IMAGE_DESCRIPTION] = description.encode("ascii").decode("ascii")
    images[0].save(path, compression=compression, tiffinfo=tags,
                   save_all=len(images) > 1, append_images=images[1:])


def pixel_grid(width, height):
    """The x and y coordinates of all pixel centres; y grows downwards."""
    y, x = np.mgrid[0:height, 0:width].astype(float)
    return x, y


def turned(x, y, centre, degrees):
    """Coordinates along and across an axis turned counter-clockwise as seen."""
    angle = np.deg2rad(degrees)
    dx, dy = x - centre[0], y - centre[1]
    along = dx * np.cos(angle) - dy * np.sin(angle)
    across = dx * np.sin(angle) + dy * np.cos(angle)
    return along, across


def smooth(values, *sigmas):
    """Blur periodically by a Gaussian, with one standard deviation per axis."""
    spectrum = np.fft.fftn(values)
    for axis, sigma in enumerate(sigmas):
        frequency = np.fft.fftfreq(values.shape[axis])
        shape = [1] * values.ndim
        shape[axis] = -1
        gain = np.exp(-2 * (np.pi * sigma * frequency) ** 2)
        spectrum = spectrum * gain.reshape(shape)
    return np.fft.ifftn(spectrum).real


def smooth_noise(rng, shape, *sigmas):
    """Gaussian noise blurred as by smooth(), with mean 0 and deviation 1."""
    noise = smooth(rng.standard_normal(shape), *sigmas)
    return (noise - noise.mean()) / noise.std()


def sample_periodic(texture, column, row):
    """Look a texture up at real coordinates, bilinearly and periodically."""
    rows, columns = texture.shape
    r0, c0 = np.floor(row).astype(int), np.floor(column).astype(int)
    fr, fc = row - r0, column - c0
    r0, r1, c0, c1 = r0 % rows, (r0 + 1) % rows, c0 % columns, (c0 + 1) % columns
    upper = texture[r0, c0] * (1 - fc) + texture[r0, c1] * fc
    lower = texture[r1, c0] * (1 - fc) + texture[r1, c1] * fc
    return upper * (1 - fr) + lower * fr


def coverage(distance, softness=1.0):
    """Turn signed distances (positive inside) into soft-edged opacities."""
    t = np.clip(distance / softness + 0.5, 0, 1)
    return t * t * (3 - 2 * t)


def blend(below, above, opacity):
    """Paint `above` on `below`; all channels of a pixel share its opacity."""
    if np.ndim(opacity) < np.ndim(below):
        opacity = opacity[..., None]
    return below + (above - below) * opacity


@dataclass
class Particle:
    """An irregular ellipse or rod; half-axes in pixels, angle in degrees."""

    centre: tuple
    major: float
    minor: float
    angle: float
    roundness: float    # exponent of the norm: 2 for an ellipse, more for a rod
    waves: tuple        # (order, amplitude, phase) of the bumps of the outline

    def depth(self, x, y, growth=0.0):
        """Positive inside (1 at the centre), 0 on the outline."""
        u, v = turned(x, y, self.centre, self.angle)
        u, v = u / (self.major + growth), v / (self.minor + growth)
        radius = (np.abs(u) ** self.roundness
                  + np.abs(v) ** self.roundness) ** (1 / self.roundness)
        theta = np.arctan2(v, u)
        outline = 1 + sum(amplitude * np.cos(order * theta + phase)
                          for order, amplitude, phase in self.waves)
        return 1 - radius / outline

    def distance(self, x, y):
        """Signed distance to the outline in pixels, good near the outline."""
        depth = self.depth(x, y)
        slope = np.hypot(*np.gradient(depth))
        return depth / np.maximum(slope, 1e-6)


# Number, range of the half major axis, range of the elongation, exponent.
PARTICLE_KINDS = (
    (4, (23, 29), (1.0, 1.2), 2.0),     # large round
    (5, (26, 35), (3.2, 4.3), 3.0),     # long rods
    (6, (14, 18), (1.0, 1.25), 2.0),    # medium round
    (6, (15, 20), (2.0, 3.0), 2.4),     # oblong
    (7, (8, 11), (1.0, 1.2), 2.0),      # small round
    (7, (10, 13), (2.0, 2.8), 2.6),     # short rods
)


def random_particle(rng, centre, size, elongation, roundness):
    major = rng.uniform(*size)
    waves = tuple((order, rng.uniform(0, 0.10) / order, rng.uniform(0, 2 * np.pi))
                  for order in (2, 3, 4, 5))
    return Particle(centre, major, major / rng.uniform(*elongation),
                    rng.uniform(0, 180), roundness, waves)


def place_particles(rng, width, height, gap=4.0):
    """Throw particles one by one, keeping those clear of all earlier ones."""
    x, y = pixel_grid(width, height)
    border = np.ones((height, width), bool)
    border[4:-4, 4:-4] = False

    # A few are cut by the border on purpose; the others stay clear of it.
    wanted = [((6, 0.30 * height), *PARTICLE_KINDS[0][1:]),
              ((0.72 * width, 9), *PARTICLE_KINDS[2][1:]),
              ((width - 8, 0.62 * height), *PARTICLE_KINDS[3][1:]),
              ((0.26 * width, height - 7), *PARTICLE_KINDS[1][1:]),
              ((0.60 * width, height - 3), *PARTICLE_KINDS[4][1:])]
    for number, *kind in PARTICLE_KINDS:
        wanted += [(None, *kind)] * number

    occupied = np.zeros((height, width), bool)
    particles = []
    for centre, *kind in wanted:
        for _ in range(500):
            where = centre or (rng.uniform(0, width), rng.uniform(0, height))
            particle = random_particle(rng, where, *kind)
            grown = particle.depth(x, y, gap) > 0
            if centre is None and (grown & border).any():
                continue
            if not (grown & occupied).any():
                occupied |= particle.depth(x, y) > 0
                particles.append(particle)
                break
        else:
            raise RuntimeError("no room for all particles")
    # Number them as a row-by-row scan meets them.
    return sorted(particles,
                  key=lambda p: np.flatnonzero(p.depth(x, y) > 0)[0])


def make_particles(width=360, height=270):
    """The micrograph, its label image and its particles."""
    rng = np.random.default_rng(1701)
    x, y = pixel_grid(width, height)
    shape = (height, width)
    particles = place_particles(rng, width, height)

    light = (1.14 - 0.60 * np.hypot((x - 0.36 * width) / width,
                                    (y - 0.40 * height) / height) ** 1.5
             - 0.28 * x / width)
    scene = 82 + 4 * smooth_noise(rng, shape, 9, 9) \
        + 2.5 * smooth_noise(rng, shape, 2, 2)
    grain = smooth_noise(rng, shape, 1.3, 1.3)
    mottle = smooth_noise(rng, shape, 4, 4)
    labels = np.zeros(shape, np.float32)

    for label, particle in enumerate(particles, 1):
        distance = particle.distance(x, y)
        depth = np.clip(particle.depth(x, y), 0, 1)
        u, v = turned(x, y, particle.centre, particle.angle)
        inside = rng.uniform(165, 200) + 14 * np.sqrt(depth)
        # A lamp from the upper left, and a dark rim.
        inside = inside - 13 * ((x - particle.centre[0]) + (y - particle.centre[1])) \
            / (particle.major + particle.minor)
        inside = inside - 34 * np.exp(-np.clip(distance, 0, None) / 1.6)
        # Rods are banded across, the others are grained.
        if particle.major > 1.9 * particle.minor:
            period = rng.uniform(5, 7.5)
            inside = inside + 9 * np.sin(2 * np.pi * u / period + 0.5 * mottle)
            inside = inside + 5 * grain
        else:
            inside = inside + 8 * grain + 7 * mottle
        # A faint shadow, then the particle itself.
        halo = np.exp(-np.clip(-distance, 0, None) / 4)
        scene = scene - 14 * halo * (distance <= 0)
        scene = blend(scene, inside, coverage(distance, 1.8))
        labels[particle.depth(x, y) > 0] = label

    picture = smooth(np.pad(scene * light, 8, mode="edge"), 0.7, 0.7)[8:-8, 8:-8]
    picture = picture + rng.standard_normal(shape) * (2.5 + 0.016 * picture)
    return to_bytes(picture), labels, particles


def make_workpiece(width=400, height=320, angle=23.0):
    """A brushed oblong plate with holes, turned counter-clockwise."""
    rng = np.random.default_rng(23)
    x, y = pixel_grid(width, height)
    u, v = turned(x, y, (0.5 * width - 0.5, 0.5 * height - 0.5), angle)

    def box(u, v, half_length, half_width, radius):
        du = np.abs(u) - half_length + radius
        dv = np.abs(v) - half_width + radius
        outside = np.hypot(np.maximum(du, 0), np.maximum(dv, 0))
        return radius - outside - np.minimum(np.maximum(du, dv), 0)

    plate = box(u, v, 150, 62, 16)
    holes = [np.hypot(u + 112, v) - 22,                     # large bore
             -box(u - 12, v, 46, 11, 11)]                   # slot
    holes += [np.hypot(u - 118, v - side) - 10 for side in (-34, 34)]
    holes += [np.hypot(u + 58, v - side) - 7 for side in (-40, 40)]
    hole = np.minimum.reduce(holes)
    distance = np.minimum(plate, hole)

    # Brushed along the axis, with cutter marks around the bore and scratches.
    brushed = smooth_noise(rng, (256, 512), 0.8, 22)
    coarse = smooth_noise(rng, (256, 512), 5, 40)
    metal = 158 + 13 * sample_periodic(brushed, u + 256, v + 128) \
        + 7 * sample_periodic(coarse, u + 256, v + 128)
    around = np.hypot(u + 112, v)
    face = coverage(36 - around, 1.5)
    metal = blend(metal, 184 + 12 * np.sin(around * 2.2)
                  + 5 * sample_periodic(brushed, v + 256, u + 128), face)
    for _ in range(9):
        u0, v0 = rng.uniform(-140, 140), rng.uniform(-55, 55)
        s, t = turned(u, v, (u0, v0), rng.uniform(-35, 35))
        length = rng.uniform(8, 24)
        metal = metal + rng.choice((-26, 24)) * np.exp(-(t / 0.7) ** 2) \
            * coverage(length - np.abs(s), 4)
    metal = metal * (1.0 + 0.11 * u / 150 - 0.06 * v / 62)

    # The chamfer catches or loses the light, which comes from the upper left.
    gy, gx = np.gradient(distance)
    chamfer = coverage(4.5 - distance, 1.5)
    metal = metal + chamfer * 52 * (gx + gy) / np.sqrt(2)

    table = 24 + 3 * smooth_noise(rng, x.shape, 14, 14) + 1.5 * smooth_noise(rng, x.shape, 1, 1)
    shadow = np.clip(-distance / 9, 0, 1)
    table = table * (0.45 + 0.55 * shadow)
    picture = blend(table, metal, coverage(distance, 1.4))
    picture = picture + rng.standard_normal(x.shape) * 2.2
    return to_bytes(picture), distance > 0


def make_colour(width=320, height=240, spacing=25.0):
    """Cells of a stained tissue: pink bodies, violet nuclei, white gaps."""
    rng = np.random.default_rng(84)
    x, y = pixel_grid(width, height)
    shape = (height, width)

    # Two slowly varying displacements make all outlines organic.
    wx = x + 2.6 * smooth_noise(rng, shape, 6, 6) + 0.7 * smooth_noise(rng, shape, 2, 2)
    wy = y + 2.6 * smooth_noise(rng, shape, 6, 6) + 0.7 * smooth_noise(rng, shape, 2, 2)

    # Compact bodies follow the displacements less.
    nx, ny = x + 0.6 * (wx - x), y + 0.6 * (wy - y)
    rx, ry = x + 0.25 * (wx - x), y + 0.25 * (wy - y)

    # Jittered hexagonal seeds, one cell each.
    seeds = []
    for row, cy in enumerate(np.arange(-spacing, height + 2 * spacing, spacing * 0.87)):
        for cx in np.arange(-spacing, width + 2 * spacing, spacing):
            seeds.append((cx + (row % 2) * spacing / 2 + rng.normal(0, 3.6),
                          cy + rng.normal(0, 3.6)))
    seeds = np.array(seeds)
    # Distance from the wall, from the two nearest seeds.
    squares = np.stack([(wx - cx) ** 2 + (wy - cy) ** 2 for cx, cy in seeds])
    order = np.argpartition(squares, 1, axis=0)[:2]
    near, far = np.take_along_axis(squares, order, axis=0)
    owner = order[0]
    between = np.hypot(*(seeds[order[0]] - seeds[order[1]]).transpose(2, 0, 1))
    wall = (far - near) / (2 * between)

    # Some places are empty: gaps in the tissue.
    gaps = ((74, 62, 38, 23, 35), (236, 150, 47, 25, -28), (300, 22, 24, 14, 10))
    empty = np.full(shape, -np.inf)
    for cx, cy, a, b, angle in gaps:
        p, q = turned(wx, wy, (cx, cy), angle)
        empty = np.maximum(empty, (1 - np.hypot(p / a, q / b)) * b)

    tone = rng.normal(0, 1, len(seeds))[owner][..., None]
    fibre = smooth_noise(rng, shape, 1.2, 1.2)[..., None]
    cloud = smooth_noise(rng, shape, 18, 18)[..., None]
    picture = np.array([226.0, 158, 190]) + tone * [4, 9, 6] \
        + fibre * [4, 8, 5] + cloud * [4, 7, 3]
    picture = blend(picture, np.array([243.0, 208, 222]) + fibre * [2, 4, 3],
                    coverage(1.3 - wall, 1.8))
    # Cells around the gaps stain more deeply.
    lining = np.exp(-((empty + 9) / 6) ** 2)
    picture = blend(picture, np.array([206.0, 118, 168]) + fibre * [4, 8, 5], 0.45 * lining)

    chromatin = smooth_noise(rng, shape, 0.9, 0.9)[..., None]
    for cx, cy in seeds:
        a = rng.uniform(5.0, 7.2)
        b = a / rng.uniform(1.05, 1.7)
        p, q = turned(nx, ny, (cx + rng.normal(0, 1.4), cy + rng.normal(0, 1.4)),
                      rng.uniform(0, 180))
        distance = (1 - np.hypot(p / a, q / b)) * b
        dark = rng.uniform(0, 1) ** 2
        colour = np.array([122.0, 78, 158]) - dark * np.array([48, 36, 34])
        body = colour + chromatin * [9, 9, 7] \
            - 20 * np.exp(-np.clip(distance, 0, None) / 0.9)[..., None]
        # One or two nucleoli in the pale nuclei.
        if dark < 0.35:
            spot = np.exp(-((p - rng.uniform(-2, 2)) ** 2 + (q - rng.uniform(-1, 1)) ** 2) / 1.6)
            body = blend(body, np.array([62.0, 34, 104]), 0.7 * spot)
        picture = blend(picture, body, 0.93 * coverage(distance, 1.8))

    picture = blend(picture, np.array([246.0, 242, 245]) + cloud, coverage(empty, 2.0))
    # Red blood cells inside the gaps.
    for cx, cy, a in ((62, 66, 5.6), (75, 56, 5.2), (84, 68, 5.6), (92, 47, 5.0),
                      (217, 144, 5.4), (229, 155, 5.8), (243, 146, 5.2), (250, 160, 5.6)):
        radius = np.hypot(rx - cx, ry - cy)
        red = np.array([216.0, 84, 92]) + (np.exp(-(radius / 2.6) ** 2) * 26)[..., None]
        picture = blend(picture, red, 0.92 * coverage(a - radius, 1.6))

    picture = picture + rng.standard_normal((height, width, 3)) * 1.6
    return to_bytes(picture)


def make_volume(width=64, height=48, pages=12):
    """Ellipsoids in a medium that brightens along all axes, as slices."""
    rng = np.random.default_rng(12)
    z, y, x = np.mgrid[0:pages, 0:height, 0:width].astype(float)
    volume = 28 + 26 * x / (width - 1) + 12 * y / (height - 1) + 16 * z / (pages - 1)
    # Centre (x, y, z), half-axes (x, y, z), grey value.
    bodies = (((17, 15, 4.5), (10, 8, 3.6), 205),
              ((45, 13, 7.5), (7, 7, 3.2), 170),
              ((40, 35, 4.0), (13, 6, 2.8), 225),
              ((14, 37, 8.5), (6, 6, 2.6), 150),
              ((57, 30, 9.0), (4, 8, 2.2), 190),
              ((29, 25, 9.5), (5, 4, 1.8), 240))
    texture = smooth_noise(rng, volume.shape, 0.6, 1.2, 1.2)
    for centre, axes, grey in bodies:
        radius = np.sqrt(sum(((c - m) / a) ** 2
                             for c, m, a in zip((x, y, z), centre, axes)))
        inside = grey + 9 * texture - 25 * radius ** 2
        volume = blend(volume, inside, coverage((1 - radius) * min(axes), 0.9))
    volume = volume + rng.standard_normal(volume.shape) * 4
    return to_bytes(volume)


def make_ring(size=256, teeth=36, balls=12):
    """A toothed bearing: everything is simple in polar coordinates."""
    rng = np.random.default_rng(360)
    x, y = pixel_grid(size, size)
    middle = (size - 1) / 2
    dx, dy = x - middle, middle - y
    radius = np.hypot(dx, dy)
    angle = np.arctan2(dy, dx)          # counter-clockwise as seen, from the right
    turn = angle / (2 * np.pi)          # from -1/2 to 1/2

    # A texture in polar coordinates (periodic in the angle): radial streaks.
    streaks = smooth_noise(rng, (128, 720), 12, 0.8)
    grain = smooth_noise(rng, (128, 720), 1.0, 2.0)
    radial = sample_periodic(streaks, turn * 720, radius)
    grained = sample_periodic(grain, turn * 720, radius)

    picture = 20 + 2 * smooth_noise(rng, x.shape, 10, 10)

    # The outer ring with its teeth; one tooth is missing, on the right.
    flank = np.cos(teeth * angle)
    outline = 112 + 6 * np.clip(2.2 * flank, -1, 1)
    outline = np.where(np.abs(turn) < 0.5 / teeth, 106, outline)
    outer = np.minimum(outline - radius, radius - 84)
    metal = 160 + 15 * radial + 5 * grained + 16 * np.cos(2 * angle - 1.2)
    metal = metal - 40 * np.exp(-np.clip(outer, 0, None) / 1.8)
    picture = blend(picture, metal, coverage(outer, 1.5))

    # A scale engraved in it: 36 marks, each third of them longer, two wide.
    for mark in range(36):
        start = 2 * np.pi * mark / 36
        along = dx * np.cos(start) + dy * np.sin(start)
        across = -dx * np.sin(start) + dy * np.cos(start)
        inner = 88 if mark % 3 == 0 else 94
        half = 2.4 if mark in (0, 9) else 1.1 if mark % 3 == 0 else 0.7
        line = np.minimum(half - np.abs(across), np.minimum(along - inner, 100 - along))
        picture = blend(picture, 44, 0.9 * coverage(line, 1.2))

    # The balls run in the groove.
    groove = np.minimum(84 - radius, radius - 60)
    picture = blend(picture, 46 + 5 * grained, coverage(groove, 1.5))
    for ball in range(balls):
        start = 2 * np.pi * (ball + 0.5) / balls
        cx, cy = 72 * np.cos(start), 72 * np.sin(start)
        depth = 9.6 - np.hypot(dx - cx, dy - cy)
        shine = np.exp(-((dx - cx + 2.8) ** 2 + (dy - cy - 2.8) ** 2) / 12)
        picture = blend(picture, 92 + 9 * np.clip(depth, 0, 9) + 95 * shine,
                        coverage(depth, 1.5))

    # The inner ring with a turned surface and a key way at the bottom.
    inner = np.minimum(60 - radius, radius - 32)
    keyway = np.minimum(6 - np.abs(dx), np.minimum(-dy - 10, dy + 41))
    inner = np.minimum(inner, -keyway)
    metal = 136 + 12 * radial + 8 * np.cos(radius * 1.7) + 5 * grained \
        + 22 * np.cos(2 * angle + 0.8)
    metal = metal - 40 * np.exp(-np.clip(inner, 0, None) / 1.8)
    picture = blend(picture, metal, coverage(inner, 1.5))

    picture = picture + rng.standard_normal(x.shape) * 2
    return to_bytes(picture)


def make_table(labels):
    """Features of some particles, with repeated rows and columns.

    Returns the values (one row per particle, one column per feature) and the
    text that describes them.
    """
    features = ["area", "x-centre", "y-centre", "width", "size", "x-extent"]
    # The number is the label; a letter marks a row that is there repeatedly.
    rows = ["3", "5", "8", "5b", "11", "14", "3b", "17", "20", "5c", "23", "11b"]

    values = []
    for name in rows:
        y, x = np.nonzero(labels == int(name.rstrip("bc")))
        extent = np.ptp(x) + 1
        # "size" repeats "area", and "x-extent" repeats "width".
        values.append((x.size, x.mean(), y.mean(), extent, x.size, extent))

    description = {"vessa": {
        "type": "IMAGE_GREY_F",
        "dimensions": 2,
        "attributes": {"Image": {
            "ContentType": "table",
            "table-type": "features",
            "x-name": "feature",
            "y-name": "particle",
            "f-name": "value",
            "x-keys": features,
            "y-keys": rows,
        }},
    }}
    text = json.dumps(description, ensure_ascii=True, separators=(",", ":"))
    return np.array(values, np.float32), text


def make_shift(width=360, height=270):
    """Displacements in x and y of a few pixels, like seen through water."""
    x, y = pixel_grid(width, height)
    p, q = 2 * np.pi * x / width, 2 * np.pi * y / height
    shift_x = 4.0 * np.sin(2 * q + 0.6 * np.sin(p)) + 1.0 * np.cos(3 * p)
    shift_y = 3.0 * np.sin(3 * p + 0.8 * np.cos(q)) + 1.0 * np.sin(2 * q + 1)
    return shift_x.astype(np.float32), shift_y.astype(np.float32)


def make_map(gamma=0.6):
    """For each of 256 grey values another one; this map brightens."""
    grey = np.arange(256) / 255
    return (255 * grey ** gamma).astype(np.float32).reshape(1, 256)


PALETTE = ("000000", "e6504b", "3f8fd2", "5cb85c", "f2b134", "9467bd", "2bb5b0",
           "f08fb4", "a5673f", "b5d33d", "4455b0", "f57f3b", "8fd3f4", "2f7d4f",
           "b8b8c0", "fff3c4")


def make_palette():
    """Sixteen colours in one row, the first one (the background) black."""
    return np.array([list(bytes.fromhex(colour)) for colour in PALETTE],
                    np.uint8)[None]


def make_size_classes(limits=(1, 100, 200, 400, 800, 1600), count=4096):
    """The class of each size in pixels: how many of the limits it reaches."""
    return np.searchsorted(limits, np.arange(count), side="right").astype(np.uint8)[None]


# ---------------------------------------------------------------------------


def main():
    default = Path(__file__).resolve().parent.parent / "samples"
    parser = argparse.ArgumentParser(description="Write the sample files.")
    parser.add_argument("-o", "--output", type=Path, default=default,
                        metavar="DIRECTORY", help="where to write (default: samples/)")
    output = parser.parse_args().output
    output.mkdir(parents=True, exist_ok=True)

    picture, labels, particles = make_particles()
    save_png(output / "particles.png", picture)
    save_tiff(output / "labels.tif", [labels])
    save_png(output / "mask.png", labels > 0)

    workpiece, mask = make_workpiece()
    save_png(output / "workpiece.png", workpiece)
    save_png(output / "workpiece_mask.png", mask)

    save_png(output / "colour.png", make_colour())
    save_tiff(output / "volume.tif", make_volume(), compression=None)
    save_png(output / "ring.png", make_ring())

    table, description = make_table(labels)
    save_tiff(output / "table.tif", [table], compression=None, description=description)

    height, width = labels.shape
    shift_x, shift_y = make_shift(width, height)
    np.save(output / "shift_x.npy", shift_x)
    np.save(output / "shift_y.npy", shift_y)
    np.save(output / "map.npy", make_map())
    save_png(output / "palette.png", make_palette())
    save_png(output / "size_classes.png", make_size_classes())

    print(f"{len(particles)} particles")


if __name__ == "__main__":
    main()
