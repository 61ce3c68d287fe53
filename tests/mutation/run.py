#!/usr/bin/env python3
"""Changes one constant, comparison, sign or loop bound of the library at a time and asks which test notices.

    cmake --preset release && cmake --build --preset release
    tests/mutation/run.py                    the whole run: about an hour on one core
    tests/mutation/run.py --again survived   once more, those that no test had noticed
    tests/mutation/run.py --summary          the figures of the last run

Every object of the library is compiled once more with default visibility into a shared library that the test
programs of the release build are linked to. A change to a source file then costs one object, preloaded: its
functions stand in for those of the unchanged library. After a change to a header whatever includes it is
compiled again, its own test first. A file's own tests run first, then those of its folder and of the folders
that stand on it, the short ones first; the digests of tests/golden last, in a column of their own.

results.csv holds one row for each place. equivalent.csv lists those whose change no test can see, with the
reason; a change that leaves the machine code as it was is recognised without.
"""
import argparse
import csv
import json
import os
import re
import resource
import shutil
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import places  # noqa: E402

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]
BUILD = ROOT / "build/release"
WORK = ROOT / "build/mutation"
TREE = WORK / "tree"
COLUMNS = ["file", "line", "column", "kind", "old", "new", "text", "result", "by", "golden", "seconds"]
SOURCES = places.FOLDERS + ["frame"]

# Whose tests can notice a change in a folder, the nearest first.
WATCHERS = {
    "kernels": ["kernels", "distributions", "quantiles", "time_series", "unit_root", "plain"],
    "quantiles": ["quantiles", "distributions", "plain"],
    "distributions": ["distributions", "quantiles", "time_series", "plain"],
    "time_series": ["time_series", "model_search"],
    "model_search": ["model_search", "time_series"],
    "transforms": ["transforms"],
    "unit_root": ["unit_root"],
}


def run(command, limit=None, wall=None, preload=None):
    """Exit code of a command, silent; a limit in seconds of processor time."""
    env = dict(os.environ, KMP_BLOCKTIME="0", OMP_WAIT_POLICY="passive")
    if preload:
        env["LD_PRELOAD"] = str(preload)

    def limits():
        if limit:
            resource.setrlimit(resource.RLIMIT_CPU, (int(limit) + 1, int(limit) + 2))
            resource.setrlimit(resource.RLIMIT_AS, (12 << 30, 12 << 30))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    process = subprocess.Popen(command, env=env, preexec_fn=limits, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL, cwd=WORK)
    try:
        return process.wait(wall)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()
        return -1


