"""Which test programs should notice a mutant of which folder, and how a program is run."""

import os
import resource
import signal
import subprocess
import time
from dataclasses import dataclass

PLAIN = "mutants"
THREADS = "mutants-tsan"

# The fastest first. Folders are looked up by the longest name that fits. A second word chooses the program's tests.
PROGRAMS = {
    "events": ["event_tests", "event_heap_tests", "action_tests", "models_test", "models_threads_test"],
    "encoder": ["encoder_tests", "input_tests", "models_test"],
    "actions": ["action_tests", "action_heap_tests", "models_test", "models_threads_test"],
    "input": ["input_tests", "can_keypad_tests", "without_memory_tests", "key_event_tests", "loop_test", "models_test",
              "key_thread_tests", "keypad_model_test", "loaded_later_test", "manager_heap_tests", "manager_tests",
              "faults_test KXInput*:CANRemote*:Worker*"],
    "platform/linux/utility": ["platform_linux_utility_test", "platform_linux_heap_test",
                               "platform_kit_linux String*:Debug*"],
    "platform/linux/os_abs": ["platform_linux_pipe_limit_test", "platform_linux_wait_test", "platform_linux_heap_test",
                              "platform_linux_os_abs_test", "platform_kit_linux", "manager_tests",
                              "faults_test KXPipe*:KXMutex*:KXAutoLock*:KXThread*:KXEndPoint*"],
    "platform/linux/hardware": ["platform_linux_can_start_test", "platform_linux_heap_test",
                                "platform_linux_can_loss_test", "platform_linux_hardware_test",
                                "faults_test KXCANRaw*"],
    "toolkit": ["input_clock_tests", "toolkit_tests", "event_notifier_tests", "loop_test",
                "faults_test KXToolkit*:KXEventNotifier*:KXWheel*"],
    "recording": ["recording_test", "replay_test",
                  "faults_test KXSession*:KXRecord*:KXPassSchedule*:KXEventLine*:KXKeyLayout*:KXWorkerHold*"],
}

# ThreadSanitizer takes most of a megabyte of each stack.
THREAD_PROGRAMS = {
    "events": ["event_tests", "models_threads_test"],
    "encoder": ["manager_tests"],
    "actions": ["action_tests", "models_threads_test"],
    "input": ["input_tests", "key_thread_tests", "manager_tests"],
    "platform/linux/utility": ["platform_linux_utility_test"],
    "platform/linux/os_abs": ["platform_linux_os_abs_test",
                              "platform_kit_linux *-Thread.hasTheStackThatItWasStartedWith"],
    "platform/linux/hardware": ["platform_linux_hardware_test"],
    "toolkit": ["event_notifier_tests"],
    "recording": ["recording_test"],
}

# They run on real time, so a busy machine can make one fail: what fails has to fail twice.
ON_REAL_TIME = ("platform_linux_", "platform_kit_linux", "manager_tests", "event_notifier_tests", "faults_test")

TESTS = {  # their results depend on these folders below tests/
    "events": ["events", "actions", "models"],
    "encoder": ["encoder", "input", "models"],
    "actions": ["actions", "models"],
    "input": ["input", "models", "loop", "faults"],
    "platform/linux/utility": ["platform_linux", "platform_kit"],
    "platform/linux/os_abs": ["platform_linux", "platform_kit", "faults"],
    "platform/linux/hardware": ["platform_linux", "faults"],
    "toolkit": ["toolkit", "loop", "faults"],
    "recording": ["recording", "replay", "faults"],
}

# As in the properties of their tests. Qt is not instrumented, so ThreadSanitizer does not see its locks.
KEPT_MEMORY = "glibc.malloc.tcache_count=0:glibc.malloc.perturb=165"
ENVIRONMENT = {"key_thread_tests": {"GLIBC_TUNABLES": KEPT_MEMORY}}
TSAN_OPTIONS = "halt_on_error=1:second_deadlock_stack=1"
WITH_TOOLKIT = ("key_thread_tests", "event_notifier_tests")

SPEED_LIMIT = 5  # a mutant may take so many times as long again as the sources as they are,
MOST_BUSY_SECONDS = 5  # but not for more of their seconds than these,
PATIENCE = 15  # and so many seconds more, because the machine may be busy
MEMORY = 4 << 30


def folder_of(file):
    """The folder of the table that a source belongs to."""
    return max((folder for folder in PROGRAMS if file.startswith(folder + "/")), key=len)


