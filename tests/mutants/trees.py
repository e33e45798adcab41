"""Copies of the project's tree, in which mutants are built. The tree itself is never changed."""

import hashlib
import os
import subprocess
from pathlib import Path

from programs import MOST_BUSY_SECONDS, ON_REAL_TIME, PATIENCE, SPEED_LIMIT, executables_of, run_program

BUILD_LIMIT = 1800  # seconds


class CannotTest(Exception):
    """Nothing can be said about mutants: the sources as they are fail already, for instance."""


class Tree:
    """One copy with builds of its own, for one worker."""

    def __init__(self, source, folder, runner):
        self.source = Path(source)
        self.folder = Path(folder)
        self.runner = runner
        self.mutated = None
        self.digest = ""  # of all that a build may depend on
        self.prepared = set()  # folders whose tests are built

    def bring_up_to_date(self):
        """Copies what has changed, and takes back what an interrupted run has left."""
        listed = subprocess.run(["git", "-c", "safe.directory=*", "ls-files", "-z", "--cached", "--others",
                                 "--exclude-standard"], cwd=self.source, stdout=subprocess.PIPE, check=True).stdout
        names = [name for name in os.fsdecode(listed).split("\0") if name and (self.source / name).is_file()]
        digest = hashlib.sha256()
        for name in names:
            content = (self.source / name).read_bytes()
            self._write(name, content)
            if name.endswith((".cpp", ".h", ".txt", ".json", ".cmake")) and not name.startswith("tests/mutants/"):
                digest.update(hashlib.sha256(name.encode() + b"\0" + content).digest())
            if os.access(self.source / name, os.X_OK):
                (self.folder / name).chmod(0o755)
        self.digest = digest.hexdigest()
        expected = set(names)
        for path in self.folder.rglob("*"):
            name = str(path.relative_to(self.folder))
            if not name.startswith("build/") and path.is_file() and name not in expected:
                path.unlink()

    def _write(self, name, content):
        """Does not touch a file that has this content: it need not be built again."""
        path = self.folder / name
        if not path.is_file() or path.read_bytes() != content:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(content)

    def change(self, file, text):
        """Puts a mutant in place. The source of the last one gets its own text back."""
        if self.mutated and self.mutated != file:
            self.restore()
        self.mutated = file
        self._write(file, text.encode())

    def restore(self):
        if self.mutated:
            self._write(self.mutated, (self.source / self.mutated).read_bytes())
            self.mutated = None

    def build_folder(self, preset):
        return self.folder / "build" / preset

    def configure(self, preset):
        presets = self.folder / "CMakePresets.json"
        ninja = self.build_folder(preset) / "build.ninja"
        if ninja.exists() and ninja.stat().st_mtime > presets.stat().st_mtime:
            return
        status, output = self.runner.run(["cmake", "--preset", preset], BUILD_LIMIT, cwd=self.folder)
        if status != 0:
            raise CannotTest(f"{output}\ncould not configure {preset} in {self.folder}")

    def build(self, preset, programs, jobs=1):
        """Whether they can be built, and the compiler's words."""
        command = ["ninja", "-C", str(self.build_folder(preset)), f"-j{jobs}", *executables_of(programs)]
        status, output = self.runner.run(command, BUILD_LIMIT)
        return status == 0, output

    def run(self, preset, program, usual_seconds):
        """Up to the first failure. A program that depends on real time has failed when it fails twice, or hangs."""
        # A program that takes long mostly sleeps, which takes no longer on a busy machine.
        limit = usual_seconds + SPEED_LIMIT * min(usual_seconds, MOST_BUSY_SECONDS) + PATIENCE
        outcome = run_program(self.runner, self.build_folder(preset), preset, program, limit)
        may_be_chance = program.startswith(ON_REAL_TIME) and not outcome.what.startswith(("ThreadSanitizer", "hangs"))
        if not outcome.passed and may_be_chance:
            outcome = run_program(self.runner, self.build_folder(preset), preset, program, limit)
        return outcome