class Laboratory:
    """The unchanged library, the test programs linked to it, and what each object is made of."""

    def __init__(self, quick):
        self.quick = quick
        self.commands, self.includes = {}, {}
        shutil.rmtree(TREE, ignore_errors=True)
        for folder in SOURCES + ["include", "tests", "data"]:
            shutil.copytree(ROOT / folder, TREE / folder)
        for entry in json.loads((BUILD / "compile_commands.json").read_text()):
            file = str(Path(entry["file"]).relative_to(ROOT)) if entry["file"].startswith(str(ROOT)) else ""
            parts = Path(file).parts
            tested = len(parts) == 3 and parts[0] == "tests" and file.endswith("_test.cpp") and parts[1] != "surface"
            if "silence" not in file and (tested or (len(parts) == 2 and parts[0] in SOURCES)):
                self.commands[file] = entry
        listing = subprocess.run(["ninja", "-C", BUILD, "-t", "deps"], capture_output=True, text=True,
                                 check=True).stdout
        objects = {self.object_of(entry): file for file, entry in self.commands.items()}
        for block in listing.split("\n\n"):
            lines = block.strip().split("\n")
            file = objects.get(lines[0].split(":")[0])
            if file:
                paths = [os.path.normpath(BUILD / line.strip()) for line in lines[1:]]
                self.includes[file] = {p[len(str(ROOT)) + 1:] for p in paths if p.startswith(str(ROOT))}
        self.library = [file for file in self.commands if not file.startswith("tests/")]
        self.tests = [file for file in self.commands if file.startswith("tests/")]
        for folder in ("base", "exe", "mutant"):
            (WORK / folder).mkdir(parents=True, exist_ok=True)
        self.prepare()

    @staticmethod
    def object_of(entry):
        return re.search(r" -o (\S+)", entry["command"]).group(1)

    def compile(self, file, out, level="-O1"):
        command = self.commands[file]["command"].replace(str(ROOT), str(TREE))
        command = re.sub(r" -o \S+", f" -o {out}", command).replace(" -O3", " " + level)
        command = re.sub(r" -fvisibility\S*| -W[a-z]\S*| -D_FORTIFY_SOURCE=2| -fPIE", "", command) + " -w -fPIC"
        if level == "-O0":
            command += " -fno-inline"
        return run([word.replace('\\"', '"') for word in command.split()])

    def flat(self, file):
        return file.replace("/", "_")

    def link_test(self, file, obj, out):
        return run(["clang++-14", obj, "-o", out, f"-Wl,-rpath,{WORK}:/usr/lib/llvm-14/lib", WORK / "libbase.so",
                    "/usr/lib/x86_64-linux-gnu/liblapacke64.a",
                    "/usr/lib/x86_64-linux-gnu/openblas64-pthread/libopenblas64.a",
                    "/usr/lib/llvm-14/lib/libomp.so", "-lgtest_main", "-lgtest", "-lm", "-lpthread", "-ldl"])

    def prepare(self):
        print(f"compiling {len(self.library)} sources, linking {len(self.tests)} test programs", flush=True)
        base = [WORK / "base" / (self.flat(file) + ".o") for file in self.library]
        for file, obj in zip(self.library, base):
            if not newer(obj, [ROOT / path for path in self.includes[file]]):
                assert self.compile(file, obj) == 0, file
        assert run(["clang++-14", "-shared", *base, "-o", WORK / "libbase.so", "-fopenmp", "-L/usr/lib/llvm-14/lib",
                    "/usr/lib/x86_64-linux-gnu/liblapacke64.a",
                    "/usr/lib/x86_64-linux-gnu/openblas64-pthread/libopenblas64.a", "-lm", "-lpthread"]) == 0
        timings = WORK / "seconds.json"
        self.seconds = json.loads(timings.read_text()) if timings.exists() else {}
        self.reached = self.closures(base)
        for file in self.tests:
            exe, obj = WORK / "exe" / self.flat(file), BUILD / self.object_of(self.commands[file])
            if file in self.seconds and newer(exe, [obj, *base]):
                continue
            assert self.link_test(file, obj, exe) == 0, file
            start = resource.getrusage(resource.RUSAGE_CHILDREN)
            if run([exe, "--gtest_brief=1"]) != 0:
                print("left out, fails unchanged:", file)
                self.seconds[file] = None
                continue
            end = resource.getrusage(resource.RUSAGE_CHILDREN)
            self.seconds[file] = end.ru_utime + end.ru_stime - start.ru_utime - start.ru_stime
        timings.write_text(json.dumps(self.seconds))
        self.tests = [file for file in self.tests if self.seconds[file] is not None]

    def closures(self, base):
        """The library's sources that each test program can reach, object by object as a linker would find."""
        def symbols(obj):
            lines = subprocess.run(["nm", obj], capture_output=True, text=True, check=True).stdout.splitlines()
            words = [line.split() for line in lines]
            return ({w[-1] for w in words if w[-2] == "U"}, {w[-1] for w in words if w[-2] in "TDBR"})

        wants, owner = {}, {}
        for file, obj in zip(self.library, base):
            wants[file], gives = symbols(obj)
            for symbol in gives:
                owner.setdefault(symbol, set()).add(file)
        reached = {}
        for test in self.tests:
            open_symbols, found = symbols(BUILD / self.object_of(self.commands[test]))[0], set()
            while open_symbols:
                new = set().union(*(owner.get(symbol, set()) for symbol in open_symbols)) - found
                found |= new
                open_symbols = set().union(*(wants[file] for file in new)) if new else set()
            reached[test] = found
        return reached

    def watchers(self, file):
        """Test files that can notice a change in the file, without the digests."""
        folder, stem = file.split("/")[0], Path(file).stem
        order = WATCHERS[folder]

        def rank(test):
            where, name = test.split("/")[1], Path(test).stem[:-len("_test")]
            own = where == folder and (name.startswith(stem) or stem.startswith(name))
            slow = self.seconds[test] > 5.0
            return (slow, not own, order.index(where) if self.seconds[test] > 0.15 else 0, self.seconds[test])

        users = {f for f in self.library if file in self.includes[f]}
        able = [t for t in self.tests if t.split("/")[1] in order and
                (file in self.includes[t] or users & self.reached[t])]
        if self.quick:
            able = [t for t in able if rank(t)[:2] != (True, True)]
        return sorted(able, key=rank)

    def fails(self, test, preload, exe=None):
        limit = 3 * self.seconds[test] + 3
        return run([exe or WORK / "exe" / self.flat(test), "--gtest_brief=1", "--gtest_fail_fast"], limit,
                   10 * limit, preload) != 0

    def judge(self, file):
        """(result, the test that noticed, what the digests say) for the changed file in the tree."""
        golden = "tests/golden/golden_test.cpp"
        mutant = WORK / "mutant"
        for old in mutant.iterdir():
            old.unlink()
        header = file.endswith(".hpp")
        users = [f for f in self.library if file in self.includes[f]]
        watchers = self.watchers(file)
        changed = {t for t in self.tests if file in self.includes[t]} if header else set()

        def rebuilt(test):
            obj = mutant / (self.flat(test) + ".o")
            exe = mutant / self.flat(test)
            if not exe.exists():
                if self.compile(test, obj, "-O0") != 0 or self.link_test(test, obj, exe) != 0:
                    return None
            return exe

        own = [t for t in watchers if t in changed and t.split("/")[1] == file.split("/")[0] and
               Path(t).stem.startswith(Path(file).stem)]
        for test in own:  # as they stand: most changes to a header end here
            exe = rebuilt(test)
            if exe is None:
                return "did not compile", test, ""
            if self.fails(test, None, exe):
                return "killed", test, ""

        same = bool(users)
        for user in users:
            obj = mutant / (self.flat(user) + ".o")
            if self.compile(user, obj) != 0:
                return "did not compile", user, ""
            same = same and obj.read_bytes() == (WORK / "base" / obj.name).read_bytes()
        if same and not changed:
            return "equivalent", "the same machine code", ""
        preload = None
        if users:
            preload = mutant / "libmutant.so"
            assert run(["clang++-14", "-shared", *sorted(mutant.glob("*.cpp.o")), "-o", preload]
                       if not header else
                       ["clang++-14", "-shared", *[mutant / (self.flat(u) + ".o") for u in users], "-o", preload]) == 0
        # A program that has been built again is dear: those that need not be come first.
        for test in sorted(watchers, key=lambda t: (self.seconds[t] > 5.0, t in changed)):
            exe = rebuilt(test) if test in changed else None
            if test in changed and exe is None:
                return "did not compile", test, ""
            if self.fails(test, preload, exe):
                return "killed", test, ""
        if self.seconds.get(golden) is None:
            return "survived", "", "not comparable"
        exe = rebuilt(golden) if golden in changed else None
        return "survived", "", "killed" if self.fails(golden, preload, exe) else "survived"


