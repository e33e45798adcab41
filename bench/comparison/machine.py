"""What the numbers were measured on, and with which peers: nothing that tells whose machine it is."""

import os
import platform
import re
import subprocess

from shared import TOP, read_cache

PEERS = {
    "Boost": "libboost1.74-dev",  # the package without a number has one of its own
    "Qt": "qtbase5-dev",
    "GLib": "libglib2.0-dev",
    "libuv": "libuv1-dev",
    "moodycamel::ConcurrentQueue": "libconcurrentqueue-dev",
    "moodycamel::ReaderWriterQueue": "libreaderwriterqueue-dev",
    "Google Benchmark": "libbenchmark-dev",
}


def first_line(*command):
    """What a program says, or unknown where it is not there."""
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.partition("\n")[0]
    except (OSError, subprocess.CalledProcessError):
        return "unknown"


def find(pattern, path):
    with open(path, encoding="utf-8") as file:
        found = re.search(pattern, file.read(), re.MULTILINE)
    return found[1].strip() if found else ""


def upstream_version(package):
    """Of 5.15.8+dfsg-11 it is 5.15.8."""
    return re.sub(r"^\d+:|[+~-].*$", "", first_line("dpkg-query", "-W", "-f", "${Version}", package))


def describe(build, load):
    """Pairs of a name and a value."""
    compiler = first_line(read_cache(build).get("CMAKE_CXX_COMPILER", ""), "--version")
    virtual = ", a virtual machine" if find(r"^(flags.*\bhypervisor\b)", "/proc/cpuinfo") else ""
    return {
        "Processor": f"{find('^model name[^:]*:(.*)$', '/proc/cpuinfo') or 'unknown'}, {os.cpu_count()} cores{virtual}",
        "Memory": f"{int(find(r'^MemTotal: *([0-9]+) kB', '/proc/meminfo')) / 2 ** 20:.1f} GiB",
        "Load before": f"{load:.2f}",
        "Kernel": f"{platform.system()} {re.match('[0-9.]*', platform.release())[0]}, {platform.machine()}",
        "System": platform.freedesktop_os_release().get("PRETTY_NAME", "unknown"),
        "Compiler": f"{compiler}, CMake's Release flags",
        "Revision": first_line("git", "-c", "safe.directory=*", "-C", TOP, "describe", "--always", "--dirty"),
        **{name: upstream_version(package) for name, package in PEERS.items()},
    }
