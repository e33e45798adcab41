"""What the numbers were measured on, and with which peers: nothing that tells whose machine it is."""

import os
import platform
import re

from shared import TOP, Failed, call, read_cache

PEERS = {"Boost": "libboost1.74-dev",  # the package without a number has one of its own
         "Qt": "qtbase5-dev", "GLib": "libglib2.0-dev", "libuv": "libuv1-dev",
         "moodycamel::ConcurrentQueue": "libconcurrentqueue-dev",
         "moodycamel::ReaderWriterQueue": "libreaderwriterqueue-dev", "Google Benchmark": "libbenchmark-dev"}


def first_line(*command):
    """What a program says, or unknown where it is not there."""
    try:
        return call(*command).partition("\n")[0]
    except Failed:
        return "unknown"


def find(pattern, path):
    with open(path, encoding="utf-8") as file:
        return next(iter(re.findall(pattern, file.read(), re.MULTILINE)), "")


def describe(build, load):
    """Pairs of a name and a value."""
    compiler = first_line(read_cache(build).get("CMAKE_CXX_COMPILER", ""), "--version")
    virtual = ", a virtual machine" if find(r"^flags.*\bhypervisor\b", "/proc/cpuinfo") else ""
    versions = {name: first_line("dpkg-query", "-W", "-f", "${Version}", package) for name, package in PEERS.items()}
    return {
        "Processor": f"{find('^model name[^:]*: (.*)$', '/proc/cpuinfo') or 'unknown'}, {os.cpu_count()} cores{virtual}",
        "Memory": f"{int(find(r'^MemTotal: *([0-9]+) kB', '/proc/meminfo')) / 2 ** 20:.1f} GiB",
        "Load before": f"{load:.2f}",
        "Kernel": f"{platform.system()} {re.match('[0-9.]*', platform.release())[0]}, {platform.machine()}",
        "System": platform.freedesktop_os_release()["PRETTY_NAME"],
        "Compiler": f"{compiler}, CMake's Release flags",
        "Revision": first_line("git", "-c", "safe.directory=*", "-C", TOP, "describe", "--always", "--dirty"),
        # Of 5.15.8+dfsg-11 it is 5.15.8.
        **{name: re.sub(r"^\d+:|[+~-].*$", "", version) for name, version in versions.items()},
    }