def newer(made, sources):
    return made.exists() and all(made.stat().st_mtime > source.stat().st_mtime for source in sources)


def read(path):
    if not path.exists():
        return []
    with path.open(newline="") as file:
        return list(csv.DictReader(file))


def write(path, rows):
    with path.open("w", newline="") as file:
        out = csv.DictWriter(file, COLUMNS, lineterminator="\n")
        out.writeheader()
        out.writerows(sorted(rows, key=lambda r: (r["file"], int(r["line"]), int(r["column"]))))


def known_equivalents():
    return {(r["file"], r["text"], r["column"], r["old"], r["new"]): r["reason"]
            for r in read(HERE / "equivalent.csv")}


def identity(row):
    return row["file"], row["text"], str(row["column"]), row["old"], row["new"]


def apply(row):
    """Writes the changed file into the tree and returns what it was; None if the place is gone."""
    whole = (TREE / row["file"]).read_text()
    source = whole.split("\n")
    near = sorted(range(len(source)), key=lambda i: abs(i + 1 - int(row["line"])))
    at = next((i for i in near if source[i].strip() == row["text"]), None)
    column = int(row["column"])
    if at is None or not source[at].startswith(row["old"], column):
        return None
    row["line"] = at + 1
    line = source[at]
    source[at] = line[:column] + row["new"] + line[column + len(row["old"]):]
    (TREE / row["file"]).write_text("\n".join(source))
    return whole


