"""The virtual terminal: a machine of the target's kind, emulated here, with a screen, a keyboard and CAN."""

import json
import os
import queue
import socket
import subprocess
import threading
import time

# For what should take a moment, on a machine that is emulated by one that is busy itself.
GENEROUS_SECONDS = 60
BOOT_SECONDS = 180

SCREEN = (1024, 768)


class Line:
    """One of the machine's serial ports, or the emulator's own: text lines in both directions."""

    def __init__(self, name, socket_here, socket_there):
        self.name = name
        self.socket = socket_here
        self.there = socket_there  # to be closed when the emulator has it
        self.lines = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()

    @classmethod
    def make(cls, name):
        return cls(name, *socket.socketpair())

    def _read(self):
        with self.socket.makefile("r", encoding="utf-8", errors="replace", newline="\n") as stream:
            for line in stream:
                self.lines.put(line.rstrip("\r\n"))
        self.lines.put(None)

    def send(self, text):
        self.socket.sendall(text.encode() + b"\n")

    def next(self, seconds):
        """The next line; None when there is none for so long."""
        try:
            line = self.lines.get(timeout=max(seconds, 0))
        except queue.Empty:
            return None
        if line is None:
            self.lines.put(None)  # for who asks again
            raise AssertionError(f"the virtual machine has ended ({self.name})")
        return line


class Machine:
    """To be used with 'with': it runs until the end of that, or of this process."""

    # Nobody waits longer than this, whatever happens.
    LONGEST_SECONDS = 900

    def __init__(self, folder, sysroot, build, recordings, display=("-display", "none"), serial=None):
        """folder: where packaging/vm-system has put the kernel; serial: how the emulator names the serial line's
        other end, a log below folder if not told."""
        self.events, self.control, self.monitor = (Line.make(name) for name in ("events", "control", "monitor"))
        self.commands = 0
        self.emulator = self._start(folder, [
            *self._guarded(), "qemu-system-arm", "-name", "terminal", "-nodefaults", "-no-reboot", *display,
            *self._hardware(), *self._kernel(folder, build), *self._shares(sysroot, build, recordings),
            "-serial", serial or f"file:{os.path.join(folder, 'serial.log')}", *self._ports()], serial is not None)
        try:
            self._greet_monitor()
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _start(self, folder, command, uses_console):
        lines = (self.events, self.control, self.monitor)
        with open(os.path.join(folder, "emulator.log"), "wb") as log:
            emulator = subprocess.Popen(command, pass_fds=[line.there.fileno() for line in lines], stderr=log,
                                        stdin=None if uses_console else subprocess.DEVNULL)
        for line in lines:
            line.there.close()
        return emulator

    @staticmethod
    def _guarded():
        # The machine is to end also when nobody is left to end it.
        return ["setpriv", "--pdeathsig", "TERM", "timeout", "--foreground", "--kill-after=5",
                str(Machine.LONGEST_SECONDS), "setpriv", "--pdeathsig", "KILL"]

    @staticmethod
    def _hardware():
        return ["-M", "virt,highmem=off", "-cpu", "cortex-a15", "-smp", "2", "-m", "512",
                "-device", "virtio-gpu-pci,xres=%d,yres=%d" % SCREEN, "-device", "virtio-keyboard-pci",
                "-device", "virtio-tablet-pci"]

    @staticmethod
    def _kernel(folder, build):
        return ["-kernel", os.path.join(folder, "kernel"), "-initrd", os.path.join(folder, "initramfs"),
                "-append", f'console=ttyAMA0 loglevel=4 panic=-1 "KX_BUILD={build}"']

    @staticmethod
    def _shares(sysroot, build, recordings):
        arguments = []
        for name, path in (("sysroot", sysroot), ("build", build), ("recordings", recordings)):
            path = path.replace(",", ",,")
            arguments += ["-fsdev", f"local,id={name},path={path},security_model=none,readonly=on",
                          "-device", f"virtio-9p-pci,fsdev={name},mount_tag={name}"]
        return arguments

    def _ports(self):
        arguments = ["-device", "virtio-serial-pci"]
        for line in (self.events, self.control, self.monitor):
            arguments += ["-chardev", f"socket,id={line.name},fd={line.there.fileno()}"]
        for line in (self.events, self.control):
            arguments += ["-device", f"virtserialport,chardev={line.name},name={line.name}"]
        return arguments + ["-mon", "chardev=monitor,mode=control"]

    def _greet_monitor(self):
        greeting = self.monitor.next(GENEROUS_SECONDS)
        if greeting is None or "QMP" not in greeting:
            raise AssertionError(f"the emulator does not answer: {greeting}")
        self.tell_emulator("qmp_capabilities")

    def tell_emulator(self, command, **arguments):
        self.monitor.send(json.dumps({"execute": command, "arguments": arguments}))
        deadline = time.monotonic() + GENEROUS_SECONDS
        while True:
            line = self.monitor.next(deadline - time.monotonic())
            if line is None:
                raise AssertionError(f"the emulator does not answer to {command}")
            answer = json.loads(line)
            if "error" in answer:
                raise AssertionError(f"{command}: {answer['error']}")
            if "return" in answer:  # else it tells of something that happened
                return answer["return"]

    def wait_until_up(self):
        self.run("true", BOOT_SECONDS)

    def run(self, command, seconds=GENEROUS_SECONDS):
        """What a shell command on the machine prints. It has to end, with status 0 and in time."""
        self.commands += 1
        mark = f"done-{self.commands}"
        self.control.send(f"( {command}\n) </dev/null; status=$?; echo; echo {mark} $status")
        lines = []
        deadline = time.monotonic() + seconds
        while True:
            line = self.control.next(deadline - time.monotonic())
            if line is None:
                raise AssertionError(f"not done after {seconds} s: {command}\n" + "\n".join(lines))
            if line.startswith(mark + " "):
                break
            lines.append(line)
        output = "\n".join(lines).rstrip("\n")
        if line != mark + " 0":
            raise AssertionError(f"{command}: status {line.split()[1]}\n{output}")
        return output

    def _send_input(self, *events):
        self.tell_emulator("input-send-event", events=[{"type": kind, "data": data} for kind, data in events])

    def key(self, name, down):
        self._send_input(("key", {"down": down, "key": {"type": "qcode", "data": name}}))

    def tap_key(self, name, half_ms):
        """The emulator keeps the time: what follows waits its turn there, however busy we are."""
        self.tell_emulator("send-key", keys=[{"type": "qcode", "data": name}], **{"hold-time": half_ms})

    def touch(self, x, y):
        """The left button at a point of the screen."""
        self._send_input(("abs", {"axis": "x", "value": self._on_tablet(x, SCREEN[0])}),
                         ("abs", {"axis": "y", "value": self._on_tablet(y, SCREEN[1])}))
        # Qt takes a move and a press that it reads together for a press where the pointer was before.
        time.sleep(1)
        self._send_input(("btn", {"button": "left", "down": True}))
        time.sleep(0.1)
        self._send_input(("btn", {"button": "left", "down": False}))

    @staticmethod
    def _on_tablet(position, length):
        return position * 0x7fff // length

    def take_picture(self, path):
        """What is on the screen, as PNG."""
        self.tell_emulator("screendump", filename=path, format="png")

    def close(self):
        self.emulator.terminate()
        try:
            self.emulator.wait(10)
        except subprocess.TimeoutExpired:
            self.emulator.kill()
            self.emulator.wait()
