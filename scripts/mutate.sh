#!/bin/sh
# Mutation test: changes one line of src/zev at a time and sees whether a test notices.
#
#     scripts/mutate.sh [COUNT [SEED]]        100 mutants, seed from the clock
#
# Works on a copy of the sources in build/mutate, without ccache, at -O1. Prints the survivors and the score.
# tests/mutants-equivalent.txt names mutants that no test can kill, one per line: file ~ old line ~
# new line, which may have wildcards ~ why.
exec python3 - "$(cd "$(dirname "$0")/.." && pwd)" "$@" <<'PYTHON'
import collections, fnmatch, os, pathlib, random, re, shutil, subprocess, sys, time

root = pathlib.Path(sys.argv[1])
count = int(sys.argv[2]) if len(sys.argv) > 2 else 100
seed = int(sys.argv[3]) if len(sys.argv) > 3 else int(time.time())
work = root / "build" / "mutate"
tree, build = work / "tree", work / "build"
rooms = ["params", "tables", "regions", "dicom", "presets", "autowindow"]
targets = ["ninja", "-j2", "libzev", *("test_" + room for room in rooms)]
env = dict(os.environ, CCACHE_DISABLE="1")
timeout = 60


def run(command, cwd=build, limit=None):
    try:
        done = subprocess.run(command, cwd=cwd, env=env, timeout=limit, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace")
        return done.returncode, done.stdout
    except subprocess.TimeoutExpired:
        return -1, "timeout"


def prepare():
    tree.mkdir(parents=True, exist_ok=True)
    listing = subprocess.run(["git", "ls-files", "-z"], cwd=root, check=True, stdout=subprocess.PIPE).stdout
    names = {name for name in listing.decode().split("\0") if (root / name).is_file()}
    for old in [path for path in tree.rglob("*") if path.is_file()]:
        if str(old.relative_to(tree)) not in names:
            old.unlink()
    for name in sorted(names):
        new, old = root / name, tree / name
        if not old.exists() or old.read_bytes() != new.read_bytes():  # else its objects are still good
            old.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(new, old)
    code, text = run(["cmake", "-S", str(tree), "-B", str(build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                      "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -w", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON"], cwd=root)
    if code == 0:
        code, text = run(targets)
    if code != 0:
        sys.exit("cannot build:\n" + text[-3000:])


SWAPS = [(r" <= ", [" < "]), (r" >= ", [" > "]), (r" < (?!<)", [" <= ", " > "]),
         (r" > (?!>)", [" >= ", " < "]),
         (r" == ", [" != "]), (r" != ", [" == "]), (r" && ", [" || "]), (r" \|\| ", [" && "]),
         (r" \+ ", [" - "]), (r" - ", [" + "]), (r" \* (?=[\w(])", [" / "]), (r" / ", [" * "]),
         (r"\btrue\b", ["false"]), (r"\bfalse\b", ["true"]), (r"\+\+", ["--"])]
STATEMENT = re.compile(r"^\s+(?!return|throw|delete|using|static|const|auto|case|break|continue"
                       r"|if|else|for|while)"
                       r"[\w:.>\-\[\]*&]+( [-+|^]?= .+|\(.*\))?;$")


def mutants_of(path):
    """(line number, new line) for every one-line change that is tried."""
    for number, line in enumerate((tree / path).read_text().split("\n")):
        code = line.split("//")[0].rstrip()
        if not code.strip() or code.lstrip().startswith(("#", "template", "ZEV_LOG", "*", "static_assert")):
            continue
        if '"' in code:  # texts are not code
            continue
        for pattern, replacements in SWAPS:
            for match in re.finditer(pattern, code):
                for new in replacements:
                    yield number, code[:match.start()] + new + code[match.end():]
        numbers = r"(?<![\w.])(\d+)(?![\w.]|\]\[|\][,)] )"  # not the bounds of an array parameter
        for match in re.finditer(numbers, "" if "float" in code and "][" in code else code):
            for step in (1, -1):
                yield number, code[:match.start()] + str(int(match[1]) + step) + code[match.end():]
        match = re.match(r"^(\s*(?:\} else )?if \()(.*)(\)(?: \{|.*;)?)$", code)
        if match and " = " not in match[2] and match[2].count("(") == match[2].count(")"):
            yield number, f"{match[1]}!({match[2]}){match[3]}"
        if STATEMENT.match(code) and ("(" in code or " = " in code):
            yield number, re.match(r"\s*", code)[0] + ";"


def judge(path, number, new):
    """'broken', 'killed' or 'survived'."""
    source = tree / path
    old = source.read_text()
    lines = old.split("\n")
    lines[number] = new
    source.write_text("\n".join(lines))
    try:
        if run(targets)[0] != 0:
            return "broken"
        for room in rooms:
            test = [str(build / f"test_{room}"), "--gtest_fail_fast", "--gtest_brief=1"]
            if run(test, limit=timeout)[0] != 0:
                return "killed"
        return "survived"
    finally:
        source.write_text(old)  # newer than its object: compiled again next time


prepare()
equivalent = []
listed = root / "tests" / "mutants-equivalent.txt"
if listed.exists():
    for line in listed.read_text().split("\n"):
        if line and not line.startswith("#"):
            equivalent.append([part.strip() for part in line.split(" ~ ")[:3]])

candidates = []
for path in sorted((tree / "src/zev").glob("*.[ch]*")):
    if path.suffix in (".cpp", ".h"):
        name = str(path.relative_to(tree))
        candidates += [(name, number, new) for number, new in mutants_of(name)]
random.Random(seed).shuffle(candidates)
print(f"{len(candidates)} possible mutants, {count} tried, seed {seed}", flush=True)
result = collections.Counter()
for path, number, new in candidates:
    if result["killed"] + result["survived"] + result["equivalent"] >= count:
        break
    old = (tree / path).read_text().split("\n")[number].split("//")[0]
    if any(entry[:2] == [path, old.strip()] and
           (new.strip() == entry[2] or fnmatch.fnmatchcase(new.strip(), entry[2])) for entry in equivalent):
        result["equivalent"] += 1
        continue
    verdict = judge(path, number, new)
    result[verdict] += 1
    if verdict == "survived":
        print(f"SURVIVED {path}:{number + 1}\n  - {old.strip()}\n  + {new.strip()}", flush=True)
tried = result["killed"] + result["survived"]
print(f"{result['killed']} of {tried} killed ({100 * result['killed'] // max(tried, 1)} %), "
      f"{result['equivalent']} known as equivalent, {result['broken']} did not compile")
sys.exit(1 if result["survived"] else 0)
PYTHON
