"""Size, variety and differences of PNG pictures, with the standard library only."""

import struct
import zlib

SIGNATURE = b"\x89PNG\r\n\x1a\n"


def chunks(data):
    position = len(SIGNATURE)
    while position < len(data):
        length, kind = struct.unpack_from(">I4s", data, position)
        yield kind, data[position + 8:position + 8 + length]
        position += 12 + length


def read(path):
    """Width, and the lines as they are stored, without the filter byte."""
    with open(path, "rb") as file:
        data = file.read()
    if not data.startswith(SIGNATURE):
        raise AssertionError("not a PNG picture")
    parts = list(chunks(data))
    width, height = struct.unpack_from(">II", dict(parts)[b"IHDR"])
    pixels = zlib.decompress(b"".join(content for kind, content in parts if kind == b"IDAT"))
    line_length = len(pixels) // height
    return width, [pixels[start + 1:start + line_length] for start in range(0, line_length * height, line_length)]


def size_and_lines(path):
    """Width, height, and the number of different lines. The lines of a blank picture are all equal."""
    width, lines = read(path)
    return width, len(lines), len(set(lines))


def lines_that_differ(path, other_path):
    """How many lines differ from the other picture of the same height, or lie below a line that differs."""
    return sum(line != other for line, other in zip(read(path)[1], read(other_path)[1]))
