"""A display without a screen, and the tool that operates the windows on it."""

import os
import struct
import subprocess
import tempfile
import time

# For steps that take a moment, on a machine that is busy or slowed down by a sanitizer.
GENEROUS_SECONDS = 60


class Display:
    """An X server without a screen, and the tool that presses its keys."""

    SIZE = (1280, 1024)

    def __init__(self, size=SIZE):
        self.size = tuple(size)
        read_end, write_end = os.pipe()
        self.memory = tempfile.TemporaryDirectory()  # where the screen's pixels can be read
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "%dx%dx24" % size, "-nolisten", "tcp",
             "-noreset", "-fbdir", self.memory.name],
            pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as number:
            self.name = ":" + number.readline().strip()
        if self.name == ":":
            raise AssertionError("Xvfb has not started")

    def xdotool(self, *arguments):
        done = subprocess.run(["xdotool", *map(str, arguments)], env=dict(os.environ, DISPLAY=self.name),
                              stdout=subprocess.PIPE, text=True, timeout=GENEROUS_SECONDS, check=True)
        return done.stdout.strip()

    def pixels(self, left, top, width, height):
        """The pixels that the screen shows there: rows of colours, each (red, green, blue)."""
        with open(os.path.join(self.memory.name, "Xvfb_screen0"), "rb") as file:
            data = file.read()
        # An X window dump: a header of 32-bit numbers, a colour table, and 4 bytes per pixel.
        header = struct.unpack_from(">25I", data)
        start, bytes_per_line, bits_per_pixel = header[0] + 12 * header[19], header[12], header[11]
        assert bits_per_pixel == 32, header
        rows = []
        for y in range(top, top + height):
            line = start + y * bytes_per_line
            rows.append([tuple(data[line + 4 * x + channel] for channel in (2, 1, 0))
                         for x in range(left, left + width)])
        return rows

    def wait_for_window(self, name, process):
        """The number of the window with this name, which the process opens."""
        deadline = time.monotonic() + GENEROUS_SECONDS
        while time.monotonic() < deadline:
            found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^%s$" % name],
                                   env=dict(os.environ, DISPLAY=self.name), text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False).stdout.split()
            if found:
                return found[0]
            if process.poll() is not None:
                raise AssertionError("%s has ended before it showed its window" % name)
            time.sleep(0.05)
        raise AssertionError("the window has not appeared")

    def start_window_manager(self):
        """The process of one that frames windows, once it works."""
        manager = subprocess.Popen(["openbox", "--sm-disable"], env=dict(os.environ, DISPLAY=self.name),
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + GENEROUS_SECONDS
        # It has to say so to all programs before a window comes.
        while subprocess.run(["xdotool", "get_desktop"], env=dict(os.environ, DISPLAY=self.name),
                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode != 0:
            if time.monotonic() > deadline or manager.poll() is not None:
                raise AssertionError("the window manager does not work")
            time.sleep(0.05)
        return manager

    def height_of(self, window):
        words = dict(line.split("=") for line in self.xdotool("getwindowgeometry", "--shell", window).splitlines())
        return int(words["HEIGHT"])

    def focus(self, window):
        # No window manager sets the focus.
        self.xdotool("windowfocus", "--sync", window)
        if self.xdotool("getwindowfocus", "-f") != window:
            raise AssertionError("the window has not got the focus")

    def close(self):
        self.server.terminate()
        self.server.wait()
        self.memory.cleanup()
