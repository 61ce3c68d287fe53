"""bench/peers/report.py: makes docs/performance.md from the results that bench/run.sh collected.

Usage: report.py RESULTS_FOLDER OUTPUT. All figures are medians over the repetitions or rounds of one run.
"""
import collections
import datetime
import glob
import json
import math
import os
import statistics
import subprocess
import sys

folder, output = sys.argv[1:3]
PEERS = ["libRmath", "Boost.Math", "Boost.Math in double", "GSL"]
SAME_ANSWER = 1e-6  # answers further apart than this are marked


def command(*words):
    try:
        done = subprocess.run(words, capture_output=True, text=True, check=False)
        return done.stdout.strip()
    except OSError:
        return ""


def package_version(name):
    return command("dpkg-query", "-W", "-f=${Version}", name)


def benchmark_rows(file):
    """Name of a row -> (list of the runs, label)."""
    with open(file) as text:
        data = json.load(text)
    runs = collections.defaultdict(list)
    for run in data["benchmarks"]:
        if run.get("run_type", "iteration") == "iteration":
            runs[run["name"]].append(run)
    # Interleaving prints rows in random order; the index is that of their registration.
    ordered = sorted(runs.items(), key=lambda item: item[1][0].get("family_index", 0))
    return data["context"], collections.OrderedDict(ordered)


def significant(x, digits=3):
    if x == 0 or not math.isfinite(x):
        return str(x)
    places = max(0, digits - 1 - math.floor(math.log10(abs(x))))
    return f"{x:,.{places}f}"


def ratio_text(ratio):
    text = f"x{significant(ratio, 2)}"
    return f"**{text}**" if ratio < 1.0 else text


def geometric_mean(values):
    return math.exp(statistics.fmean(math.log(v) for v in values))


# ---- distributions ------------------------------------------------------------------------------------------

context, runs = benchmark_rows(f"{folder}/distributions.json")
questions = collections.OrderedDict()  # question -> library -> (ns, label)
for name, of_row in runs.items():
    question, library = name.rsplit("/", 1)
    ns = 1e9 * statistics.median(run["element"] for run in of_row)
    questions.setdefault(question, {})[library] = (ns, of_row[0].get("label", ""))


def differs(label):
    return label.startswith("differs by ") and not float(label.split()[-1]) <= SAME_ANSWER


gains = collections.defaultdict(list)  # (kind, peer) -> ratios to the scalar exports
prepared = collections.defaultdict(list)  # likewise, to the array forms
lines = ["| | zolv | array | " + " | ".join(PEERS) + " | digest |", "|---|" + "--:|" * (2 + len(PEERS)) + "---|"]
losses, compared, marked = 0, 0, 0
for question, libraries in questions.items():
    own, label = libraries["zolv"]
    array = libraries.get("zolv array")
    regime, kind = question.split("/")[:2]
    group = ("noncentral " if " nc " in regime else "") + kind
    if array:
        gains[group, "zolv array"].append(own / array[0])
    cells = [significant(own), significant(array[0]) if array else "-"]
    for peer in PEERS:
        if peer not in libraries:
            cells.append("-")
            continue
        ns, peer_label = libraries[peer]
        mark = " †" if differs(peer_label) else ""
        cells.append(f"{significant(ns)} {ratio_text(ns / own)}{mark}")
        gains[group, peer].append(ns / own)
        if array:
            prepared[group, peer].append(ns / array[0])
        compared += 1
        losses += ns < own
        marked += bool(mark)
    lines.append(f"| {question.replace('/', ', ')} | " + " | ".join(cells) + f" | `{label.replace('digest ', '')}` |")
distribution_table = lines

kinds = ["pdf", "cdf", "quantile", "noncentral pdf", "noncentral cdf", "noncentral quantile"]


def summary(ratios, columns):
    table = ["| | " + " | ".join(columns) + " |", "|---|" + "--:|" * len(columns)]
    for kind in kinds:
        cells = [ratio_text(geometric_mean(ratios[kind, c])) if ratios[kind, c] else "-" for c in columns]
        table.append(f"| {kind} | " + " | ".join(cells) + " |")
    return "\n".join(table)


# ---- teams --------------------------------------------------------------------------------------------------

_, team_runs = benchmark_rows(f"{folder}/team.json")
team_table = ["| | ns per element |", "|---|--:|"]
for name, of_row in team_runs.items():
    question = name.replace("/array 64k/real_time", "").replace("/", ", ")
    team_table.append(f"| {question} | {significant(1e9 * statistics.median(r['element'] for r in of_row))} |")

# ---- plain forms ---------------------------------------------------------------------------------------------

plain_gains = collections.OrderedDict()  # regime and kind -> form -> ratios
plain_rows = collections.OrderedDict()
for name, of_row in benchmark_rows(f"{folder}/plain.json")[1].items():
    question, form = name.rsplit("/", 1)
    ns = 1e9 * statistics.median(run["element"] for run in of_row)
    plain_rows.setdefault(question, {})[form] = (ns, of_row[0]["label"])
for question, forms in plain_rows.items():
    if len({label for _, label in forms.values()}) != 1:
        sys.exit(f"{question}: the plain form and the library have different bits")
    ratios = plain_gains.setdefault(", ".join(question.split("/")[:2]), {})
    for form in ("scalar", "array"):
        if form in forms:
            ratios.setdefault(form, []).append(forms["plain"][0] / forms[form][0])