def summary(rows):
    reasons = known_equivalents()
    print(f"{'folder':14}{'places':>8}{'compiled':>10}{'equivalent':>12}{'killed':>8}{'with golden':>13}"
          f"{'survived':>10}{'rate':>8}")
    folders = [f for f in places.FOLDERS if any(r["file"].startswith(f + "/") for r in rows)]
    for folder in folders + ["all"]:
        part = [r for r in rows if folder == "all" or r["file"].startswith(folder + "/")]
        compiled = [r for r in part if r["result"] != "did not compile"]
        equivalent = [r for r in compiled if r["result"] == "equivalent" or
                      (r["result"] == "survived" and identity(r) in reasons)]
        killed = [r for r in compiled if r["result"] == "killed"]
        golden = [r for r in compiled if r["golden"] == "killed"]
        left = len(compiled) - len(equivalent) - len(killed)
        rate = 100.0 * len(killed) / max(1, len(compiled) - len(equivalent))
        print(f"{folder:14}{len(part):8}{len(compiled):10}{len(equivalent):12}{len(killed):8}"
              f"{len(killed) + len(golden):13}{left:10}{rate:7.1f}%")


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("--count", type=int, default=560, help="places outside distributions/")
    arguments.add_argument("--distributions", type=int, default=90, help="places in distributions/")
    arguments.add_argument("--seed", type=int, default=1)
    arguments.add_argument("--again", metavar="RESULT", help="judge again the rows with this result")
    arguments.add_argument("--file", nargs="+", help="only these files")
    arguments.add_argument("--quick", action="store_true", help="without the slow tests of other files")
    arguments.add_argument("--results", type=Path, default=HERE / "results.csv")
    arguments.add_argument("--summary", action="store_true")
    asked = arguments.parse_args()
    done = read(asked.results)
    if asked.summary:
        return summary(done)

    if asked.again:
        listed = known_equivalents()
        todo = [r for r in done if r["result"] == asked.again and identity(r) not in listed]
    else:
        drawn = places.drawn(ROOT, places.FOLDERS[:6], asked.count, asked.seed)[0]
        drawn += places.drawn(ROOT, places.FOLDERS[6:], asked.distributions, asked.seed)[0]
        seen = {(*identity(r), str(r["line"])) for r in done}
        todo = [dict(zip(COLUMNS, place)) for place in drawn]
        todo = [r for r in todo if (*identity(r), str(r["line"])) not in seen]
    if asked.file:
        todo = [r for r in todo if r["file"] in asked.file]
    os.nice(5)
    laboratory = Laboratory(asked.quick)
    rows = [r for r in done if r not in todo]
    begun = time.time()
    for number, row in enumerate(todo, 1):
        start = time.time()
        whole = apply(row)
        if whole is not None:
            row["result"], row["by"], row["golden"] = laboratory.judge(row["file"])
            (TREE / row["file"]).write_text(whole)
        else:
            row["result"], row["by"], row["golden"] = "gone", "", ""
        row["seconds"] = f"{time.time() - start:.1f}"
        rows.append(row)
        write(asked.results, rows + (todo[number:] if asked.again else []))
        print(f"{number}/{len(todo)} {(time.time() - begun) / 60:.1f} min {row['result']:10} {row['seconds']:>5} s "
              f"{row['file']}:{row['line']} {row['old'].strip()} -> {row['new'].strip()} {row['by']} {row['golden']}",
              flush=True)
    summary(rows)


if __name__ == "__main__":
    main()
