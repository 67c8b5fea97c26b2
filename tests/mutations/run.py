#!/usr/bin/env python3
"""Puts the faults of faults.txt into a copy of the sources, one at a time, and tells which no test catches.

    tests/mutations/run.py --check        only tests that every fault still finds its place
    tests/mutations/run.py [WORD...]      runs the faults whose names contain one of the words, or all

The copy and its build lie in build/mutations. The end is successful when every fault is caught.
"""
import dataclasses
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
COPY = ROOT / "build" / "mutations"
LONGEST_RUN_S = 120


@dataclasses.dataclass
class Fault:
    name: str
    file: str = ""
    tests: tuple = ()
    equivalent: str = ""
    before: str = ""
    after: str = ""

    def mutated(self, root):
        text = (root / self.file).read_text(encoding="utf-8")
        if text.count(self.before) != 1:
            raise ValueError(f"{self.name}: stands {text.count(self.before)} times in {self.file}: {self.before}")
        return text.replace(self.before, self.after)


def read_faults():
    faults = []
    part = None
    for line in (pathlib.Path(__file__).parent / "faults.txt").read_text(encoding="utf-8").splitlines():
        if line.startswith("== "):
            faults.append(Fault(line[3:]))
            part = None
        elif line.startswith("file "):
            faults[-1].file = line[5:]
        elif line.startswith("tests "):
            faults[-1].tests = tuple(line[6:].split())
        elif line.startswith("equivalent "):
            faults[-1].equivalent = line[11:]
        elif line.startswith("- "):
            part, faults[-1].before = "before", line[2:]
        elif line == "+" or line.startswith("+ "):
            part, faults[-1].after = "after", line[2:]
        elif line.startswith(" ") and part:
            setattr(faults[-1], part, getattr(faults[-1], part) + "\n" + line)
    return faults


def run(*command, **options):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options).returncode == 0


def copy_sources():
    """Copies what differs, so that a second run builds little."""
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=ROOT, check=True, text=True,
                            capture_output=True).stdout.splitlines()
    for name in filter(lambda each: (ROOT / each).is_file(), listed):
        source, target = ROOT / name, COPY / "sources" / name
        if target.exists() and target.read_bytes() == source.read_bytes():
            continue
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(source.read_bytes())
        target.chmod(source.stat().st_mode)


def prepare():
    copy_sources()
    subprocess.run(["cmake", "-S", COPY / "sources", "-B", COPY / "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                    "-DKORVEX_WARNINGS_AS_ERRORS=OFF"], check=True, stdout=subprocess.DEVNULL)
    build("all")


def build(target):
    if not run("cmake", "--build", COPY / "build", "--target", target):
        raise RuntimeError(f"{target} does not build")


def catches(test):
    build(test)
    folder = COPY / "build" / "bin"
    try:
        return not run(folder / test, "--gtest_brief=1", cwd=folder, timeout=LONGEST_RUN_S)
    except subprocess.TimeoutExpired:
        return True


def outcome(fault):
    if fault.equivalent:
        return "equivalent: " + fault.equivalent
    path = COPY / "sources" / fault.file
    original = path.read_text(encoding="utf-8")
    path.write_text(fault.mutated(COPY / "sources"), encoding="utf-8")
    try:
        catcher = next((test for test in fault.tests if catches(test)), None)
    finally:
        path.write_text(original, encoding="utf-8")
    return f"caught by {catcher}" if catcher else "NOT CAUGHT"


def main(arguments):
    faults = read_faults()
    for fault in faults:
        fault.mutated(ROOT)
    if arguments == ["--check"]:
        return 0
    chosen = [f for f in faults if not arguments or any(word in f.name for word in arguments)]
    prepare()
    missed = 0
    for fault in chosen:
        result = outcome(fault)
        missed += result == "NOT CAUGHT"
        print(f"{fault.name}: {result}", flush=True)
    print(f"{len(chosen)} faults, {missed} not caught")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