plain_table = ["| | scalar | array |", "|---|--:|--:|"]
for regime, ratios in plain_gains.items():
    cells = [ratio_text(geometric_mean(ratios[form])) if form in ratios else "-" for form in ("scalar", "array")]
    plain_table.append(f"| {regime} | {' | '.join(cells)} |")

# ---- models -------------------------------------------------------------------------------------------------

UNIT = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
own = collections.OrderedDict()
labels = {}
for file in sorted(glob.glob(f"{folder}/models_*.json")):
    for name, of_row in benchmark_rows(file)[1].items():
        clock = "real_time" if name.endswith("/real_time") else "cpu_time"
        row = name.replace("/real_time", "").rsplit("/", 1)[0]
        own.setdefault(row, []).extend(run[clock] * UNIT[run["time_unit"]] for run in of_row)
        labels[row] = of_row[0].get("label", "").replace("digest ", "")
others = collections.OrderedDict()
with open(f"{folder}/models.txt") as text:
    for line in text:
        row, library, seconds = line.strip().split(";")
        if seconds != "NA":
            others.setdefault(row, collections.OrderedDict()).setdefault(library, []).append(float(seconds))


def duration(seconds):
    for unit, size in (("s", 1.0), ("ms", 1e-3), ("us", 1e-6), ("ns", 1e-9)):
        if seconds >= size:
            return f"{significant(seconds / size)} {unit}"
    return f"{seconds} s"


model_table = ["| | zolv | others | digest |", "|---|--:|---|---|"]
model_losses = 0
for row, times in own.items():
    mine = statistics.median(times)
    texts = []
    for library, theirs in others.get(row.replace(" on the team", ""), {}).items():
        ratio = statistics.median(theirs) / mine
        model_losses += ratio < 1.0
        texts.append(f"{library} {duration(statistics.median(theirs))} {ratio_text(ratio)}")
    model_table.append(f"| {row} | {duration(mine)} | {'; '.join(texts) or '-'} | `{labels[row]}` |")

# ---- the page -----------------------------------------------------------------------------------------------

cpu = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo") if line.startswith("model name")), "?")
with open(f"{folder}/load.txt") as text:
    loads = [line.split("load average:")[1].strip() for line in text]
busy = any(float(load.split(",")[0]) > 1.5 for load in loads)
versions = [context.get(name, name) for name in ("libRmath", "Boost.Math", "GSL")] + [
    f"R {package_version('r-base-core')}",
    f"forecast {package_version('r-cran-forecast')}",
    f"urca {package_version('r-cran-urca')}",
    f"statsmodels {package_version('python3-statsmodels')}",
    f"gretl {package_version('gretl')}",
    f"OpenBLAS {package_version('libopenblas64-pthread-dev')} in zolv",
    f"glibc {package_version('libc6')}",
    command("clang++-14", "--version").split("\n")[0],
]
taken = datetime.datetime.fromtimestamp(os.path.getmtime(f"{folder}/load.txt")).strftime("%Y-%m-%d %H:%M")
commit = command("git", "rev-parse", "--short", "HEAD")
sharing = ("**The machine was busy with other work during the run**: ratios below x1.5 either way may be noise."
           if busy else "")
page = f"""# Performance

Written by `bench/run.sh` from a run that ended {taken}, at commit {commit}, on {os.cpu_count()} processors of an
{cpu}. Load averages before and after: {'; '.join(loads)}.
{sharing}

Versions: {', '.join(versions)}.

Everything runs on one thread unless it says otherwise. Figures are medians within one run, in which the libraries take
turns in random order (distributions) or by rounds (models). A ratio tells how much faster zolv is; where it is slower
the ratio is below 1 and printed **bold**. The digest is a hash of the bits of zolv's results: if it changes between two
builds, they are not to be compared.

## Distributions

Geometric means of the ratios to a loop over zolv's scalar exports, which prepare their parameters on each call;
`zolv array` is zolv's own array form on one thread against that loop.

{summary(gains, PEERS + ["zolv array"])}

The same for zolv's array forms on one thread, which prepare once; the others stay loops over scalar calls, Boost.Math's
distribution objects made before the loop:

{summary(prepared, PEERS)}

zolv is slower in {losses} of {compared} comparisons. In {marked} the other library's answers differ from zolv's by more
than 1e-6 (†): mostly far tails of noncentral distributions, where some answer 0 or 1 or fail to converge, and
quantiles in far tails. Such a row compares calls, not equal work.

Nanoseconds per element:

{chr(10).join(distribution_table)}

## Against the plain forms

What preparing and sharing have gained, bits unmoved: the plain form of each routine, which works out every step where it
stands (`tests/plain/`), over the library on one thread; body and tails together. The digests of the bits are the same.

{chr(10).join(plain_table)}

## Array forms on the machine's team

65536 elements, elapsed time, all processors.

{chr(10).join(team_table)}

## Models

Processor time per call (gretl and "on the team": elapsed time). The methods are not the same everywhere: zolv's fit is
conditional least squares with backcasting, whose nearest relatives are R's CSS and gretl's conditional ML; `likelihood`
is the full innovations recursion in zolv, and algorithms linear in n elsewhere. zolv is slower in {model_losses}
comparisons.

{chr(10).join(model_table)}
"""
with open(output, "w") as text:
    text.write(page)
