#!/usr/bin/env python3
"""Draws the program's icon and writes it as a Windows icon file of several sizes.

Two ports, drawn as brackets that face each other, and an arrow that leaves the one and enters the other. Every size is
drawn for itself: edges are put on whole pixels first, so that the small sizes are sharp and not shrunken.

Usage: make_icon.py OUT.ico [PREVIEW_FOLDER]     the preview is one PNG a size
"""
import pathlib
import struct
import sys
import zlib

SIZES = (16, 20, 24, 32, 48, 64, 128, 256)
PNG_FROM = 256  # larger images are stored as PNG, the rest as bitmaps: that is what every reader of icons expects

TOP = (38, 122, 150)
BOTTOM = (13, 58, 92)
PORT = (236, 244, 248)
ARROW = (255, 190, 61)


def rounded_box(left, top, right, bottom, radius):
    """Signed distance to a box with round corners, negative inside."""
    center_x, center_y = (left + right) / 2, (top + bottom) / 2
    half_w, half_h = (right - left) / 2 - radius, (bottom - top) / 2 - radius

    def distance(x, y):
        dx, dy = abs(x - center_x) - half_w, abs(y - center_y) - half_h
        outside = (max(dx, 0.0) ** 2 + max(dy, 0.0) ** 2) ** 0.5
        return outside + min(max(dx, dy), 0.0) - radius

    return distance


def polygon(points):
    """Distance to a convex polygon given clockwise on the screen; sharp corners."""
    edges = []
    for (x0, y0), (x1, y1) in zip(points, points[1:] + points[:1]):
        length = ((x1 - x0) ** 2 + (y1 - y0) ** 2) ** 0.5
        edges.append((x0, y0, (y1 - y0) / length, (x0 - x1) / length))
    return lambda x, y: max((x - x0) * nx + (y - y0) * ny for x0, y0, nx, ny in edges)


def union(*shapes):
    return lambda x, y: min(shape(x, y) for shape in shapes)


def shapes_for(size):
    """The drawing at this size, in pixels: background, ports, arrow."""
    stroke = max(2, round(size * 0.085))
    edge = max(2, round(size * 0.14))  # from the image's side to the port's back
    depth = max(stroke + 1, round(size * 0.2))  # length of a port's arms
    top = max(3, round(size * 0.2))
    bottom = size - top
    half = max(1, round(size * 0.05))  # of the arrow's shaft
    middle = size / 2
    head_half = round(size * 0.19)
    tip = size - edge - stroke - max(0, round(size * 0.02))
    head = tip - head_half
    corner = stroke * 0.3 if size >= 48 else 0.0

    def port(back, direction):
        arm = sorted((back, back + direction * depth))
        spine = sorted((back, back + direction * stroke))
        return union(
            rounded_box(spine[0], top, spine[1], bottom, corner),
            rounded_box(arm[0], top, arm[1], top + stroke, corner),
            rounded_box(arm[0], bottom - stroke, arm[1], bottom, corner),
        )

    tail = edge + stroke + max(1, round(size * 0.04))
    arrow = union(
        rounded_box(tail, middle - half, head + 0.5, middle + half, 0.0),
        polygon([(head, middle - head_half), (tip, middle), (head, middle + head_half)]),
    )
    background = rounded_box(0, 0, size, size, size * 0.17)
    return background, union(port(edge, 1), port(size - edge, -1)), arrow


def coverage(distance):
    return min(max(0.5 - distance, 0.0), 1.0)


def mix(under, over, amount):
    return tuple(u + (o - u) * amount for u, o in zip(under, over))


def draw(size):
    """Rows from the top; each pixel is red, green, blue, alpha, 0 to 255, alpha not multiplied in."""
    background, ports, arrow = shapes_for(size)
    rows = []
    for row in range(size):
        base = mix(TOP, BOTTOM, row / (size - 1))
        pixels = []
        for column in range(size):
            x, y = column + 0.5, row + 0.5
            color = mix(base, PORT, coverage(ports(x, y)))
            color = mix(color, ARROW, coverage(arrow(x, y)))
            pixels.append((*(round(c) for c in color), round(255 * coverage(background(x, y)))))
        rows.append(pixels)
    return rows


def png_image(rows):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))

    size = len(rows)
    lines = b"".join(b"\0" + bytes(value for pixel in row for value in pixel) for row in rows)
    head = struct.pack(">IIBBBBB", size, size, 8, 6, 0, 0, 0)
    return (
        b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", zlib.compress(lines, 9)) + chunk(b"IEND", b"")
    )


def bitmap_image(rows):
    """A bitmap without file head: colours bottom up, then a mask of transparency for readers without alpha."""
    size = len(rows)
    head = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    colors = bytearray()
    mask = bytearray()
    for row in reversed(rows):
        bits = 0
        for red, green, blue, alpha in row:
            colors += bytes((blue, green, red, alpha))
            bits = bits << 1 | (alpha < 128)
        width = (size + 31) // 32 * 32
        mask += (bits << (width - size)).to_bytes(width // 8, "big")
    return head + bytes(colors) + bytes(mask)


def icon_file(images):
    """images: pairs of size and bytes."""
    out = struct.pack("<HHH", 0, 1, len(images))
    offset = len(out) + 16 * len(images)
    for size, data in images:
        out += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(data), offset)
        offset += len(data)
    return out + b"".join(data for _, data in images)


def main():
    drawings = [(size, draw(size)) for size in SIZES]
    images = [(size, png_image(rows) if size >= PNG_FROM else bitmap_image(rows)) for size, rows in drawings]
    pathlib.Path(sys.argv[1]).write_bytes(icon_file(images))
    if len(sys.argv) > 2:
        for size, rows in drawings:
            (pathlib.Path(sys.argv[2]) / f"{size}.png").write_bytes(png_image(rows))


if __name__ == "__main__":
    main()
