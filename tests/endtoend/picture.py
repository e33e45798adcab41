"""The size of a PNG picture and how varied it is, with what Python itself brings."""

import struct
import zlib

SIGNATURE = b"\x89PNG\r\n\x1a\n"


def chunks(data):
    position = len(SIGNATURE)
    while position < len(data):
        length, kind = struct.unpack_from(">I4s", data, position)
        yield kind, data[position + 8:position + 8 + length]
        position += 12 + length


def size_and_lines(path):
    """Width, height, and how many of its lines differ from each other: those of a blank picture are alike."""
    with open(path, "rb") as file:
        data = file.read()
    if not data.startswith(SIGNATURE):
        raise AssertionError("not a PNG picture")
    parts = list(chunks(data))
    width, height = struct.unpack_from(">II", dict(parts)[b"IHDR"])
    pixels = zlib.decompress(b"".join(content for kind, content in parts if kind == b"IDAT"))
    line_length = len(pixels) // height
    # The first byte of a line only tells how the line is stored.
    lines = {pixels[start + 1:start + line_length] for start in range(0, line_length * height, line_length)}
    return width, height, len(lines)