def steps_for(file, about_threads, threads_first):
    """The programs to run, as pairs of preset and program."""
    folder = folder_of(file)
    plain = [(PLAIN, program) for program in PROGRAMS[folder]]
    threads = [(THREADS, program) for program in THREAD_PROGRAMS[folder]] if about_threads else []
    return threads + plain if threads_first else plain + threads


def executables_of(programs):
    """What has to be built for them."""
    return sorted({program.split()[0] for program in programs})


@dataclass
class Outcome:
    passed: bool
    what: str
    seconds: float


class Stopped(Exception):
    """Somebody wants to end the run."""


class Runner:
    """Starts one command after the other, each in a process group of its own, so that it can be killed whole."""

    def __init__(self):
        self.process = None
        self.is_stopped = False

    def stop(self):
        self.is_stopped = True
        process = self.process
        if process and process.poll() is None:
            _kill_group(process)

    def run(self, command, limit, **options):
        """The exit status, or None when the time was up, and the output."""
        if self.is_stopped:
            raise Stopped
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, start_new_session=True, **options)
        try:
            output, _ = self.process.communicate(timeout=limit)
            status = self.process.returncode
        except subprocess.TimeoutExpired:
            _kill_group(self.process)
            output, _ = self.process.communicate()
            status = None
        if self.is_stopped:
            raise Stopped
        return status, output.decode("utf-8", "replace")


def _kill_group(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def run_program(runner, build, preset, program, limit):
    """Runs a test program up to its first failure."""
    began = time.monotonic()
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen", GTEST_FAIL_FAST="1", KX_TEST_SEED="1",
                       KX_TEST_STEPS="20000", TSAN_OPTIONS=TSAN_OPTIONS, LC_ALL="C.UTF-8",
                       **ENVIRONMENT.get(program, {}))
    if program in WITH_TOOLKIT:
        environment["TSAN_OPTIONS"] += ":ignore_noninstrumented_modules=1"

    def prepare():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if preset == PLAIN:  # ThreadSanitizer needs more addresses than there is memory
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))

    name, *tests = program.split()
    path = build / "tests" / FOLDERS[name] / name
    command = [str(path), *(f"--gtest_filter={choice}" for choice in tests)]
    status, output = runner.run(command, limit, cwd=path.parent, env=environment, preexec_fn=prepare)
    seconds = time.monotonic() - began
    if status == 0:
        return Outcome(True, "", seconds)
    failed = [line[len("[  FAILED  ] "):].split(",")[0].split(" (")[0]
              for line in output.splitlines() if line.startswith("[  FAILED  ] ")]
    running = [line[len("[ RUN      ] "):] for line in output.splitlines() if line.startswith("[ RUN      ] ")]
    if status is None:
        what = f"hangs in {running[-1] if running else 'its start'}"
    elif "WARNING: ThreadSanitizer" in output:
        what = f"ThreadSanitizer in {running[-1] if running else 'its start'}"
    elif failed:
        what = failed[0]
    else:
        what = f"ends with status {status} in {running[-1] if running else 'its start'}"
    return Outcome(False, what, seconds)


FOLDERS = {  # of the programs, below tests/
    "action_heap_tests": "actions", "action_tests": "actions", "can_keypad_tests": "input",
    "encoder_tests": "encoder", "event_heap_tests": "events", "event_notifier_tests": "toolkit",
    "event_tests": "events", "faults_test": "faults", "input_clock_tests": "toolkit", "input_tests": "input",
    "key_event_tests": "input",
    "key_thread_tests": "input", "keypad_model_test": "models", "loaded_later_test": "input", "loop_test": "loop",
    "manager_heap_tests": "input",
    "manager_tests": "input", "models_test": "models", "models_threads_test": "models",
    "platform_kit_linux": "platform_kit",
    "platform_linux_can_loss_test": "platform_linux", "platform_linux_can_start_test": "platform_linux",
    "platform_linux_hardware_test": "platform_linux", "platform_linux_heap_test": "platform_linux",
    "platform_linux_os_abs_test": "platform_linux", "platform_linux_pipe_limit_test": "platform_linux",
    "platform_linux_utility_test": "platform_linux", "platform_linux_wait_test": "platform_linux",
    "recording_test": "recording", "replay_test": "replay", "toolkit_tests": "toolkit", "without_memory_tests": "input",
}
