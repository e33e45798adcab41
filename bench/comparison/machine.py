"""What the numbers were measured on, and with which peers: nothing that tells whose machine it is."""

import os
import platform
import re
import subprocess

PEERS = {
    "Boost": "libboost1.74-dev",  # the package without a number has one of its own
    "Qt": "qtbase5-dev",
    "GLib": "libglib2.0-dev",
    "libuv": "libuv1-dev",
    "moodycamel::ConcurrentQueue": "libconcurrentqueue-dev",
    "moodycamel::ReaderWriterQueue": "libreaderwriterqueue-dev",
    "Google Benchmark": "libbenchmark-dev",
}


def read_file(path):
    try:
        with open(path, encoding="utf-8") as file:
            return file.read()
    except OSError:
        return ""


def first_line(*command):
    """What a program says, or nothing where it is not there."""
    try:
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
    except OSError:
        return ""
    return done.stdout.split("\n", 1)[0]


def find(pattern, text):
    match = re.search(pattern, text, re.MULTILINE)
    return match[1].strip().strip('"') if match else "unknown"


def describe_processor():
    info = read_file("/proc/cpuinfo")
    virtual = ", a virtual machine" if re.search(r"^flags.*\bhypervisor\b", info, re.MULTILINE) else ""
    return f"{find(r'^model name[^:]*:(.*)$', info)}, {os.cpu_count()} cores{virtual}"


def describe_memory():
    kibibytes = find(r"^MemTotal:\s*(\d+) kB", read_file("/proc/meminfo"))
    return f"{int(kibibytes) / 2 ** 20:.1f} GiB" if kibibytes.isdigit() else kibibytes


def upstream_version(package):
    """Of 5.15.8+dfsg-11 it is 5.15.8."""
    version = first_line("dpkg-query", "-W", "-f", "${Version}", package)
    return re.sub(r"^\d+:|[+~-].*$", "", version) or "unknown"


def describe(top, build, load):
    """Pairs of a name and a value."""
    compiler = find(r"^CMAKE_CXX_COMPILER:[A-Z]*=(.*)$", read_file(os.path.join(build, "CMakeCache.txt")))
    facts = {
        "Processor": describe_processor(),
        "Memory": describe_memory(),
        "Load before": f"{load:.2f}",
        "Kernel": f"{platform.system()} {find(r'^([0-9.]+)', platform.release())}, {platform.machine()}",
        "System": find(r"^PRETTY_NAME=(.*)$", read_file("/etc/os-release")),
        "Compiler": f"{first_line(compiler, '--version') or 'unknown'}, CMake's Release flags",
        "Revision": first_line("git", "-c", "safe.directory=*", "-C", top, "describe", "--always", "--dirty")
                    or "unknown",
    }
    facts.update((name, upstream_version(package)) for name, package in PEERS.items())
    return facts
